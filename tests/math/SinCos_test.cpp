#include "math/SinCos.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <utility>

#include "support/Random.h"

namespace {

// The error of a double result against the 64-bit-mantissa C library value, in units of
// the last place of the double nearest to that value.
double ulpError(double value, long double reference) {
  const double nearest = static_cast<double>(reference);
  const double ulp =
      std::nextafter(std::fabs(nearest), std::numeric_limits<double>::infinity()) - std::fabs(nearest);
  return static_cast<double>(std::fabs(value - reference) / ulp);
}

void expectWithinUlps(double x, double ulps) {
  double sine = 0.0, cosine = 0.0;
  Kt::sinCos(x, sine, cosine);
  EXPECT_LE(ulpError(sine, std::sin(static_cast<long double>(x))), ulps) << "sin of " << x;
  EXPECT_LE(ulpError(cosine, std::cos(static_cast<long double>(x))), ulps) << "cos of " << x;
}

// Within 1.5 ulps for joint angles, also just around each quadrant boundary k·pi/2 (where the
// reduced argument changes sign and sine and cosine swap roles), and within 3 ulps beyond.
TEST(SinCos, WithinOneUlpAndAHalfForJointAnglesAndThreeBeyond) {
  TestRandom random(41);
  for (int i = 0; i < 50 * TestRandom::cases(); ++i) {
    expectWithinUlps(random.uniform(-7.0, 7.0), 1.5);
    expectWithinUlps(random.uniform(-1.0e6, 1.0e6), 3.0);
  }
  for (int k = -8; k <= 8; ++k) {
    const double boundary = k * std::numbers::pi / 2;
    double x = boundary;
    for (int step = 0; step < 4; ++step) x = std::nextafter(x, -10.0);
    for (int step = 0; step < 8; ++step, x = std::nextafter(x, 10.0)) expectWithinUlps(x, 1.5);
    expectWithinUlps(boundary + 1e-9, 1.5);
    expectWithinUlps(boundary - 1e-9, 1.5);
  }
}

// At zero (with its sign), for tiny, large and non-finite arguments the results are exactly the
// C library's, NaN for NaN and the infinities.
TEST(SinCos, ExactlyTheCLibraryValuesAtZeroTinyLargeAndNonFiniteArguments) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  for (double x : {0.0, 1e-300, 3.0e6, -1.0e12, 1.0e300, inf, nan}) {
    double sine = 1.0, cosine = 0.0;
    Kt::sinCos(x, sine, cosine);
    for (const auto& [ours, reference] : {std::pair{sine, std::sin(x)}, std::pair{cosine, std::cos(x)}}) {
      EXPECT_TRUE(std::bit_cast<std::uint64_t>(ours) == std::bit_cast<std::uint64_t>(reference) ||
                  (std::isnan(ours) && std::isnan(reference)))
          << x;
    }
  }
}

// The batch gives bit for bit the values of single calls, for any count, whether or not one
// argument lies outside the reducible range (which takes the checked loop).
TEST(SinCos, ManyAtOnceEqualSingleCalls) {
  TestRandom random(42);
  double x[9], sines[9], cosines[9];
  for (int i = 0; i < 10 * TestRandom::cases(); ++i) {
    const std::size_t count = static_cast<std::size_t>(random.integer(0, 9));
    for (std::size_t k = 0; k < count; ++k) x[k] = random.uniform(-7.0, 7.0);
    if (count > 0 && i % 2 == 0) x[count - 1] = i % 4 == 0 ? 3.0e6 : std::numeric_limits<double>::quiet_NaN();
    Kt::sinCosMany(x, sines, cosines, count);
    for (std::size_t k = 0; k < count; ++k) {
      double sine = 0.0, cosine = 0.0;
      Kt::sinCos(x[k], sine, cosine);
      EXPECT_EQ(std::bit_cast<std::uint64_t>(sines[k]), std::bit_cast<std::uint64_t>(sine)) << x[k];
      EXPECT_EQ(std::bit_cast<std::uint64_t>(cosines[k]), std::bit_cast<std::uint64_t>(cosine)) << x[k];
    }
  }
}

}  // namespace

#include "math/Orientation.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "foundation/MathUtil.h"
#include "math/RotationOracle.h"
#include "support/PrintCapture.h"

using Kt::Orientation;
using Kt::Vector;
using namespace rotation_oracle;

namespace {
constexpr double pi = std::numbers::pi;
const Vector xAxis = Vector::xVector(), yAxis = Vector::yVector(), zAxis = Vector::zVector();
}  // namespace

TEST(Orientation, MatchesTheOracleAndRoundTripsThroughDcmAngleAxisAndRodriguesForms) {
  TestRandom rng(10);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Rotation r = randomRotation(rng), other = randomRotation(rng);
    const Vector v = randomVector(rng, 4.0);
    EXPECT_LT(maxDifference(rows(r.q), r.matrix), 1e-12);
    EXPECT_LT(maxDifference(rows(r.q * other.q), multiply(r.matrix, other.matrix)), 1e-12);
    EXPECT_TRUE((r.q * v).approxEq(apply(r.matrix, v), 1e-12) &&
                r.q.yAxis().approxEq(apply(r.matrix, yAxis), 1e-12));
    EXPECT_TRUE((r.q * other.q * other.q.inverse()).approxEq(r.q, 1e-12));
    double angle;
    Vector axis, gibbs, gibbsOfNegated;
    r.q.getAngleAxis(angle, axis);
    EXPECT_TRUE(std::fabs(angle - r.angle) < 1e-9 && axis.approxEq(r.axis, 1e-9));
    r.q.getRodriguesVector(gibbs);
    EXPECT_TRUE(gibbs.approxEq(r.axis * std::tan(r.angle / 2), 1e-9 * (1 + gibbs.mag())));
    // The divisor w is guarded as it is: -q has w <= 0, which is raised to the smallest
    // positive double rather than flipped.
    Orientation(-r.q.w(), -r.q.x(), -r.q.y(), -r.q.z()).getRodriguesVector(gibbsOfNegated);
    EXPECT_EQ(gibbsOfNegated, Vector(-r.q.x(), -r.q.y(), -r.q.z()) / ktSmallestPositive);
    Orientation back[4];
    back[0].setFromDcmRows(row(r.matrix, 0), row(r.matrix, 1), row(r.matrix, 2));
    back[1].setFromDcmColumns(r.q.xAxis(), r.q.yAxis(), r.q.zAxis());
    back[2].setFromAngleAxis(r.angle, r.axis);
    back[3].setFromRodriguesVector(gibbs);
    for (int k = 0; k < 4; ++k) EXPECT_TRUE(back[k].approxEq(r.q, 1e-12)) << k;
  }
}

TEST(Orientation, SetFromDcmRowsTakesTheLargestPivotAndTheLaterOneOnTies) {
  Orientation q;
  q.setFromDcmRows(Vector(1, 0, 0), Vector(0, -1, 0), Vector(0, 0, -1));  // half turns: w would be 0
  EXPECT_EQ(q, Orientation::xQuaternion());
  q.setFromDcmRows(Vector(-1, 0, 0), Vector(0, -1, 0), Vector(0, 0, 1));
  EXPECT_EQ(q, Orientation::zQuaternion());
  // About (1, -1, 0)/√2 the x and y pivots tie; taking y makes y the positive component.
  q.setFromDcmRows(Vector(0, -1, 0), Vector(-1, 0, 0), Vector(0, 0, -1));
  EXPECT_TRUE(q.approxEq(Orientation(0.0, -1.0, 1.0, 0.0), 1e-15) && q.y() > 0.0);
}

TEST(Orientation, EulerSequencesAreProductsOfElementaryRotationsAndRoundTrip) {
  struct Sequence {
    void (Orientation::*set)(double, double, double);
    void (Orientation::*get)(double&, double&, double&) const;
    Vector axes[3];
  };
  const Sequence sequences[] = {
      {&Orientation::setFrom321Euler, &Orientation::get321Euler, {zAxis, yAxis, xAxis}},
      {&Orientation::setFrom123Euler, &Orientation::get123Euler, {xAxis, yAxis, zAxis}},
      {&Orientation::setFrom231Euler, nullptr, {yAxis, zAxis, xAxis}}};
  TestRandom rng(12);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    for (const Sequence& s : sequences) {
      const double a[3] = {rng.uniform(-pi, pi), rng.uniform(-pi / 2, pi / 2), rng.uniform(-pi, pi)};
      Orientation q;
      (q.*s.set)(a[0], a[1], a[2]);
      const Matrix3 first = multiply(fromAngleAxis(a[0], s.axes[0]), fromAngleAxis(a[1], s.axes[1]));
      EXPECT_LT(maxDifference(rows(q), multiply(first, fromAngleAxis(a[2], s.axes[2]))), 1e-12);
      double b[3];
      if (s.get) (q.*s.get)(b[0], b[1], b[2]);
      for (int k = 0; k < 3 && s.get; ++k) EXPECT_NEAR(b[k], a[k], 1e-8);
    }
  }
}

TEST(Orientation, Get321EulerReproducesEveryHalfUnitQuaternionIncludingGimbalLock) {
  int locked = 0;
  for (int signs = 0; signs < 16; ++signs) {
    auto half = [signs](int bit) { return (signs >> bit) & 1 ? -0.5 : 0.5; };
    const Orientation q(half(0), half(1), half(2), half(3));
    double a1, a2, a3;
    q.get321Euler(a1, a2, a3);
    Orientation back;
    back.setFrom321Euler(a1, a2, a3);
    EXPECT_TRUE(back.approxEq(q, 1e-12)) << "signs " << signs;
    locked += std::fabs(a2) == pi / 2;
    EXPECT_TRUE(std::fabs(a2) != pi / 2 || a1 == 0.0);  // locked: a3 takes the whole turn
  }
  EXPECT_EQ(locked, 8);
}

// Near-unit quaternions within the band stay bit for bit; any other finite components, from
// subnormal to DBL_MAX in any mix of signs and magnitudes, normalise to a finite unit quaternion
// in the input's direction (the oracle scales by a power of two first); zero gives the identity.
TEST(Orientation, NormalisationKeepsTheBandBitForBitAndRepairsEverythingElse) {
  const double big = std::numeric_limits<double>::max(), least = std::numeric_limits<double>::denorm_min();
  std::vector<std::array<double, 4>> inputs = {
      {1e-320, 0, 0, 0}, {-least, least, 0, 0}, {1e300, -1e300, 1e300, 1e-300}, {big, big, -big, big}};
  const int exponents[][2] = {{-1074, -1023}, {-1022, -500}, {-20, 20}, {500, 1023}};
  TestRandom rng(13);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Orientation unit = randomRotation(rng).q;
    const double f = std::sqrt(1 + rng.uniform(-0.9e-12, 0.9e-12));
    const std::vector<double> c = {unit.w() * f, unit.x() * f, unit.y() * f, unit.z() * f};
    Orientation kept;
    kept.set(c);
    for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ((Orientation::identity() * kept)[k], c[k]);
    for (double scale : {1e-170, 1e-160, 1e-3, 7.0, 1e200})
      EXPECT_TRUE(Orientation(c[0] * scale, c[1] * scale, c[2] * scale, c[3] * scale).approxEq(unit, 1e-12));
    EXPECT_TRUE(unit.approxEq(Orientation(-c[0], -c[1], -c[2], -c[3]), 1e-12));  // q and -q
    EXPECT_FALSE(unit.approxEq(unit * Orientation::xRotation(3e-3), 1e-3));
    std::array<double, 4>& any = inputs.emplace_back();
    for (double& component : any) {
      const int* range = exponents[rng.integer(0, 3)];
      component =
          rng.integer(0, 7) == 0 ? 0.0 : std::ldexp(rng.uniform(-2, 2), rng.integer(range[0], range[1]));
    }
  }
  for (const std::array<double, 4>& c : inputs) {
    double largest = 0.0;
    for (double component : c) largest = std::max(largest, std::fabs(component));
    const int shift = largest > 0.0 ? -std::ilogb(largest) : 0;
    double expected[4] = {1.0, 0.0, 0.0, 0.0}, squaredNorm = 0.0;
    for (int k = 0; k < 4; ++k) squaredNorm += std::pow(std::ldexp(c[k], shift), 2);
    for (int k = 0; k < 4 && squaredNorm > 0.0; ++k)
      expected[k] = std::ldexp(c[k], shift) / std::sqrt(squaredNorm);
    const Orientation q(c[0], c[1], c[2], c[3]);
    double norm = 0.0;
    for (int k = 0; k < 4; ++k) {
      EXPECT_NEAR(q[k], expected[k], 1e-12) << c[0] << " " << c[1] << " " << c[2] << " " << c[3];
      norm += q[k] * q[k];
    }
    EXPECT_NEAR(norm, 1.0, 1e-12);
  }
  EXPECT_EQ(Orientation(0.0, 0.0, 0.0, 0.0), Orientation::identity());
  Orientation q = Orientation::zQuaternion();
  q.set(std::vector<double>{});
  EXPECT_EQ(q, Orientation::wQuaternion());
  q.set(std::vector<double>{0.0, 0.0, -3.0});
  EXPECT_EQ(q, Orientation(0.0, 0.0, -1.0, 0.0));
}

TEST(Orientation, InterpolationFollowsTheShorterArcBetweenItsEnds) {
  TestRandom rng(14);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Orientation a = randomRotation(rng).q;
    const Rotation step = randomRotation(rng, 3.0);
    const Orientation b = step.q * a;
    double angle, s = rng.uniform(-0.5, 1.5);
    Vector axis;
    a.angleAxisBetween(b, angle, axis);
    EXPECT_NEAR(angle, step.angle, 1e-8);
    EXPECT_TRUE(axis.approxEq(step.axis, 1e-7));
    Orientation result = a;
    result.interpolation(result, b, s);  // the result may be an argument
    a.angleAxisBetween(result, angle, axis);
    EXPECT_NEAR(angle, std::fmin(std::fabs(s) * step.angle, 2 * pi - std::fabs(s) * step.angle), 1e-7);
    result.interpolation(a, b, 0.0);
    EXPECT_TRUE(result.approxEq(a, 1e-12));
    result.interpolation(a, b, 1.0);
    EXPECT_TRUE(result.approxEq(b, 1e-9));  // the arc cosine loses digits for small angles
    result.interpolation(a, a, s);
    EXPECT_EQ(result, a);
    b.angleAxisBetween(Orientation::yRotation(pi) * b, angle, axis);
    EXPECT_NEAR(angle, pi, 1e-12);
    a.angleAxisBetween(a, angle, axis);
    EXPECT_TRUE(angle == 0.0 && axis == xAxis);
  }
  double angle = 1.0;
  Vector axis(1.0, 1.0, 1.0);
  Orientation::identity().getAngleAxis(angle, axis);
  EXPECT_TRUE(angle == 0.0 && axis == Vector::zeroVector());
}

TEST(Orientation, IntegratingAConstantAngularVelocityFollowsTheExactRotation) {
  TestRandom rng(15);
  for (int i = 0; i < std::max(1, TestRandom::cases() / 10); ++i) {
    const Rotation start = randomRotation(rng);
    const Vector omega = randomVector(rng, 2.0);
    const Matrix3 turn = fromAngleAxis(omega.mag(), omega.unitVector());  // over one second
    Orientation local = start.q, reference = start.q;
    for (int step = 0; step < 1000; ++step) {
      local.integrateLocalFrameAngularVelocity(omega, 1e-3);
      reference.integrateReferenceFrameAngularVelocity(omega, 1e-3);
    }
    // Each normalised Euler step turns by 2·atan(|ω|dt/2), short of |ω|dt by about (|ω|dt)³/12.
    const double bound = 2 * 1000 * std::pow(omega.mag() * 1e-3, 3) / 12 + 1e-12;
    EXPECT_LT(maxDifference(rows(local), multiply(start.matrix, turn)), bound);
    EXPECT_LT(maxDifference(rows(reference), multiply(turn, start.matrix)), bound);
  }
}

// Quaternion rates from local and reference angular velocities agree and invert; on every tenth
// case the accelerations match central differences of the rate along a motion of constant
// angular acceleration, and agree between frames (both vectors turned by R).
TEST(Orientation, QuaternionRatesAndAccelerationsInvertAgreeBetweenFramesAndMatchDifferences) {
  TestRandom rng(16);
  const double h = 1e-3;
  std::vector<double> localRate, referenceRate;
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Orientation q = randomRotation(rng).q;
    const Vector body = randomVector(rng, 3.0);
    q.quaternionRateFromLocalFrameAngularVelocity(body, localRate);
    q.quaternionRateFromReferenceFrameAngularVelocity(q * body, referenceRate);
    for (std::size_t k = 0; k < 4; ++k) EXPECT_NEAR(localRate[k], referenceRate[k], 1e-12);
    Vector local, reference;
    EXPECT_TRUE(q.localFrameAngularVelocityFromQuaternionRate(localRate, local));
    EXPECT_TRUE(q.referenceFrameAngularVelocityFromQuaternionRate(referenceRate, reference));
    EXPECT_TRUE(local.approxEq(body, 1e-11) && reference.approxEq(q * body, 1e-11));
    if (i % 10 != 0) continue;

    const Vector omega0 = randomVector(rng, 2.0), alpha = randomVector(rng, 2.0);
    auto rateAt = [&](double t) {  // integrated from 0 to t at midpoint angular velocities
      Orientation moved = q;
      for (int k = 0; k < 200; ++k)
        moved.integrateLocalFrameAngularVelocity(omega0 + alpha * ((k + 0.5) * t / 200), t / 200);
      std::vector<double> rate;
      moved.quaternionRateFromLocalFrameAngularVelocity(omega0 + alpha * t, rate);
      return rate;
    };
    const std::vector<double> ahead = rateAt(h), behind = rateAt(-h);
    std::vector<double> localAcceleration(2, 0.0), referenceAcceleration;
    q.quaternionAccelerationFromLocalFrameAngularMotion(omega0, alpha, localAcceleration);
    q.quaternionAccelerationFromReferenceFrameAngularMotion(q * omega0, q * alpha, referenceAcceleration);
    ASSERT_EQ(localAcceleration.size(), 4u);
    for (std::size_t k = 0; k < 4; ++k) {
      EXPECT_NEAR(localAcceleration[k], (ahead[k] - behind[k]) / (2 * h), 1e-5);
      EXPECT_NEAR(referenceAcceleration[k], localAcceleration[k], 1e-12);
    }
  }
  std::vector<double> longer(6, 7.0);
  Orientation().quaternionRateFromLocalFrameAngularVelocity(xAxis * 2.0, longer);
  EXPECT_EQ(longer, (std::vector<double>{0.0, 1.0, 0.0, 0.0, 7.0, 7.0}));
  PrintCapture capture;
  Vector unchanged;
  EXPECT_FALSE(Orientation().localFrameAngularVelocityFromQuaternionRate({0.0, 1.0, 0.0}, unchanged));
  EXPECT_EQ(capture.text(),
            "Orientation::localFrameAngularVelocityFromQuaternionRate(): the rate has 3 components, 4 are "
            "needed\n");
}

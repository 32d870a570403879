#include "math/Vector.h"

#include <gtest/gtest.h>

#include "math/RotationOracle.h"

using Kt::Vector;
using rotation_oracle::randomVector;

TEST(Vector, ApproxEqBoundsTheDistanceNotEachComponent) {
  TestRandom rng(1);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Vector a = randomVector(rng), offset = randomVector(rng, 1.5e-3);
    EXPECT_EQ(a.approxEq(a + offset, 1e-3), offset.mag() < 1e-3) << offset.mag();
  }
}

TEST(Vector, DirectionalVectorIsTheScaledGradientOfTheDistance) {
  TestRandom rng(2);
  const double h = 1e-6;
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Vector from = randomVector(rng, 3.0), target = randomVector(rng, 3.0);
    const double length = rng.uniform(-2.0, 2.0);
    Vector direction;
    from.computeDirectionalVector(target, length, direction);
    for (std::size_t k = 0; k < 3; ++k) {
      Vector ahead = target, behind = target;
      ahead[k] += h;
      behind[k] -= h;
      EXPECT_NEAR(direction[k], length * (from.distanceTo(ahead) - from.distanceTo(behind)) / (2 * h), 1e-6);
    }
  }
  Vector direction(1.0, 1.0, 1.0);
  Vector(1.0, 2.0, 3.0).computeDirectionalVector(Vector(1.0, 2.0, 3.0), 5.0, direction);
  EXPECT_EQ(direction, Vector::zeroVector());
}

TEST(Vector, PerturbMovesEachComponentIndependentlyWithinTheAmount) {
  const Vector start(1.0, -2.0, 3.0);
  double lowest = 0.0, highest = 0.0;
  for (int i = 0; i < 1000; ++i) {
    Vector offset = start;
    offset.perturb(0.01);
    offset -= start;
    EXPECT_FALSE(offset.x() == offset.y() || offset.y() == offset.z());
    for (std::size_t k = 0; k < 3; ++k)
      lowest = std::fmin(lowest, offset[k]), highest = std::fmax(highest, offset[k]);
  }
  EXPECT_TRUE(lowest >= -0.01 && lowest < -0.009 && highest <= 0.01 && highest > 0.009);
  Vector still = start;
  still.perturb(0.0);
  EXPECT_EQ(still, start);
}

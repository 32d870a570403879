#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "manipulator/ManipulatorTestSupport.h"
#include "math/RotationOracle.h"
#include "motion/KtGeneralMotionFilter.h"
#include "motion/KtPointMotionFilter.h"

namespace {

using manipulator_test::randomPose;

constexpr double kPi = std::numbers::pi;

// A filter with unit gains and no speed limit, whose output is the bare error.
KtGeneralMotionFilter unitFilter(const Kt::Vector& offset = Kt::Vector()) {
  KtGeneralMotionFilter filter;
  filter.setLinearGain(1.0);
  filter.setAngularGain(1.0);
  filter.setThreshold(1e9);
  filter.setOffset(offset);
  return filter;
}

struct Velocity {
  Kt::Vector linear, angular;
};

Velocity filtered(const KtGeneralMotionFilter& filter, const Kt::coordinateSystemTransformation& actual,
                  const Kt::coordinateSystemTransformation& desired, double dt,
                  const Velocity& feedForward = {}) {
  Velocity v;
  filter.filterVelocity(actual, desired, feedForward.linear, feedForward.angular, dt, v.linear, v.angular);
  return v;
}

void expectNear(const Kt::Vector& actual, const Kt::Vector& expected, double tolerance) {
  EXPECT_NEAR(actual.x(), expected.x(), tolerance);
  EXPECT_NEAR(actual.y(), expected.y(), tolerance);
  EXPECT_NEAR(actual.z(), expected.z(), tolerance);
}

// The rotation vector (axis times angle) of the turn from `from` to `to`.
Kt::Vector rotationVector(const Kt::Orientation& from, const Kt::Orientation& to) {
  return manipulator_test::angularRate(Kt::Orientation(), from.inverse() * to, 1.0);
}

}  // namespace

// The angular error of each quaternion branch, from an identity actual frame.
TEST(KtGeneralMotionFilterTest, AngularErrorFollowsTheSignAndTheNearIdentityBranch) {
  const double side = std::sqrt(1.0 - 0.995 * 0.995);
  const struct {
    Kt::Orientation error;
    Kt::Vector expected;
  } cases[] = {
      // 180 degrees about z (w = 0): the acos branch with a positive sign.
      {Kt::Orientation(0.0, 0.0, 0.0, 1.0), Kt::Vector(0.0, 0.0, kPi)},
      // Near the identity the vector part is doubled, with the sign of w.
      {Kt::Orientation(0.995, 0.0, side, 0.0), Kt::Vector(0.0, 2.0 * side, 0.0)},
      {Kt::Orientation(-0.995, 0.0, side, 0.0), Kt::Vector(0.0, -2.0 * side, 0.0)},
      // 120 degrees about x: the rotation vector itself.
      {Kt::Orientation(0.5, std::sqrt(0.75), 0.0, 0.0), Kt::Vector(2.0 * kPi / 3.0, 0.0, 0.0)},
      // The same rotation written with a negative w: the direction of the shorter way round,
      // with the angle acos(w) of the longer.
      {Kt::Orientation(-0.5, -std::sqrt(0.75), 0.0, 0.0), Kt::Vector(4.0 * kPi / 3.0, 0.0, 0.0)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "w " << c.error.w());
    const Velocity v = filtered(unitFilter(), Kt::coordinateSystemTransformation(),
                                Kt::coordinateSystemTransformation(c.error), 0.0);
    expectNear(v.angular, c.expected, 1e-12);
    expectNear(v.linear, Kt::Vector(), 0.0);
  }
}

// The linear error is taken at the offset point, then carried to the frame origin, and both
// velocities are turned from the actual frame's axes into system axes.
TEST(KtGeneralMotionFilterTest, OffsetPointErrorIsMovedToTheOriginInSystemAxes) {
  const double angle = 0.3;
  const Kt::Vector offset(1.0, 0.0, 0.0), step(0.1, -0.2, 0.3);
  Kt::Orientation turn;
  turn.setFromAngleAxis(angle, Kt::Vector(0.0, 0.0, 1.0));
  Kt::Orientation attitude;
  attitude.setFrom321Euler(0.4, -0.7, 1.1);
  const Kt::coordinateSystemTransformation actual(Kt::Vector(2.0, -1.0, 0.5), attitude);
  const struct {
    Kt::coordinateSystemTransformation error;
    Kt::Vector linearLocal, angularLocal;
  } cases[] = {
      {Kt::coordinateSystemTransformation(step), step, Kt::Vector()},
      // The offset point swings by (cos a - 1, sin a, 0); the origin's velocity lacks w × offset.
      {Kt::coordinateSystemTransformation(turn),
       Kt::Vector(std::cos(angle) - 1.0, std::sin(angle) - angle, 0.0), Kt::Vector(0.0, 0.0, angle)},
  };
  const Velocity feedForward{Kt::Vector(0.5, 0.0, -1.0), Kt::Vector(0.0, 2.0, 0.0)};
  for (const auto& c : cases) {
    const Velocity v = filtered(unitFilter(offset), actual, actual * c.error, 0.0, feedForward);
    expectNear(v.linear, attitude * c.linearLocal + feedForward.linear, 1e-12);
    expectNear(v.angular, attitude * c.angularLocal + feedForward.angular, 1e-12);
  }
}

// The limit weighs angular speed by the angular weight, scales linear and angular together,
// and leaves the feed-forward out.
TEST(KtGeneralMotionFilterTest, ThresholdWeighsAngularSpeedAndScalesBothParts) {
  const struct {
    double angularWeight, threshold, scale;
  } cases[] = {{1.0, 0.4, 0.8},
               {1.0, 0.5, 1.0},
               {0.0, 0.25, 0.25 / 0.3},
               {0.0, 0.4, 1.0},
               {2.0, 0.5, std::sqrt(0.25 / 0.73)}};
  Kt::Orientation turn;
  turn.setFromAngleAxis(0.4, Kt::Vector(0.0, 0.0, 1.0));
  const Kt::coordinateSystemTransformation error(Kt::Vector(0.3, 0.0, 0.0), turn);
  const Velocity feedForward{Kt::Vector(0.0, 7.0, 0.0), Kt::Vector(-3.0, 0.0, 0.0)};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "weight " << c.angularWeight << " threshold " << c.threshold);
    KtGeneralMotionFilter filter = unitFilter();
    filter.setAngularWeight(c.angularWeight);
    filter.setThreshold(c.threshold);
    const Velocity v = filtered(filter, Kt::coordinateSystemTransformation(), error, 0.0, feedForward);
    expectNear(v.linear, Kt::Vector(0.3, 0.0, 0.0) * c.scale + feedForward.linear, 1e-12);
    expectNear(v.angular, Kt::Vector(0.0, 0.0, 0.4) * c.scale + feedForward.angular, 1e-12);
  }
}

// Applying the commanded velocity to the actual frame for one step shrinks the offset point's
// error and the rotation error by (1 - k·dt) each, up to second-order terms.
TEST(KtGeneralMotionFilterTest, OneStepShrinksSmallErrorsByTheGainFactor) {
  TestRandom rng(41);
  const double dt = 0.01, linearGain = 30.0, angularGain = 70.0;
  for (int i = 0; i < TestRandom::cases(); ++i) {
    KtGeneralMotionFilter filter = unitFilter(randomPose(rng, 1.0).translation());
    filter.setLinearGain(linearGain);
    filter.setAngularGain(angularGain);
    const Kt::coordinateSystemTransformation actual = randomPose(rng, 2.0);
    const Kt::coordinateSystemTransformation desired =
        actual * Kt::coordinateSystemTransformation(randomPose(rng, 1e-5).translation(),
                                                    rotation_oracle::randomRotation(rng, 1e-5).q);
    const Velocity v = filtered(filter, actual, desired, dt);

    Kt::Orientation moved = actual.orientation();
    moved.integrateReferenceFrameAngularVelocity(v.angular, dt);
    const Kt::coordinateSystemTransformation next(actual.translation() + v.linear * dt, moved);

    const Kt::Vector& offset = filter.offset();
    const Kt::Vector pointError = desired * offset - actual * offset;
    expectNear(desired * offset - next * offset, pointError * (1.0 - linearGain * dt), 1e-9);
    expectNear(next.orientation() * rotationVector(next.orientation(), desired.orientation()),
               actual.orientation() * rotationVector(actual.orientation(), desired.orientation()) *
                   (1.0 - angularGain * dt),
               1e-9);
  }
}

// The commanded point velocity may be written over the feed-forward it adds: the correction is
// taken, clamped and added without reading the output early.
TEST(KtPointMotionFilterTest, OutputMayBeTheFeedForwardItself) {
  const Kt::Vector actual(1.0, 1.0, -2.0), desired(4.0, 5.0, -2.0), feedForward(10.0, 0.0, -2.0);
  for (const double threshold : {10.0, 2.5}) {
    KtPointMotionFilter filter;
    filter.setLinearGain(1.0);
    filter.setThreshold(threshold);
    Kt::Vector shared = feedForward;
    filter.filterVelocity(actual, desired, shared, 0.0, shared);
    EXPECT_EQ(shared, (desired - actual) * std::min(1.0, threshold / 5.0) + feedForward) << threshold;
    KtPlanarVector planar = {feedForward.x(), feedForward.y()};
    filter.filterPlanarVelocity({actual.x(), actual.y()}, {desired.x(), desired.y()}, planar, 0.0, planar);
    EXPECT_EQ(planar, (KtPlanarVector{shared.x(), shared.y()})) << threshold;
  }
}

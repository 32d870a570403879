#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "motion/endeffector/EndEffectorOracle.h"
#include "motion/endeffector/FrameFamilyTestSupport.h"

using namespace endeffector_test;
using namespace frame_family_test;
using manipulator_test::randomPose;

namespace {

constexpr double kPi = std::numbers::pi;

// A filter with unit gains and no speed limit, whose output at dt = 0 is the bare error.
KtGeneralMotionFilter unitFilter() {
  KtGeneralMotionFilter filter;
  filter.setLinearGain(1.0);
  filter.setAngularGain(1.0);
  filter.setThreshold(1e9);
  return filter;
}

KtEndEffectorVelocityEntries filtered(const KtEndEffector& endEffector,
                                      const Kt::coordinateSystemTransformation& actual,
                                      const Kt::coordinateSystemTransformation& desired,
                                      const KtEndEffectorVelocityEntries& feedForward, double dt) {
  KtEndEffectorVelocityEntries commanded;
  endEffector.filterEndEffectorVelocity(actual, desired, feedForward, dt, commanded);
  return commanded;
}

void expectEntriesNear(const KtEndEffectorVelocityEntries& actual, const std::vector<double>& expected,
                       double tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i)
    EXPECT_NEAR(actual[i], expected[i], tolerance) << "entry " << i;
}

Kt::Orientation turn(double angle, const Kt::Vector& axis) {
  Kt::Orientation q;
  q.setFromAngleAxis(angle, axis);
  return q;
}

Kt::Vector randomDirection(TestRandom& rng) {
  return Kt::Vector(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1)).unitVector();
}

}  // namespace

// The frame passes the general filter's branches, gain cap and clamp through unchanged, with the
// feed-forward added after the clamp.
TEST(KtFrameFamilyFilterTest, FrameFilterKeepsTheGeneralFiltersEdgeCases) {
  const double side = std::sqrt(1.0 - 0.995 * 0.995);
  const KtEndEffectorVelocityEntries feed = {1, 2, 3, 4, 5, 6};
  const struct {
    Kt::coordinateSystemTransformation error;
    double gain, threshold, dt;
    std::vector<double> expected;  // before the feed-forward
  } cases[] = {
      // 180 degrees about z (w = 0): the acos branch, s = +1.
      {Kt::coordinateSystemTransformation(Kt::Orientation(0.0, 0.0, 0.0, 1.0)),
       1.0,
       1e9,
       0.0,
       {0, 0, 0, 0, 0, kPi}},
      // w = -0.995: the near-identity branch with s = -1.
      {Kt::coordinateSystemTransformation(Kt::Orientation(-0.995, 0.0, side, 0.0)),
       1.0,
       1e9,
       0.0,
       {0, 0, 0, 0, -2 * side, 0}},
      // Gain 200 over 0.01 s is capped at 100 per second; over 0.001 s it stays 200.
      {Kt::coordinateSystemTransformation(Kt::Vector(0.001, 0, 0)), 200.0, 1.0, 0.01, {0.1, 0, 0, 0, 0, 0}},
      {Kt::coordinateSystemTransformation(Kt::Vector(0.001, 0, 0)), 200.0, 1.0, 0.001, {0.2, 0, 0, 0, 0, 0}},
      // A correction above the threshold is clamped to it exactly.
      {Kt::coordinateSystemTransformation(Kt::Vector(0, 3.0, 4.0)), 1.0, 0.5, 0.0, {0, 0.3, 0.4, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    KtFrameEndEffector frame;
    KtGeneralMotionFilter filter = unitFilter();
    filter.setLinearGain(c.gain);
    filter.setAngularGain(c.gain);
    filter.setThreshold(c.threshold);
    frame.setMotionFilter(filter);
    for (const bool withFeed : {false, true}) {
      std::vector<double> expected = c.expected;
      for (std::size_t i = 0; withFeed && i < 6; ++i) expected[i] += feed[i];
      expectEntriesNear(filtered(frame, Kt::coordinateSystemTransformation(), c.error,
                                 withFeed ? feed : KtEndEffectorVelocityEntries{}, c.dt),
                        expected, 1e-12);
    }
  }
}

// Every member but the look-at commands the kept components of the general filter's six-entry
// output (feed-forward included), in the actual placement's axes where its rows are in frame
// axes; the orientation end effector ignores the desired translation.
TEST(KtFrameFamilyFilterTest, FilterReducesTheGeneralVelocityToTheRows) {
  TestRandom rng(81);
  for (const Member& member : members()) {
    if (member.className == std::string("KtLookAtEndEffector")) continue;
    SCOPED_TRACE(member.className);
    const auto endEffector = member.make();
    for (int c = 0; c < TestRandom::cases(); ++c) {
      KtGeneralMotionFilter filter;
      filter.setOffset(Kt::Vector(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1)));
      filter.setThreshold(rng.uniform(0.1, 5.0));
      endEffector->setMotionFilter(filter);
      const Kt::coordinateSystemTransformation actual = randomPose(rng), desired = randomPose(rng);
      KtEndEffectorVelocityEntries feed(6);
      for (double& entry : feed) entry = rng.uniform(-1, 1);
      const double dt = rng.uniform(0.001, 0.02);
      const bool ignoresTranslation = member.className == std::string("KtOrientationEndEffector");
      const Kt::coordinateSystemTransformation goal =
          ignoresTranslation ? Kt::coordinateSystemTransformation(actual.translation(), desired.orientation())
                             : desired;
      Kt::Vector linear, angular;
      filter.filterVelocity(actual, goal, Kt::Vector(feed[0], feed[1], feed[2]),
                            Kt::Vector(feed[3], feed[4], feed[5]), dt, linear, angular);
      expectEntriesNear(filtered(*endEffector, actual, desired, feed, dt),
                        selectedRows(member, actual.orientation(), linear, angular), 1e-12);
    }
  }
}

// The look-at filter: the focus point's gap to the line of sight, along the frame's x and y
// axes, times the capped gain and limited to the threshold; the feed-forward is the focus
// point's velocity along x and y; a target straight ahead (or at the origin) asks for nothing.
TEST(KtFrameFamilyFilterTest, LookAtFilterTurnsTheFocusPointOntoTheTarget) {
  const double f = 0.8, phi = 0.3;
  KtLookAtEndEffector lookAt;
  lookAt.setFocusDistance(f);
  KtGeneralMotionFilter filter = unitFilter();
  lookAt.setMotionFilter(filter);
  const Kt::coordinateSystemTransformation frame;
  const auto target = [](const Kt::Vector& point) { return Kt::coordinateSystemTransformation(point); };
  const Kt::Vector aside(std::sin(phi), 0.0, std::cos(phi));
  expectEntriesNear(filtered(lookAt, frame, target(aside * 3.0), {}, 0.0), {f * std::sin(phi), 0.0}, 1e-12);
  expectEntriesNear(filtered(lookAt, frame, target(Kt::Vector(0, 0, 2)), {}, 0.0), {0.0, 0.0}, 0.0);
  expectEntriesNear(filtered(lookAt, frame, target(Kt::Vector()), {}, 0.0), {0.0, 0.0}, 0.0);
  // Turning about the frame's y axis at w moves the focus point along x at w·f.
  expectEntriesNear(filtered(lookAt, frame, target(Kt::Vector(0, 0, 2)), {0.5, -0.25, 9, 0, 2.0, 7}, 0.0),
                    {0.5 + 2.0 * f, -0.25}, 1e-12);
  filter.setThreshold(0.01);
  filter.setLinearGain(200.0);
  lookAt.setMotionFilter(filter);
  const KtEndEffectorVelocityEntries clamped =
      filtered(lookAt, frame, target(Kt::Vector(-1, -1, 1)), {}, 0.01);
  EXPECT_NEAR(std::hypot(clamped[0], clamped[1]), 0.01, 1e-15);
  EXPECT_NEAR(clamped[0], clamped[1], 1e-15);
  EXPECT_LT(clamped[0], 0.0);
}

// Driven by its own rows and filter, with the frame's origin held in place by the linear rows
// of a frame end effector on the same frame (joint rates by least squares), a look-at end
// effector on either sample arm comes to aim at a random target within 1e-6 rad.
TEST(KtFrameFamilyFilterTest, LookAtConvergesOnTheTarget) {
  TestRandom rng(82);
  const double dt = 0.01;
  for (const char* arm : {"craig_arm.xml", "paul_arm.xml"}) {
    for (int c = 0; c < TestRandom::cases(); ++c) {
      SCOPED_TRACE(testing::Message() << arm << " case " << c);
      KtStatedSystem stated = sampleSystem(arm, rng);
      const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
      const std::size_t n = manipulator.jointDof();
      KtLookAtEndEffector lookAt;
      lookAt.setLinkIdentifier(manipulator.link(n - 1).identifier());
      lookAt.setFrame(randomPose(rng, 0.1));
      lookAt.setFocusDistance(rng.uniform(0.3, 1.5));
      KtFrameEndEffector hold;
      hold.setLinkIdentifier(lookAt.linkIdentifier());
      hold.setFrame(lookAt.frame());
      Kt::coordinateSystemTransformation frame;
      ASSERT_TRUE(lookAt.calculatePlacement(manipulator, *stated.activeState(0), frame));
      // A target up to 2 rad off the line of sight, one to three focus distances away.
      const Kt::Vector sideways = Kt::Vector(0, 0, 1).cross(randomDirection(rng)).unitVector();
      const Kt::Vector direction = turn(rng.uniform(0.0, 2.0), sideways) * Kt::Vector(0, 0, 1);
      const Kt::coordinateSystemTransformation target(
          frame * (direction * (lookAt.focusDistance() * rng.uniform(1.0, 3.0))));

      KtPositionState position = stated.state().positionStates()[0];
      Kt::ReArray rows(8, n), task(5, n), normal;
      std::vector<double> velocity(5, 0.0), multipliers, rates;
      KtEndEffectorVelocityEntries commanded;
      double aimError = kPi;
      for (int step = 0; step < 1000; ++step) {
        KtManipulatorActiveState& state = *stated.activeState(0);
        ASSERT_TRUE(lookAt.calculatePlacement(manipulator, state, frame));
        const Kt::Vector sight = target.translation() - frame.translation(), z = frame.orientation().zAxis();
        aimError = std::atan2(z.cross(sight).mag(), z.dot(sight));
        if (aimError < 1e-6) break;
        lookAt.filterEndEffectorVelocity(frame, target, {}, dt, commanded);
        hold.insertJacobianComponent(manipulator, 0, hold.relativeLinkData(), true, state, rows);
        lookAt.insertJacobianComponent(manipulator, 6, lookAt.relativeLinkData(), true, state, rows);
        // Origin velocity zero, focus point velocity as commanded: q̇ = Jᵀ (J Jᵀ)⁻¹ v.
        for (const std::size_t r : {0, 1, 2, 6, 7})
          for (std::size_t k = 0; k < n; ++k) task[r < 6 ? r : r - 3][k] = rows[r][k];
        velocity[3] = commanded[0];
        velocity[4] = commanded[1];
        ASSERT_TRUE(task.underconstrainedNormal(normal));
        ASSERT_TRUE(normal.solve(velocity, multipliers));
        ASSERT_TRUE(task.transposeTransform(multipliers, rates));
        for (std::size_t k = 0; k < n; ++k) position.jointPositions()[k] += rates[k] * dt;
        stated.setIndividualState(0, position);
      }
      EXPECT_LT(aimError, 1e-6);
    }
  }
}

// Distances count only the kept components: a motion the rows leave free is no distance; a kept
// translation t counts t, a kept turn a counts angularWeight·a in the normalised distance. The
// look-at measures the gap between the focus points; a non-positive threshold is guarded.
TEST(KtFrameFamilyFilterTest, DistancesCountOnlyTheKeptComponents) {
  TestRandom rng(83);
  const double t = 0.3, a = 0.4, threshold = 0.5;
  for (const Member& member : members()) {
    SCOPED_TRACE(member.className);
    const auto endEffector = member.make();
    endEffector->setMotionThreshold(threshold);
    const double weight = endEffector->motionFilter().angularWeight();
    const Kt::coordinateSystemTransformation first = randomPose(rng);
    if (member.className == std::string("KtLookAtEndEffector")) {
      const double f = static_cast<const KtLookAtEndEffector&>(*endEffector).focusDistance();
      const Kt::coordinateSystemTransformation target(first *
                                                      (Kt::Vector(std::sin(a), 0, std::cos(a)) * 2.0));
      EXPECT_NEAR(endEffector->linearDistance(first, target), 2 * f * std::sin(a / 2), 1e-12);
      EXPECT_NEAR(endEffector->normalizedDistance(first, target), 2 * f * std::sin(a / 2) / threshold, 1e-12);
      continue;
    }
    for (std::size_t k = 0; k < 6; ++k) {
      Kt::Vector axis;
      axis[k % 3] = 1.0;
      const Kt::coordinateSystemTransformation motion =
          k < 3 ? Kt::coordinateSystemTransformation(axis * t)
                : Kt::coordinateSystemTransformation(turn(a, axis));
      const bool kept =
          std::find(member.components.begin(), member.components.end(), k) != member.components.end();
      const double linear = kept && k < 3 ? t : 0.0,
                   normalized = kept ? (k < 3 ? t : weight * a) / threshold : 0.0;
      EXPECT_NEAR(endEffector->linearDistance(first, first * motion), linear, 1e-12) << "component " << k;
      EXPECT_NEAR(endEffector->normalizedDistance(first, first * motion), normalized, 1e-12)
          << "component " << k;
    }
  }
  KtFrameEndEffector frame;
  frame.setMotionThreshold(0.0);
  const Kt::coordinateSystemTransformation place, moved(Kt::Vector(1e-3, 0, 0));
  EXPECT_EQ(frame.normalizedDistance(place, place), 0.0);
  EXPECT_GT(frame.normalizedDistance(place, moved), 1e300);
}

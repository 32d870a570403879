#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "motion/endeffector/EndEffectorTestSupport.h"

using namespace endeffector_test;

namespace {

KtEndEffectorVelocityEntries filtered(const KtEndEffector& endEffector,
                                      const Kt::coordinateSystemTransformation& actual,
                                      const Kt::coordinateSystemTransformation& desired,
                                      const KtEndEffectorVelocityEntries& feedForward, double dt) {
  KtEndEffectorVelocityEntries commanded;
  endEffector.filterEndEffectorVelocity(actual, desired, feedForward, dt, commanded);
  return commanded;
}

void expectEntriesNear(const KtEndEffectorVelocityEntries& actual, const std::vector<double>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) EXPECT_NEAR(actual[i], expected[i], 1e-12) << "entry " << i;
}

Kt::Orientation turn(double angle, const Kt::Vector& axis) {
  Kt::Orientation q;
  q.setFromAngleAxis(angle, axis.unitVector());
  return q;
}

}  // namespace

// All members but the look-at command the kept components of the general filter's six-entry
// output (feed-forward included), in the actual placement's axes where their rows are in frame
// axes; the orientation end effector ignores the desired translation. The errors include the
// half turn (w = 0) and w = -0.995, which take the filter's two branches.
TEST(KtFrameFamilyFilterTest, FilterReducesTheGeneralVelocityToTheRows) {
  TestRandom rng(81);
  const double side = std::sqrt(1.0 - 0.995 * 0.995);
  for (const Member& member : members()) {
    if (member.className == "KtLookAtEndEffector") continue;
    SCOPED_TRACE(member.className);
    const auto endEffector = member.make();
    for (int c = 0; c < TestRandom::cases(); ++c) {
      KtGeneralMotionFilter filter;
      filter.setOffset(Kt::Vector(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1)));
      filter.setThreshold(rng.uniform(0.1, 5.0));
      endEffector->setMotionFilter(filter);
      const Kt::coordinateSystemTransformation actual = randomPose(rng);
      const Kt::Orientation special[] = {Kt::Orientation(0, 0, 0, 1), Kt::Orientation(-0.995, 0, side, 0)};
      const Kt::coordinateSystemTransformation desired =
          c < 2 ? actual * Kt::coordinateSystemTransformation(special[c]) : randomPose(rng);
      KtEndEffectorVelocityEntries feed(6);
      for (double& entry : feed) entry = rng.uniform(-1, 1);
      const double dt = rng.uniform(0.001, 0.02);
      Kt::Vector linear, angular;
      filter.filterVelocity(
          actual,
          member.className != "KtOrientationEndEffector"
              ? desired
              : Kt::coordinateSystemTransformation(actual.translation(), desired.orientation()),
          Kt::Vector(feed[0], feed[1], feed[2]), Kt::Vector(feed[3], feed[4], feed[5]), dt, linear, angular);
      expectEntriesNear(filtered(*endEffector, actual, desired, feed, dt),
                        selectedRows(member, actual.orientation(), linear, angular));
    }
  }
}

// The look-at filter: the focus point's gap to the line of sight along the frame's x and y axes,
// times the capped gain and limited to the threshold, plus the focus point's feed-forward
// velocity along x and y; a target straight ahead or at the origin asks for nothing.
TEST(KtFrameFamilyFilterTest, LookAtFilterTurnsTheFocusPointOntoTheTarget) {
  const double f = 0.8, phi = 1e-3;
  KtLookAtEndEffector lookAt;
  lookAt.setFocusDistance(f);
  KtGeneralMotionFilter filter;
  filter.setThreshold(0.2);
  lookAt.setMotionFilter(filter);  // gain 200: 100 per second over dt = 0.01
  const Kt::coordinateSystemTransformation frame;
  const auto at = [](double x, double y, double z) {
    return Kt::coordinateSystemTransformation(Kt::Vector(x, y, z));
  };
  expectEntriesNear(filtered(lookAt, frame, at(std::sin(phi), 0, std::cos(phi)), {}, 0.01),
                    {100 * f * std::sin(phi), 0});
  expectEntriesNear(filtered(lookAt, frame, at(-1, -1, 1), {}, 0.01),
                    {-0.2 / std::sqrt(2.0), -0.2 / std::sqrt(2.0)});
  expectEntriesNear(filtered(lookAt, frame, at(0, 0, 2), {0.5, -0.25, 9, 0, 2.0, 7}, 0.01),
                    {0.5 + 2.0 * f, -0.25});
  expectEntriesNear(filtered(lookAt, frame, at(0, 0, 0), {}, 0.01), {0, 0});
}

// Driven by its own rows and filter, with the frame's origin held by the linear rows of a frame
// end effector on the same frame (joint rates by least squares), a look-at end effector on either
// sample arm comes to aim at a random target, up to 2 rad off, within 1e-6 rad.
TEST(KtFrameFamilyFilterTest, LookAtConvergesOnTheTarget) {
  TestRandom rng(82);
  for (const char* arm : {"craig_arm.xml", "paul_arm.xml"}) {
    for (int c = 0; c < TestRandom::cases(); ++c) {
      SCOPED_TRACE(testing::Message() << arm << " case " << c);
      KtStatedSystem stated = sampleSystem(arm, rng);
      const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
      const std::size_t n = manipulator.jointDof();
      KtLookAtEndEffector lookAt;
      KtFrameEndEffector hold;
      lookAt.setLinkIdentifier(manipulator.link(n - 1).identifier());
      lookAt.setFrame(randomPose(rng, 0.1));
      lookAt.setFocusDistance(rng.uniform(0.3, 1.5));
      hold.setLinkIdentifier(lookAt.linkIdentifier());
      hold.setFrame(lookAt.frame());
      Kt::coordinateSystemTransformation frame;
      ASSERT_TRUE(lookAt.calculatePlacement(manipulator, *stated.activeState(0), frame));
      const Kt::Vector aside(rng.uniform(-1, 1), rng.uniform(-1, 1), 0.0);
      const Kt::coordinateSystemTransformation target(
          frame * (turn(rng.uniform(0.0, 2.0), aside) *
                   Kt::Vector(0, 0, lookAt.focusDistance() * rng.uniform(1, 3))));

      KtPositionState position = stated.state().positionStates()[0];
      Kt::ReArray rows(8, n), task(5, n), normal;
      std::vector<double> velocity(5, 0.0), multipliers, rates;
      KtEndEffectorVelocityEntries commanded;
      double aimError = 4.0;
      for (int step = 0; step < 1000 && aimError >= 1e-6; ++step) {
        KtManipulatorActiveState& state = *stated.activeState(0);
        ASSERT_TRUE(lookAt.calculatePlacement(manipulator, state, frame));
        const Kt::Vector sight = target.translation() - frame.translation(), z = frame.orientation().zAxis();
        aimError = std::atan2(z.cross(sight).mag(), z.dot(sight));
        lookAt.filterEndEffectorVelocity(frame, target, {}, 0.01, commanded);
        hold.insertJacobianComponent(manipulator, 0, hold.relativeLinkData(), true, state, rows);
        lookAt.insertJacobianComponent(manipulator, 6, lookAt.relativeLinkData(), true, state, rows);
        // Origin still, focus point as commanded: q̇ = Jᵀ (J Jᵀ)⁻¹ v.
        for (const std::size_t r : {0, 1, 2, 6, 7})
          for (std::size_t k = 0; k < n; ++k) task[r < 6 ? r : r - 3][k] = rows[r][k];
        velocity[3] = commanded[0];
        velocity[4] = commanded[1];
        ASSERT_TRUE(task.underconstrainedNormal(normal) && normal.solve(velocity, multipliers) &&
                    task.transposeTransform(multipliers, rates));
        for (std::size_t k = 0; k < n; ++k) position.jointPositions()[k] += rates[k] * 0.01;
        stated.setIndividualState(0, position);
      }
      EXPECT_LT(aimError, 1e-6);
    }
  }
}

// Distances count only the kept components: motion the rows leave free is no distance, a kept
// translation t counts t, a kept turn a counts angularWeight·a in the normalised distance. The
// look-at measures the gap between the focus points. A non-positive threshold is guarded.
TEST(KtFrameFamilyFilterTest, DistancesCountOnlyTheKeptComponents) {
  TestRandom rng(83);
  const double t = 0.3, a = 0.4, threshold = 0.5;
  for (const Member& member : members()) {
    SCOPED_TRACE(member.className);
    const auto endEffector = member.make();
    endEffector->setMotionThreshold(threshold);
    const double weight = endEffector->motionFilter().angularWeight(), f = rowPoint(*endEffector).z();
    const Kt::coordinateSystemTransformation first = randomPose(rng);
    if (f > 0.0) {
      const Kt::coordinateSystemTransformation target(first *
                                                      (Kt::Vector(std::sin(a), 0, std::cos(a)) * 2.0));
      EXPECT_NEAR(endEffector->linearDistance(first, target), 2 * f * std::sin(a / 2), 1e-12);
      EXPECT_NEAR(endEffector->normalizedDistance(first, target), 2 * f * std::sin(a / 2) / threshold, 1e-12);
      continue;
    }
    for (std::size_t k = 0; k < 6; ++k) {
      Kt::Vector axis;
      axis[k % 3] = 1.0;
      const Kt::coordinateSystemTransformation motion(k < 3 ? axis * t : Kt::Vector(),
                                                      turn(k < 3 ? 0.0 : a, axis));
      const bool kept = std::count(member.components.begin(), member.components.end(), k) == 1;
      const double linear = kept && k < 3 ? t : 0.0,
                   normalized = kept ? (k < 3 ? t : weight * a) / threshold : 0.0;
      EXPECT_NEAR(endEffector->linearDistance(first, first * motion), linear, 1e-12) << k;
      EXPECT_NEAR(endEffector->normalizedDistance(first, first * motion), normalized, 1e-12) << k;
    }
  }
  KtFrameEndEffector frame;
  frame.setMotionThreshold(0.0);
  const Kt::coordinateSystemTransformation still, moved(Kt::Vector(1e-3, 0, 0));
  EXPECT_EQ(frame.normalizedDistance(still, still), 0.0);
  EXPECT_GT(frame.normalizedDistance(still, moved), 1e300);
}

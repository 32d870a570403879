#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <limits>
#include <vector>

#include "foundation/MathUtil.h"
#include "motion/position/KtSmallestSingularValue.h"
#include "motion/position/PositionTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"

using namespace position_test;

namespace {

const std::vector<double> kRates = {0.1, -0.2, 0.15, 0.05, -0.1, 0.2, 0.1};
const std::vector<double> kMidJoints = {0.0, 0.0, 0.0, -1.5, 0.0, 1.8, 0.0};

// A column that flips its sign at every evaluation: two passes of one step always disagree.
class Alternating : public KtXmlCloneable<Alternating, KtControlExpression> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token("test#alternating");
    return token;
  }
  bool prepare(const KtControlContext& context) override {
    m_value.shapeAsColumn(context.columnCount);
    m_value.column() = kRates;
    return true;
  }
  bool evaluate(const KtControlContext&) override {
    for (double& rate : m_value.column()) rate = -rate;
    return true;
  }
};

}  // namespace

// With fixed rates the joints move by rate × covered time, an independent measure of the step
// lengths: whole steps up to maxIterations, then at most maxFinalPropagationSize steps none longer
// than the time step. The time becomes the target time either way; a target at or before it, or a
// system that is off, moves nothing and zeroes the rates.
TEST(KtPositionControlSteppingTest, CountsStepsAndCoversTheIntervalWithinTheLimits) {
  struct Case {
    double interval;
    unsigned maxFinal;
    bool on;
    unsigned steps;
    double covered;
    bool reached;
  };
  const std::vector<Case> cases = {
      {0.008, 2, true, 1, 0.008, true},  {0.003, 2, true, 1, 0.003, true}, {0.02, 2, true, 3, 0.02, true},
      {0.084, 2, true, 11, 0.084, true}, {1.0, 2, true, 12, 0.096, false}, {0.084, 0, true, 9, 0.072, false},
      {0.0, 2, true, 0, 0.0, true},      {-0.5, 2, true, 0, 0.0, false},   {0.02, 2, false, 0, 0.0, true}};
  for (const Case& c : cases) {
    BoundArm arm(fixedRates(kRates));
    setJoints(arm.stated, kMidJoints);
    arm.system().setMaxFinalPropagationSize(c.maxFinal);
    arm.system().setIsOn(c.on);
    arm.stated.state().velocityStates()[0].setJointVelocities(kRates);
    arm.stated.state().setTime(2.0);
    ASSERT_TRUE(arm.advance(c.interval)) << c.interval;
    const KtPropagationResultData& data = arm.container.propagationResults()[0];
    EXPECT_EQ(data.stepsTaken(), c.steps) << c.interval;
    EXPECT_EQ(data.targetTimeReached(), c.reached) << c.interval;
    EXPECT_DOUBLE_EQ(arm.time(), 2.0 + std::max(c.interval, 0.0));
    for (std::size_t j = 0; j < kRates.size(); ++j)
      EXPECT_NEAR(arm.joints()[j], kMidJoints[j] + kRates[j] * c.covered, 1e-12) << c.interval;
    const double rate0 = arm.stated.state().velocityStates()[0].jointVelocities()[0];
    EXPECT_EQ(rate0, c.covered > 0.0 ? kRates[0] : 0.0);
  }
}

// Two passes of a smooth motion carry the flange where one pass does, up to the error of one-pass
// (Euler) steps along a curved joint path: each step leaves the straight flange path by at most
// half the arm's reach times the squared joint step, which two passes cancel to second order.
// Passes that disagree about the direction zero the rates (here they cancel, so the joints stay).
TEST(KtPositionControlSteppingTest, TwoPassesAgreeOnSmoothMotionAndStopOnDisagreement) {
  constexpr double kReach = 1.2;  // metres, more than the sample arm's outstretched length
  constexpr int kSteps = 5;       // 0.04 s in steps of 0.008 s
  TestRandom rng(4301);
  for (int i = 0; i < 5; ++i) {
    std::vector<Kt::Vector> moved;
    double jointStep = 0.0;
    const std::vector<double> start = jointsInside(BoundArm().arm(), rng, 0.5);
    for (bool twoPasses : {false, true}) {
      BoundArm arm(flangeControl());
      arm.system().velocityControlSystem().endEffectorSet(0)->endEffector(0).setMotionThreshold(0.05);
      setJoints(arm.stated, start);
      ASSERT_TRUE(arm.container.bind(arm.stated));
      const Kt::Vector from = arm.actual().translation();
      const Kt::coordinateSystemTransformation far(from + Kt::Vector(0.3, -0.2, 0.1),
                                                   arm.actual().orientation());
      ASSERT_TRUE(arm.container.setDesiredPlacement(0, 0, far));
      arm.system().setUseTwoPasses(twoPasses);
      ASSERT_TRUE(arm.advance(kSteps * 0.008));
      moved.push_back(arm.actual().translation() - from);
      std::vector<double> displacement = arm.joints();
      for (std::size_t j = 0; j < start.size(); ++j) displacement[j] -= start[j];
      if (!twoPasses) jointStep = velocity_test::norm(displacement) / kSteps;
    }
    EXPECT_NEAR(moved[1].mag(), 0.05 * kSteps * 0.008, 1e-6);
    EXPECT_LT((moved[1] - moved[0]).mag(), kSteps * 0.5 * kReach * jointStep * jointStep + 1e-9);
  }

  auto control = fixedRates(kRates);
  control->velocityControlSystem().controlExpressionContainer(0)->setExpression(
      std::make_unique<Alternating>());
  control->setUseTwoPasses(true);
  BoundArm arm(std::move(control));
  setJoints(arm.stated, kMidJoints);
  ASSERT_TRUE(arm.advance(0.008));
  for (std::size_t j = 0; j < kMidJoints.size(); ++j) {
    EXPECT_NEAR(arm.joints()[j], kMidJoints[j], 1e-15);
    EXPECT_EQ(arm.stated.state().velocityStates()[0].jointVelocities()[j], 0.0);
  }
}

// Once warm, a calculation allocates nothing, with one pass or two and either return mode.
TEST(KtPositionControlSteppingTest, WarmCalculationAllocatesNothing) {
  BoundArm arm;
  KtManipulatorSystemState result;
  const Kt::coordinateSystemTransformation target(arm.actual().translation() + Kt::Vector(0.05, 0.0, 0.0),
                                                  arm.actual().orientation());
  ASSERT_TRUE(arm.container.setDesiredPlacement(0, 0, target));
  for (bool twoPasses : {false, true}) {
    arm.system().setUseTwoPasses(twoPasses);
    arm.system().setVelocityStateReturnMode(twoPasses ? KtVelocityStateReturnMode::finiteDifference
                                                      : KtVelocityStateReturnMode::positionControlResult);
    ASSERT_TRUE(arm.container.calculateState(arm.time() + 0.04, result));
    NoAllocationGuard guard;
    EXPECT_TRUE(arm.container.calculateState(arm.time() + 0.04, result));
  }
}

// With the sample control document (a soft elbow, limit avoidance, a rate filter), a reachable
// flange pose is reached from random starts to 1e-6 m and 1e-6 rad; on the way the flange never
// moves faster than its filter's threshold allows. A pose out of reach leaves the flange at the
// edge of the workspace, stretched toward the target, and every joint inside its limits.
TEST(KtPositionControlSteppingTest, TracksAReachablePoseWithinTheFilterThreshold) {
  TestRandom rng(4302);
  for (int i = 0; i < 6; ++i) {
    BoundArm arm;
    const std::vector<double> start = jointsInside(arm.arm(), rng, 0.4);
    std::vector<double> goal = start;
    for (double& q : goal) q += rng.uniform(-0.3, 0.3);
    setJoints(arm.stated, goal);
    ASSERT_TRUE(arm.container.bind(arm.stated));
    const Kt::coordinateSystemTransformation target = arm.actual();
    setJoints(arm.stated, start);
    ASSERT_TRUE(arm.container.bind(arm.stated));
    ASSERT_TRUE(arm.container.setDesiredPlacement(0, 0, target));
    const double threshold =
        arm.system().velocityControlSystem().endEffectorSet(0)->endEffector(0).motionThreshold();
    for (int call = 0; call < 150; ++call) {
      const Kt::coordinateSystemTransformation before = arm.actual();
      ASSERT_TRUE(arm.advance(0.02));
      // Euler steps along a curved path may add a little beyond the commanded speed.
      EXPECT_LE((arm.actual().translation() - before.translation()).mag(), threshold * 0.02 * 1.05);
    }
    const KtPropagationResultData& data = arm.container.propagationResults()[0];
    EXPECT_LT((arm.actual().translation() - target.translation()).mag(), 1e-6);
    EXPECT_LT(angleBetween(arm.actual(), target), 1e-6);
    EXPECT_TRUE(data.clampedJoints().empty());
    EXPECT_GT(data.smallestSingularValue(), 0.0);

    // Out of reach: 3 m from the shoulder in the direction of the reachable target, same
    // orientation. The arm stretches until its Jacobian is nearly singular, and may then slide
    // along that edge, as the solve keeps asking a joint held at its limit to move on.
    const Kt::Vector shoulder(0.0, 0.0, 0.333);
    const Kt::Vector direction = (target.translation() - shoulder) / (target.translation() - shoulder).mag();
    const Kt::Vector far = shoulder + direction * 3.0;
    ASSERT_TRUE(arm.container.setDesiredPlacement(0, 0, {far, target.orientation()}));
    for (int call = 0; call < 250; ++call) {
      ASSERT_TRUE(arm.advance(0.02));
      for (std::size_t j = 0; j < arm.joints().size(); ++j) {
        ASSERT_GE(arm.joints()[j], arm.arm().link(j).lowerLimitConstraint());
        ASSERT_LE(arm.joints()[j], arm.arm().link(j).upperLimitConstraint());
      }
    }
    EXPECT_LT(arm.container.propagationResults()[0].smallestSingularValue(), 0.02);
  }
}

// Whatever the host does (random, unreachable or non-finite targets and feed-forwards, times equal,
// backward, far ahead or not finite, measured states blended in, states set out of range), no joint leaves
// its limits and no value stops being finite.
TEST(KtPositionControlSteppingTest, NoJointLeavesItsLimitsUnderRandomCalls) {
  TestRandom rng(4303);
  BoundArm arm;
  arm.system().setUseTwoPasses(true);
  KtManipulatorSystemState result;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  PrintCapture quiet;
  int successes = 0;
  for (int call = 0; call < 3000; ++call) {
    const double reach = rng.uniform(0.0, 1.0) < 0.2 ? 5.0 : 0.8;
    Kt::Orientation turn;
    turn.setFrom321Euler(rng.uniform(-3, 3), rng.uniform(-1.5, 1.5), rng.uniform(-3, 3));
    Kt::Vector where(rng.uniform(-reach, reach), rng.uniform(-reach, reach), rng.uniform(-reach, reach));
    if (rng.integer(0, 20) == 0) where = Kt::Vector(nan, 0.0, 0.0);
    arm.container.setDesiredPlacement(0, rng.integer(0, 1), Kt::coordinateSystemTransformation(where, turn));
    if (rng.integer(0, 10) == 0)
      arm.container.setDesiredVelocity(0, 1, {rng.uniform(-1, 1), 0.0, rng.integer(0, 1) == 0 ? nan : 0.1});
    if (rng.integer(0, 30) == 0) {
      // A state set from outside: joints beyond their limits are brought back onto them; a joint
      // that is not finite refuses the calculation until the state is replaced.
      std::vector<double> joints = arm.joints();
      for (double& q : joints) q += rng.uniform(-4.0, 4.0);
      const bool broken = rng.integer(0, 3) == 0;
      if (broken) joints[static_cast<std::size_t>(rng.integer(0, 6))] = nan;
      setJoints(arm.stated, joints);
      if (broken) {
        ASSERT_FALSE(arm.container.calculateState(arm.time() + 0.01, result));
        ASSERT_TRUE(arm.container.propagationResults()[0].nonFiniteRejected());
        setJoints(arm.stated, jointsInside(arm.arm(), rng, 0.0));
      }
    }
    const double times[] = {0.0, -0.1, 0.016, 0.02, 50.0, nan};
    successes += arm.container.calculateState(arm.time() + times[rng.integer(0, 5)], result);
    if (rng.integer(0, 30) == 0) {
      KtManipulatorSystemState measured = arm.stated.state();
      for (double& q : measured.positionStates()[0].jointPositions()) q += rng.uniform(-4.0, 4.0);
      arm.container.updateState(measured, rng.uniform(-1.0, 2.0));
    }
    for (std::size_t j = 0; j < arm.joints().size(); ++j) {
      ASSERT_GE(arm.joints()[j], arm.arm().link(j).lowerLimitConstraint()) << "call " << call;
      ASSERT_LE(arm.joints()[j], arm.arm().link(j).upperLimitConstraint()) << "call " << call;
    }
    ASSERT_TRUE(ktAllFinite(arm.stated.state().velocityStates()[0].jointVelocities())) << "call " << call;
  }
  // Only the calls with a target time that is not finite fail.
  EXPECT_GT(successes, 2000);
}

// Blending a measured state: by the rate clamped to [0, 1], positions only.
TEST(KtPositionControlSteppingTest, UpdateStateBlendsTheMeasuredPositions) {
  BoundArm arm;
  setJoints(arm.stated, kMidJoints);
  KtManipulatorSystemState measured = arm.stated.state();
  std::vector<double> target = kMidJoints;
  for (double& q : target) q += 0.2;
  measured.positionStates()[0].setJointPositions(target);
  measured.setTime(-7.0);
  for (const auto& [rate, fraction] :
       std::vector<std::pair<double, double>>{{-3.0, 0.0}, {0.25, 0.25}, {1000.0, 1.0}}) {
    setJoints(arm.stated, kMidJoints);
    ASSERT_TRUE(arm.container.updateState(measured, rate));
    for (std::size_t j = 0; j < target.size(); ++j)
      EXPECT_NEAR(arm.joints()[j], kMidJoints[j] + 0.2 * fraction, 1e-15);
    EXPECT_EQ(arm.time(), 0.0);
  }
}

// The smallest singular value against Eigen's SVD, for wide, tall, square and rank-deficient matrices.
TEST(KtPositionControlSteppingTest, SmallestSingularValueMatchesAnSvd) {
  TestRandom rng(4304);
  KtSmallestSingularValue smallest;
  for (const auto& [rows, columns] :
       std::vector<std::pair<int, int>>{{6, 7}, {9, 7}, {7, 6}, {3, 3}, {1, 4}}) {
    for (int i = 0; i < TestRandom::cases(); ++i) {
      Kt::ReArray a;
      a.setToZeros(rows, columns);
      Eigen::MatrixXd e(rows, columns);
      for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) e(r, c) = a[r][c] = rng.uniform(-1.0, 1.0);
      if (rows == 3) a[2] = a[1], e.row(2) = e.row(1);
      const double expected = Eigen::JacobiSVD<Eigen::MatrixXd>(e).singularValues().minCoeff();
      EXPECT_NEAR(smallest.of(a), expected, 1e-7) << rows << " x " << columns;
    }
  }
  EXPECT_EQ(smallest.of(Kt::ReArray()), 0.0);

  // The diagnostics report it for the stacked Jacobian that the last solve used (at the start of
  // the last step), or for the present state when no step was taken; a refused call clears it.
  BoundArm arm;
  const auto svdOfJacobianNow = [&arm] {
    const KtIndividualVelocityControlDescription& description =
        *arm.system().velocityControlSystem().individualVelocityControlDescription(0);
    const Kt::ReArray& j = description.endEffectorSet().jacobian(arm.arm(), description.isFixedBase(),
                                                                 *arm.stated.activeState(0));
    Eigen::MatrixXd e(j.rows(), j.columns());
    for (std::size_t r = 0; r < j.rows(); ++r)
      for (std::size_t c = 0; c < j.columns(); ++c) e(r, c) = j[r][c];
    return Eigen::JacobiSVD<Eigen::MatrixXd>(e).singularValues().minCoeff();
  };
  const auto reported = [&arm] { return arm.container.propagationResults()[0].smallestSingularValue(); };
  ASSERT_TRUE(arm.container.setDesiredPlacement(
      0, 0, {arm.actual().translation() + Kt::Vector(0.1, 0, 0), arm.actual().orientation()}));
  const double atStart = svdOfJacobianNow();
  ASSERT_TRUE(arm.advance(arm.system().timeStep()));
  EXPECT_NEAR(reported(), atStart, 1e-7);
  ASSERT_TRUE(arm.advance(0.0));
  EXPECT_NEAR(reported(), svdOfJacobianNow(), 1e-7);
  EXPECT_GT(std::abs(reported() - atStart), 1e-7);
  PrintCapture quiet;
  ASSERT_FALSE(arm.advance(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(reported(), 0.0);
}

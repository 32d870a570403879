#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "control/ControlTestSupport.h"
#include "foundation/MathUtil.h"
#include "math/Finite.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A value that is now and then not finite.
double wild(TestRandom& rng, double low, double high) {
  switch (rng.integer(0, 30)) {
    case 0:
      return kNaN;
    case 1:
      return kInf;
    case 2:
      return -kInf;
    default:
      return rng.uniform(low, high);
  }
}

// Joint vectors too short or too long for the arm, with values beyond the limits and not finite.
std::vector<double> jointVector(TestRandom& rng) {
  std::vector<double> joints(static_cast<std::size_t>(rng.integer(0, 10)));
  for (double& joint : joints) joint = wild(rng, -4.0, 4.0);
  return joints;
}

Kt::coordinateSystemTransformation wildPose(TestRandom& rng, double reach) {
  Kt::Orientation turn;
  turn.setFrom321Euler(wild(rng, -3, 3), rng.uniform(-1.5, 1.5), rng.uniform(-3, 3));
  return {Kt::Vector(wild(rng, -reach, reach), rng.uniform(-reach, reach), wild(rng, -reach, reach)), turn};
}

}  // namespace

// Whatever a host sends through the arm interface (poses near, far and not finite; times equal,
// repeated, backward, far ahead and not finite; joint vectors short, long, beyond the limits and not
// finite; resets to such vectors and poses in between), every value
// it gets back is finite and every joint it is told of, and every joint of the arm, lies within its limits.
// The call count follows --kt-cases (at least 5000).
TEST(ControlInterfaceRobustness, NoBadNumberAndNoLimitCrossedUnderRandomCalls) {
  TestRandom rng(9101);
  InspectableInterface control;
  ASSERT_TRUE(initializeSample(control));
  const KtIndividualManipulator& arm = control.stated()->system().manipulator(0);
  const auto insideLimits = [&arm](const std::vector<double>& joints) {
    for (std::size_t j = 0; j < joints.size() && j < arm.jointDof(); ++j)
      if (!(joints[j] >= arm.link(j).lowerLimitConstraint() &&
            joints[j] <= arm.link(j).upperLimitConstraint()))
        return false;
    return true;
  };
  PrintCapture quiet;
  double time = 0.0;
  std::vector<double> values, rates;
  const int calls = std::max(TestRandom::cases(), 5000);
  for (int call = 0; call < calls; ++call) {
    switch (rng.integer(0, 40)) {
      case 0:
        control.resetJointAngles(jointVector(rng));
        break;
      case 1:
        control.resetAll(jointVector(rng), wildPose(rng, 1.0));
        break;
      case 2:
        control.setTime(wild(rng, -1.0, 10.0));
        break;
      default:
        control.setDesiredEndEffectorPose(wildPose(rng, rng.integer(0, 4) == 0 ? 5.0 : 0.8), 0);
        break;
    }
    const double steps[] = {0.0, 0.001, 0.001, 0.001, 0.02, -0.01, 100.0, kNaN, kInf};
    const double next = time + steps[rng.integer(0, 8)];
    control.calculateNewJointValuesAndRates(next, values, rates);
    if (std::isfinite(next)) time = next;
    ASSERT_EQ(values.size(), 7u);
    ASSERT_EQ(rates.size(), 7u);
    ASSERT_TRUE(ktAllFinite(rates)) << call;
    ASSERT_TRUE(insideLimits(values)) << "call " << call;
    ASSERT_TRUE(insideLimits(control.stated()->state().positionStates()[0].jointPositions()))
        << "call " << call;
    Kt::coordinateSystemTransformation pose;
    const bool computed = control.computeEndEffectorPose(jointVector(rng), pose);
    ASSERT_TRUE(!computed || ktIsFinite(pose)) << "call " << call;
    const bool actual = control.getLastActualEndEffectorPose(pose);
    ASSERT_TRUE(!actual || ktIsFinite(pose)) << "call " << call;
  }
}

// A warm control cycle (a new desired pose, then one control step) allocates nothing.
TEST(ControlInterfaceRobustness, WarmControlCycleAllocatesNothing) {
  orlix::controlInterface control;
  ASSERT_TRUE(initializeSample(control, "craig_arm.xml", {0.1, 0.5, -0.2, -1.2, 0.3, 0.6, 0.1}));
  Kt::coordinateSystemTransformation pose;
  ASSERT_TRUE(control.getLastActualEndEffectorPose(pose));
  std::vector<double> values, rates;
  ASSERT_TRUE(control.calculateNewJointValuesAndRates(0.001, values, rates));
  const Kt::coordinateSystemTransformation moved(pose.translation() + Kt::Vector(0.01, 0.0, 0.0),
                                                 pose.orientation());
  NoAllocationGuard guard;
  EXPECT_TRUE(control.setDesiredEndEffectorPose(moved, 0));
  EXPECT_TRUE(control.calculateNewJointValuesAndRates(0.002, values, rates));
}

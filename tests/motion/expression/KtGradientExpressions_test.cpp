#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <vector>

#include "manipulator/KtJointColumns.h"
#include "motion/expression/ExpressionTestSupport.h"
#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"
#include "motion/expression/KtControlExpressionObstacleAvoidance.h"
#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/expression/KtControlExpressionSingularityAvoidance.h"
#include "motion/expression/KtControlExpressionStrengthOptimization.h"
#include "motion/velocity/KtControlExpressionCore.h"

using namespace expression_test;
using velocity_test::FlangeControl;

namespace {

// The distance between two segments, found without any closed form: for each s the nearest
// point of the second segment is a clamped projection, and the distance over s is convex, so a
// ternary search converges on its minimum.
double segmentDistance(const Kt::Vector& p0, const Kt::Vector& p1, const Kt::Vector& q0,
                       const Kt::Vector& q1) {
  const auto toSecond = [&](double s) {
    const Kt::Vector p = p0 + (p1 - p0) * s, v = q1 - q0;
    const double t = v.magSquared() > 0 ? std::clamp((p - q0).dot(v) / v.magSquared(), 0.0, 1.0) : 0.0;
    return p.distanceTo(q0 + v * t);
  };
  double low = 0.0, high = 1.0;
  for (int i = 0; i < 200; ++i) {
    const double a = low + (high - low) / 3, b = high - (high - low) / 3;
    if (toSecond(a) < toSecond(b)) {
      high = b;
    } else {
      low = a;
    }
  }
  return toSecond((low + high) / 2);
}

// The frame Jacobian of the arm's last link at its primary frame's origin (6 x columns).
Kt::ReArray distalJacobian(const KtIndividualManipulator& arm, KtManipulatorActiveState& state,
                           bool fixedBase) {
  const std::size_t last = arm.jointDof() - 1;
  const Kt::Vector point = arm.link(last).primaryFrameInSystem(state).translation();
  Kt::ReArray j(6, arm.jointDof() + (fixedBase ? 0 : 6));
  EXPECT_TRUE(KtJointColumns::write(arm, state, last, point, KtJacobianRows::both, j, 0));
  EXPECT_TRUE(fixedBase || KtJointColumns::writeFreeBase(arm, state, point, KtJacobianRows::both, j, 0));
  return j;
}

void expectGradient(const std::vector<double>& analytic, const std::vector<double>& differences,
                    double scale) {
  velocity_test::expectNear(analytic, differences, 1e-5 * (velocity_test::norm(differences) + scale));
}

}  // namespace

// Entry by entry against the definition: zero outside the zones, ±max at the limits, the sign
// of the nearer limit, a zone of at most half the range, and for exponent > 1 a value and
// slope that meet zero at the zone's edge (at the centre when the zones meet); unlimited joints and base
// columns give zero.
TEST(KtGradientExpressionsTest, JointLimitColumnFollowsItsZones) {
  TestRandom rng(401);
  FlangeControl arm(rng);
  KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
  ASSERT_TRUE(manipulator.linkForModification(6).setJointLimits(-INFINITY, INFINITY));
  KtControlExpressionJointLimitAvoidance limits;
  const auto columnAt = [&](const std::vector<double>& joints) {
    KtPositionState position = arm.stated.state().positionStates()[0];
    position.setJointPositions(joints);
    arm.stated.setIndividualState(0, position);
    const KtControlContext context = contextFor(arm, false);
    EXPECT_TRUE(limits.prepare(context) && limits.evaluate(context));
    return limits.value().column();
  };
  // Whole exponents (multiplied out) and one that is not, each with absolute zones, fractional ones,
  // and fractional ones so wide that they meet at the centre.
  for (const double exponent : {2.0, 3.0, rng.uniform(2.0, 4.0)}) {
    limits.setExponent(exponent);
    for (const double fraction : {0.0, 0.2, 0.7}) {
      const bool fractional = fraction > 0.0;
      limits.setFractional(fractional);
      limits.setAvoidanceZone(fractional ? fraction : 0.5);
      for (std::size_t i = 0; i < 6; ++i) {
        const KtManipulatorLink& link = manipulator.link(i);
        const double lower = link.lowerLimitConstraint(), upper = link.upperLimitConstraint();
        const double zone =
            std::min(limits.avoidanceZone() * (fractional ? upper - lower : 1.0), (upper - lower) / 2);
        std::vector<double> joints(7, 0.0);
        const auto entry = [&](double q) {
          joints[i] = q;
          return columnAt(joints)[i];
        };
        EXPECT_NEAR(entry(upper), limits.max(), 1e-9);
        EXPECT_NEAR(entry(lower), -limits.max(), 1e-9);
        const double inside = rng.uniform(0.0, zone);
        EXPECT_NEAR(entry(upper - inside), -entry(lower + inside), 1e-9);
        EXPECT_NEAR(entry(upper - inside), limits.max() * std::pow(1 - inside / zone, limits.exponent()),
                    1e-9);
        if (2 * zone < upper - lower) {
          EXPECT_EQ(entry(lower + zone + 1e-9), 0.0);
          EXPECT_EQ(entry(upper - zone - 1e-9), 0.0);
        }
        // Just inside the edge value and slope are near 0, as outside (a kink would give a slope of
        // about max/zone there).
        const double h = 1e-6, edge = upper - zone;
        EXPECT_LT(std::fabs(entry(edge + h)), 1e-7);
        EXPECT_LT(std::fabs(entry(edge + 2 * h) - entry(edge + h)) / h, 1e-2);
        const std::vector<double> column = columnAt(joints);
        EXPECT_EQ(column[6], 0.0);
        for (std::size_t c = 7; c < 13; ++c) EXPECT_EQ(column[c], 0.0);
      }
    }
  }
}

// Driven by a core with W = I and only this column as F (no end effectors, so q̇ = −α·F), by
// Euler steps of 1 ms for a second from a start inside the zones: no joint moves away from its
// centre in any step, each ends nearer to it, and none reaches its limit.
TEST(KtGradientExpressionsTest, JointLimitColumnDrivesJointsBackFromTheirLimits) {
  TestRandom rng(402);
  for (int trial = 0; trial < 4; ++trial) {
    FlangeControl arm(rng);
    arm.control.endEffectorSet(0)->removeEndEffector(0);
    auto limits = std::make_unique<KtControlExpressionJointLimitAvoidance>();
    limits->setFractional(trial % 2 == 1);
    limits->setAvoidanceZone(trial % 2 == 1 ? 0.1 : 0.5);
    auto core = std::make_unique<KtControlExpressionCore>();
    core->vector().setExpression(std::move(limits));
    core->scalar().setExpression(std::make_unique<KtControlExpressionScalarConstant>(rng.uniform(0.5, 1.0)));
    arm.description().controlExpressionContainer().setExpression(std::move(core));

    const KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
    KtPositionState position = arm.stated.state().positionStates()[0];
    std::vector<double> lower(7), upper(7), centre(7);
    for (std::size_t i = 0; i < 7; ++i) {
      lower[i] = manipulator.link(i).lowerLimitConstraint();
      upper[i] = manipulator.link(i).upperLimitConstraint();
      centre[i] = (lower[i] + upper[i]) / 2;
      const double zone = trial % 2 == 1 ? 0.1 * (upper[i] - lower[i]) : 0.5;
      const double depth = rng.uniform(0.01, 0.9) * zone;
      position.jointPositions()[i] = rng.uniform(0, 1) < 0.5 ? lower[i] + depth : upper[i] - depth;
    }
    const std::vector<double> start = position.jointPositions();
    KtManipulatorEndEffectorVelocity none;
    std::vector<double> rates;
    for (int step = 0; step < 1000; ++step) {
      arm.stated.setIndividualState(0, position);
      ASSERT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &none, rates));
      for (std::size_t i = 0; i < 7; ++i) {
        const double before = position.jointPositions()[i];
        double& q = position.jointPositions()[i];
        q += 0.001 * rates[i];
        ASSERT_LE(std::fabs(q - centre[i]), std::fabs(before - centre[i]) + 1e-15) << "joint " << i;
        ASSERT_TRUE(q > lower[i] && q < upper[i]) << "joint " << i;
      }
    }
    for (std::size_t i = 0; i < 7; ++i)
      EXPECT_LT(std::fabs(position.jointPositions()[i] - centre[i]), std::fabs(start[i] - centre[i]));
  }
}

// The obstacle gradient against central differences of the summed cost, which is computed here
// from the joint frame origins with a distance found by search. Capsules are placed near the arm
// so that several segments are within the avoidance distance; the pair form is (0, −F).
TEST(KtGradientExpressionsTest, ObstacleGradientIsTheRateOfTheSummedCost) {
  TestRandom rng(403);
  int near = 0;
  for (int trial = 0; trial < TestRandom::cases(); ++trial) {
    FlangeControl arm(rng);
    const bool fixedBase = trial % 2 == 0;
    const KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
    KtManipulatorActiveState& state = *arm.stated.activeState(0);
    std::vector<KtObstacleCapsule> capsules;
    for (int c = 0; c < 3; ++c) {
      const Kt::Vector near =
          manipulator.link(static_cast<std::size_t>(rng.integer(0, 6))).dhFrameInSystem(state).translation();
      const Kt::Vector start = near + manipulator_test::randomPose(rng, 0.3).translation();
      capsules.emplace_back(start, start + manipulator_test::randomPose(rng, 0.3).translation(),
                            rng.uniform(0.0, 0.1));
    }
    KtControlExpressionObstacleAvoidance obstacle;
    KtControlExpressionObstacleAvoidanceAb pair;
    const double boundary = rng.uniform(0.5, 2.0);
    for (KtControlExpressionObstacleAvoidanceAb* e :
         std::initializer_list<KtControlExpressionObstacleAvoidanceAb*>{&obstacle, &pair}) {
      e->setCapsules(capsules);
      e->setBoundaryValue(boundary);
      e->setExponent(2.5);
      e->setAvoidanceDistance(0.4);
    }
    const KtControlContext context = contextFor(arm, fixedBase);
    ASSERT_TRUE(obstacle.prepare(context) && obstacle.evaluate(context));
    ASSERT_TRUE(pair.prepare(context) && pair.evaluate(context));

    const auto cost = [&](KtManipulatorActiveState& s) {
      double sum = 0.0;
      for (std::size_t k = 0; k < 7; ++k) {
        const KtManipulatorLink& link = manipulator.link(k);
        const Kt::Vector a = link.parentLink()->dhFrameInSystem(s).translation(),
                         b = link.dhFrameInSystem(s).translation();
        for (const KtObstacleCapsule& capsule : capsules) {
          const double d = segmentDistance(a, b, capsule.start(), capsule.end()) - capsule.radius();
          if (d < 0.4) sum += boundary * std::pow((0.4 - d) / 0.4, 2.5);
        }
      }
      return sum;
    };
    const std::vector<double> differences = costGradient(arm.stated, context.columnCount, cost);
    expectGradient(obstacle.value().column(), differences, boundary);
    near += velocity_test::norm(differences) > 0.0;
    std::vector<double> negated = pair.value().column();
    for (double& entry : negated) entry = -entry;
    EXPECT_EQ(negated, obstacle.value().column());
    EXPECT_EQ(pair.value().matrix(), Kt::ReArray(context.columnCount, context.columnCount));
  }
  EXPECT_GT(near, TestRandom::cases() / 2) << "most trials have capsules within reach";
}

// −log det(Wo·J·Wi·Jᵀ·Wo) and ‖Jᵀ·f‖_p by central differences against the analytic gradients,
// with J built here from the joint columns and the cost from a determinant and a sum; at the
// stretched pose (every joint at zero, where the first and third axes line up) the singularity
// column is zero, as is the strength column without a load.
TEST(KtGradientExpressionsTest, SingularityAndStrengthGradientsAreTheRatesOfTheirCosts) {
  TestRandom rng(404);
  for (int trial = 0; trial < TestRandom::cases(); ++trial) {
    FlangeControl arm(rng);
    const bool fixedBase = trial % 2 == 0;
    const KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
    const std::size_t n = fixedBase ? 7 : 13;
    std::vector<double> in(n), out(6);
    for (double& w : in) w = rng.uniform(0.5, 2.0);
    for (double& w : out) w = rng.uniform(0.5, 2.0);
    const std::vector<double> forces = manipulator_test::randomJoints(rng, 6, 10.0);
    KtControlExpressionSingularityAvoidance singularity;
    KtControlExpressionStrengthOptimization strength;
    if (trial % 3 != 0) {
      singularity.setInputWeights(in);
      singularity.setOutputWeights(out);
    }
    strength.setForces(forces);
    strength.setOrder(trial % 2 == 0 ? 2.0 : 4.0);
    const KtControlContext context = contextFor(arm, fixedBase);
    ASSERT_TRUE(singularity.prepare(context) && singularity.evaluate(context));
    ASSERT_TRUE(strength.prepare(context) && strength.evaluate(context));

    const auto logDet = [&](KtManipulatorActiveState& s) {
      const Kt::ReArray j = distalJacobian(manipulator, s, fixedBase);
      const std::vector<double>&wi = singularity.inputWeights(), &wo = singularity.outputWeights();
      Kt::ReArray m(6, 6);
      for (std::size_t r = 0; r < 6; ++r)
        for (std::size_t q = 0; q < 6; ++q)
          for (std::size_t c = 0; c < n; ++c)
            m[r][q] += (wo.empty() ? 1.0 : wo[r] * wo[q]) * j[r][c] * (wi.empty() ? 1.0 : wi[c]) * j[q][c];
      return -std::log(m.determinant());
    };
    const auto torqueNorm = [&](KtManipulatorActiveState& s) {
      const std::vector<double> tau =
          velocity_test::transposeTimes(distalJacobian(manipulator, s, fixedBase), forces);
      double sum = 0.0;
      for (double t : tau) sum += std::pow(std::fabs(t), strength.order());
      return std::pow(sum, 1.0 / strength.order());
    };
    expectGradient(singularity.value().column(), costGradient(arm.stated, n, logDet), 1.0);
    expectGradient(strength.value().column(), costGradient(arm.stated, n, torqueNorm), 1.0);
  }
  FlangeControl arm(rng);
  KtPositionState stretched = arm.stated.state().positionStates()[0];
  stretched.setJointPositions(std::vector<double>(7, 0.0));
  arm.stated.setIndividualState(0, stretched);
  KtControlExpressionSingularityAvoidance singularity;
  KtControlExpressionStrengthOptimization strength;
  strength.setForces(std::vector<double>(6, 0.0));
  const KtControlContext context = contextFor(arm, true);
  for (KtControlExpression* e : std::initializer_list<KtControlExpression*>{&singularity, &strength}) {
    ASSERT_TRUE(e->prepare(context) && e->evaluate(context));
    EXPECT_EQ(e->value().column(), std::vector<double>(7, 0.0));
  }
}

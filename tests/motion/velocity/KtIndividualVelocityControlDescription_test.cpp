#include <gtest/gtest.h>

#include <Eigen/Dense>

#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "motion/velocity/KtControlExpressionCoreAb.h"
#include "motion/velocity/VelocityTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"

using namespace velocity_test;

namespace {

std::unique_ptr<Literal> literalPair(const Kt::ReArray& a, const std::vector<double>& b) {
  KtExpressionValue value;
  value.shapeAsAb(b.size());
  value.matrix() = a;
  value.column() = b;
  return std::make_unique<Literal>(value);
}

// A random symmetric positive definite n x n matrix: AᵀA plus a margin on the diagonal.
Kt::ReArray randomWeighting(TestRandom& rng, std::size_t n) {
  Kt::ReArray a(n, n), weighting(n, n);
  for (std::size_t r = 0; r < n; ++r)
    for (std::size_t c = 0; c < n; ++c) a[r][c] = rng.uniform(-1.0, 1.0);
  for (std::size_t r = 0; r < n; ++r) {
    for (std::size_t c = 0; c < n; ++c)
      for (std::size_t k = 0; k < n; ++k) weighting[r][c] += a[k][r] * a[k][c];
    weighting[r][r] += 0.5;
  }
  return weighting;
}

std::unique_ptr<Literal> literalMatrix(const Kt::ReArray& matrix) {
  KtExpressionValue value;
  value.shapeAsMatrix(matrix.rows(), matrix.columns());
  value.matrix() = matrix;
  return std::make_unique<Literal>(value);
}

// The null space of a 6 x 7 matrix of full rank, by cofactors: z_i = (−1)^i det(J without
// column i); J·z vanishes by Laplace expansion. Independent of any factorisation.
std::vector<double> nullVector(const Kt::ReArray& jacobian) {
  std::vector<double> z(7);
  for (std::size_t skipped = 0; skipped < 7; ++skipped) {
    Kt::ReArray minor(6, 6);
    for (std::size_t r = 0; r < 6; ++r)
      for (std::size_t c = 0, k = 0; c < 7; ++c)
        if (c != skipped) minor[r][k++] = jacobian[r][c];
    z[skipped] = (skipped % 2 == 0 ? 1.0 : -1.0) * minor.determinant();
  }
  return z;
}

}  // namespace

// With the flange frame as a hard constraint the rates meet the commanded velocity exactly,
// and whatever W, F and α are, W·q̇ + α·F has no component along the null space of J (the
// optimality condition of the cost among all exact solutions). A warm call allocates nothing.
TEST(KtIndividualVelocityControlDescriptionTest, HardRowsAreMetAndTheCostIsOptimalInTheNullSpace) {
  TestRandom rng(301);
  for (int trial = 0; trial < 20; ++trial) {
    FlangeControl arm(rng);
    auto core = std::make_unique<KtControlExpressionCore>();
    const double alpha = rng.uniform(-2.0, 2.0);
    const std::vector<double> gradient = manipulator_test::randomJoints(rng, 7, 1.0);
    if (trial % 2 == 1) {
      core->matrix().setExpression(literalMatrix(randomWeighting(rng, 7)));
      core->vector().setExpression(literalColumn(gradient));
      core->scalar().setExpression(std::make_unique<KtControlExpressionScalarConstant>(alpha));
    }
    const bool identity = trial % 2 == 0;
    arm.description().controlExpressionContainer().setExpression(std::move(core));
    const KtManipulatorEndEffectorVelocity velocities = randomVelocities(*arm.control.endEffectorSet(0), rng);
    std::vector<double> rates;
    ASSERT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &velocities, rates));
    const Kt::ReArray& jacobian = arm.jacobian();
    expectNear(times(jacobian, rates), velocities.velocity(0), 1e-10);

    std::vector<double> optimality = rates;
    if (!identity) {
      const KtExpressionValue& w =
          static_cast<KtControlExpressionCore&>(*arm.description().controlExpressionContainer().expression())
              .matrix()
              .value();
      optimality = times(w.matrix(), rates);
      for (std::size_t i = 0; i < 7; ++i) optimality[i] += alpha * gradient[i];
    }
    const std::vector<double> z = nullVector(jacobian);
    EXPECT_NEAR(std::inner_product(z.begin(), z.end(), optimality.begin(), 0.0) /
                    (norm(optimality) * norm(z) + 1e-300),
                0.0, 1e-9);

    NoAllocationGuard guard;
    arm.description().calculateJointRates(arm.stated, 0, &velocities, rates);
  }
}

// A soft flange frame enters the cost as weighted least squares: with W = I the rates minimise
// ½|q̇|² + ½w·|J·q̇ − V|², w the handler's weight times the error weight. At a
// singular pose (every joint at zero: the first and third axes line up) the exact solve refuses
// with a message and commands no motion, while the soft one stays bounded by √w/2·|V|, the
// largest gain σw/(1 + σ²w) of damped least squares over all singular values σ.
TEST(KtIndividualVelocityControlDescriptionTest,
     SoftRowsAreWeightedLeastSquaresAndStayBoundedAtSingularities) {
  TestRandom rng(302);
  for (int trial = 0; trial < 10; ++trial) {
    FlangeControl arm(rng);
    if (trial % 2 == 1) {
      KtPositionState stretched = arm.stated.state().positionStates()[0];
      stretched.setJointPositions(std::vector<double>(7, 0.0));
      arm.stated.setIndividualState(0, stretched);
    }
    KtEndEffectorSet& set = *arm.control.endEffectorSet(0);
    const KtManipulatorEndEffectorVelocity velocities = randomVelocities(set, rng);
    std::vector<double> rates;
    if (trial % 2 == 1) {
      PrintCapture capture;
      EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 0, &velocities, rates));
      EXPECT_FALSE(capture.text().empty());
      EXPECT_EQ(rates, std::vector<double>(7, 0.0));
    }
    const double errorWeight = rng.uniform(0.5, 2.0), handlerWeight = rng.uniform(10.0, 1000.0);
    set.endEffector(0).setIsHardConstraint(false);
    set.endEffector(0).setErrorWeight(errorWeight);
    auto core = std::make_unique<KtControlExpressionCore>();
    auto handler = std::make_unique<KtWlsSoftConstraintHandler>();
    handler->setWeight(handlerWeight);
    core->softConstraintHandler().push_back(std::move(handler));
    arm.description().controlExpressionContainer().setExpression(std::move(core));
    ASSERT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &velocities, rates));

    // The same cost as one stacked least-squares problem [√w·J; I]·q̇ ≈ [√w·V; 0], solved by
    // Eigen's pivoted QR.
    const double w = errorWeight * handlerWeight;
    const Kt::ReArray& jacobian = arm.jacobian();
    Eigen::MatrixXd stacked = Eigen::MatrixXd::Zero(13, 7);
    Eigen::VectorXd target = Eigen::VectorXd::Zero(13);
    for (std::size_t r = 0; r < 6; ++r) {
      for (std::size_t c = 0; c < 7; ++c) stacked(r, c) = std::sqrt(w) * jacobian[r][c];
      target(r) = std::sqrt(w) * velocities.velocity(0)[r];
    }
    stacked.bottomRows(7) = Eigen::MatrixXd::Identity(7, 7);
    const Eigen::VectorXd expected = stacked.colPivHouseholderQr().solve(target);
    expectNear(rates, std::vector<double>(expected.data(), expected.data() + 7), 1e-9 * expected.norm());
    EXPECT_LE(norm(rates), std::sqrt(w) / 2 * norm(velocities.velocity(0)) * (1 + 1e-12));
  }
}

// An arm that is off yields zero rates; velocity lists that do not fit the set are reported, and
// a velocity that is not finite holds the arm still.
TEST(KtIndividualVelocityControlDescriptionTest, ReportsVelocitiesThatDoNotFitAndStandsStillWhenOff) {
  TestRandom rng(303);
  FlangeControl arm(rng);
  KtManipulatorEndEffectorVelocity none, shortOne;
  shortOne.resize(1);
  shortOne.velocity(0) = {1.0, 2.0};
  std::vector<double> rates;
  PrintCapture capture;
  EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 0, &none, rates));
  EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 0, &shortOne, rates));
  EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 0, nullptr, rates));
  const KtManipulatorEndEffectorVelocity fitting = randomVelocities(*arm.control.endEffectorSet(0), rng);
  EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 3, &fitting, rates));
  KtManipulatorEndEffectorVelocity notFinite = fitting;
  notFinite.velocity(0)[2] = std::nan("");
  std::vector<double> held;
  EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 0, &notFinite, held));
  EXPECT_EQ(held, std::vector<double>(7, 0.0));
  EXPECT_EQ(
      capture.text(),
      "KtIndividualVelocityControlDescription::calculateJointRates(): 0 end-effector velocities for 1 end "
      "effectors.\n"
      "KtIndividualVelocityControlDescription::calculateJointRates(): end effector 0 has 6 rows but 2 "
      "velocity entries.\n"
      "KtControlExpressionCore::calculateJointRates(): attempt to calculate joint rates with a NULL "
      "end-effector velocity\n"
      "KtControlExpressionCore::calculateJointRates()-> Bad manipulator index, 3.\n"
      "KtControlExpressionCore::calculateJointRates(): the rates are not finite.\n");
  EXPECT_TRUE(rates.empty());
  capture.clear();
  arm.description().controlExpressionContainer().setExpression(
      literalColumn({0, 0, 0, std::nan(""), 0, 0, 0}));
  EXPECT_FALSE(arm.description().calculateJointRates(arm.stated, 0, &fitting, held));
  EXPECT_EQ(held, std::vector<double>(7, 0.0));
  EXPECT_EQ(capture.text(),
            "KtIndividualVelocityControlDescription::calculateJointRates(): the rates are not finite; the "
            "arm is held still.\n");
  arm.description().setIsOn(false);
  EXPECT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &shortOne, rates));
  EXPECT_EQ(rates, std::vector<double>(7, 0.0));
}

// The (A, b) core with the pairs (W, 0) and (0, −F) and scale α poses the same problem as the
// plain core with W, F and α, and so gives the same rates.
TEST(KtIndividualVelocityControlDescriptionTest, PairCoreSumsItsPairsIntoTheSameProblem) {
  TestRandom rng(304);
  FlangeControl arm(rng);
  auto plain = std::make_unique<KtControlExpressionCore>();
  const Kt::ReArray weighting = randomWeighting(rng, 7);
  plain->matrix().setExpression(literalMatrix(weighting));
  const std::vector<double> gradient = manipulator_test::randomJoints(rng, 7, 1.0);
  std::vector<double> negated = gradient;
  for (double& entry : negated) entry = -entry;
  plain->vector().setExpression(literalColumn(gradient));
  plain->scalar().setExpression(std::make_unique<KtControlExpressionScalarConstant>(0.7));
  auto pairs = std::make_unique<KtControlExpressionCoreAb>();
  pairs->matrix().setExpression(literalPair(weighting, std::vector<double>(7, 0.0)));
  pairs->vector().setExpression(literalPair(Kt::ReArray(7, 7), negated));
  pairs->scalar().setExpression(std::make_unique<KtControlExpressionScalarConstant>(0.7));

  const KtManipulatorEndEffectorVelocity velocities = randomVelocities(*arm.control.endEffectorSet(0), rng);
  std::vector<double> expected, rates;
  arm.description().controlExpressionContainer().setExpression(std::move(plain));
  ASSERT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &velocities, expected));
  arm.description().controlExpressionContainer().setExpression(std::move(pairs));
  ASSERT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &velocities, rates));
  expectNear(rates, expected, 1e-12);
}

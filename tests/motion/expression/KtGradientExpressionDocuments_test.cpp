#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "motion/expression/ExpressionTestSupport.h"
#include "motion/expression/KtControlExpressionCollisionAvoidanceAb.h"
#include "motion/expression/KtControlExpressionErrorReduction.h"
#include "motion/expression/KtControlExpressionErrorSensitivity.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFactory.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlTextDocuments.h"

using namespace expression_test;
using velocity_test::FlangeControl;

namespace {

Kt::ReArray randomMatrix(TestRandom& rng, std::size_t rows, std::size_t columns) {
  Kt::ReArray matrix(rows, columns);
  for (std::size_t r = 0; r < rows; ++r) matrix[r] = manipulator_test::randomJoints(rng, columns, 1.0);
  return matrix;
}

// One document of every class with its components away from their defaults (for 13 columns
// and 6 rows), as a host would write it.
const std::vector<std::string> kDocuments = {
    "<ct:jointLimitAvoidance><ct:avoidanceZone>0.25</ct:avoidanceZone><ct:exponent>2</ct:exponent>"
    "<ct:fractional>true</ct:fractional><ct:max>10</ct:max></ct:jointLimitAvoidance>",
    "<ct:obstacleAvoidanceAb><ct:avoidanceDistance>0.3</ct:avoidanceDistance><ct:boundaryValue>100"
    "</ct:boundaryValue><ct:capsules size=\"2\"><ct:element><ct:end x=\"0.3\" y=\"-0.1\" z=\"0.6\"/>"
    "<ct:radius>0.05</ct:radius><ct:start x=\"0.3\" y=\"0.1\" z=\"0.5\"/></ct:element><ct:element>"
    "<ct:end x=\"-0.4\" y=\"0.2\" z=\"0.3\"/><ct:radius>0.1</ct:radius><ct:start x=\"-0.4\" y=\"0.2\" "
    "z=\"0.3\"/></ct:element></ct:capsules><ct:exponent>2</ct:exponent></ct:obstacleAvoidanceAb>",
    "<ct:obstacleAvoidance><ct:capsules size=\"1\"><ct:element><ct:end x=\"0.1\" y=\"0.2\" z=\"0.3\"/>"
    "<ct:radius>0.05</ct:radius><ct:start x=\"0\" y=\"0.2\" z=\"0.4\"/></ct:element></ct:capsules>"
    "</ct:obstacleAvoidance>",
    "<ct:collisionAvoidanceAb><ct:checkEnvironmentCollision>false</ct:checkEnvironmentCollision>"
    "<ct:checkSelfCollision>false</ct:checkSelfCollision><ct:exponent>4</ct:exponent>"
    "<ct:queryDistancePrecisionLevel>2</ct:queryDistancePrecisionLevel><ct:useIntervalProcessing>true"
    "</ct:useIntervalProcessing></ct:collisionAvoidanceAb>",
    "<ct:singularityAvoidance><ct:inputWeights size=\"13\"><ct:group>1 2 1 2 1 2 1 0.5 0.5 0.5 3 3 3"
    "</ct:group></ct:inputWeights><ct:outputWeights size=\"6\"><ct:group>1 1 1 0.5 0.5 0.5</ct:group>"
    "</ct:outputWeights></ct:singularityAvoidance>",
    "<ct:strengthOptimization><ct:strengthOptimizationForces size=\"6\"><ct:group>0 0 -9.81 0.1 0.2 0.3"
    "</ct:group></ct:strengthOptimizationForces><ct:strengthOptimizationOrder>4"
    "</ct:strengthOptimizationOrder></ct:strengthOptimization>",
    "<ct:errorReduction><ct:errorReductionCovarianceMatrix rows=\"6\" columns=\"6\">1 0 0 0 0 0 0 2 0 0 0 0 "
    "0 0 3 0 0 0 0 0 0 4 0 0 0 0 0 0 5 0 0 0 0 0 0 6</ct:errorReductionCovarianceMatrix></ct:errorReduction>",
    "<ct:errorSensitivity><ct:endEffectorWeights size=\"6\"><ct:group>1 2 3 4 5 6</ct:group>"
    "</ct:endEffectorWeights><ct:linkIdentifier>craigArmLink5</ct:linkIdentifier></ct:errorSensitivity>",
};

// The expression of a document above, made by the factory from its element name.
std::unique_ptr<KtControlExpression> readExpression(std::string document) {
  const std::size_t nameEnd = document.find_first_of(" />");
  const std::string name = document.substr(4, nameEnd - 4);
  document.insert(nameEnd, " xmlns:ct=\"http://kt.example.org/namespace/ct#\"");
  std::unique_ptr<KtXmlObject> object = KtXmlFactory::defaultFactory().create(KtToken(ktNamespaceCt, name));
  EXPECT_TRUE(object != nullptr && ktTestRead(*object, document)) << name;
  return std::unique_ptr<KtControlExpression>(dynamic_cast<KtControlExpression*>(object.release()));
}

}  // namespace

// Every class reads its document and goes through a document and back byte for byte, as read and
// at its defaults, which are left out of documents.
TEST(KtGradientExpressionDocumentsTest, EveryClassReadsAndWritesItself) {
  for (const std::string& document : kDocuments) {
    const std::unique_ptr<KtControlExpression> configured = readExpression(document);
    ASSERT_NE(configured, nullptr) << document;
    for (const bool defaults : {false, true}) {
      const std::unique_ptr<KtXmlObject> original =
          defaults ? KtXmlFactory::defaultFactory().create(configured->elementToken()) : configured->clone();
      const std::unique_ptr<KtXmlObject> copy =
          KtXmlFactory::defaultFactory().create(configured->elementToken());
      const std::string text = ktTestWrittenTwice(*original, *copy);
      EXPECT_TRUE(!defaults || text.find("<ct:exponent>") == std::string::npos) << text;
    }
  }
}

// Once prepared, evaluating any of them allocates nothing; the collision pair is zero until
// links have shapes.
TEST(KtGradientExpressionDocumentsTest, EvaluationAllocatesNothing) {
  TestRandom rng(412);
  FlangeControl arm(rng);
  const KtControlContext context = contextFor(arm, false);
  for (const std::string& document : kDocuments) {
    const std::unique_ptr<KtControlExpression> e = readExpression(document);
    ASSERT_TRUE(e->prepare(context)) << e->elementToken().name();
    ASSERT_TRUE(e->evaluate(context));
    {
      NoAllocationGuard guard;
      EXPECT_TRUE(e->evaluate(context));
    }
    if (dynamic_cast<KtControlExpressionCollisionAvoidanceAb*>(e.get()) != nullptr) {
      EXPECT_EQ(e->value().matrix(), Kt::ReArray(13, 13));
      EXPECT_EQ(e->value().column(), std::vector<double>(13, 0.0));
    }
  }
}

// The weightings as quadratic forms: q̇ᵀ·W·q̇ of error reduction is q̇ᵀ·C·q̇ + (J·q̇)ᵀ·K·(J·q̇) with
// the set's Jacobian, and of error sensitivity the weighted square of the named link's velocity
// as the link's own motion gives it for rates q̇.
TEST(KtGradientExpressionDocumentsTest, WeightingsPenaliseTheMotionTheRatesCause) {
  TestRandom rng(413);
  const auto form = [](const Kt::ReArray& w, const std::vector<double>& q) {
    double sum = 0.0;
    for (std::size_t r = 0; r < q.size(); ++r)
      for (std::size_t c = 0; c < q.size(); ++c) sum += q[r] * w[r][c] * q[c];
    return sum;
  };
  for (int trial = 0; trial < TestRandom::cases(); ++trial) {
    FlangeControl arm(rng);
    const bool fixedBase = trial % 2 == 0;
    const std::size_t n = fixedBase ? 7 : 13;
    const std::vector<double> q = manipulator_test::randomJoints(rng, n, 1.0);
    KtControlContext context = contextFor(arm, fixedBase);
    KtControlExpressionErrorReduction reduction;
    const Kt::ReArray c = randomMatrix(rng, n, n), k = randomMatrix(rng, 6, 6);
    if (trial % 3 != 0) reduction.setConstantMatrix(c);
    if (trial % 3 != 1) reduction.setCovarianceMatrix(k);
    ASSERT_TRUE(reduction.prepare(context) && reduction.evaluate(context));
    const std::vector<double> motion = velocity_test::times(*context.jacobian, q);
    const double expected = (trial % 3 != 0 ? form(c, q) : 0.0) + (trial % 3 != 1 ? form(k, motion) : 0.0);
    EXPECT_NEAR(form(reduction.value().matrix(), q), expected, 1e-10 * (1 + std::fabs(expected)));

    if (!fixedBase) continue;
    const KtManipulatorLink& link =
        arm.stated.system().manipulator(0).link(static_cast<std::size_t>(rng.integer(0, 6)));
    const std::vector<double> weights = {rng.uniform(0, 2), 1, 2, rng.uniform(0, 2), 0.5, 3};
    KtControlExpressionErrorSensitivity sensitivity;
    sensitivity.setLinkIdentifier(link.identifier());
    sensitivity.setEndEffectorWeights(weights);
    ASSERT_TRUE(sensitivity.prepare(context) && sensitivity.evaluate(context));
    KtVelocityState rates;
    rates.setJointVelocities(q);
    arm.stated.setIndividualState(0, rates);
    KtGeneralMotion velocity;
    ASSERT_TRUE(link.primaryFrameVelocityInSystem(*arm.stated.activeState(0), velocity));
    double weighted = 0.0;
    for (std::size_t r = 0; r < 3; ++r)
      weighted += weights[r] * velocity.linear()[r] * velocity.linear()[r] +
                  weights[r + 3] * velocity.angular()[r] * velocity.angular()[r];
    EXPECT_NEAR(form(sensitivity.value().matrix(), q), weighted, 1e-10 * (1 + weighted));
  }
}

// What each class reports when it cannot be prepared or evaluated (a case with a context to
// evaluate in is prepared in the full context first).
TEST(KtGradientExpressionDocumentsTest, ReportsWhatItCannotEvaluate) {
  TestRandom rng(414);
  FlangeControl arm(rng);
  const KtControlContext full = contextFor(arm, true), baseColumns = contextFor(arm, false);
  KtControlContext none, stateless = full, noJacobian = full, linkless = full;
  stateless.state = nullptr;
  noJacobian.jacobian = nullptr;
  const KtIndividualManipulator bare;
  linkless.manipulator = &bare;
  struct Case {
    std::string document;
    const KtControlContext* prepareIn;
    const KtControlContext* evaluateIn;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"<ct:jointLimitAvoidance/>", &none, nullptr,
       "KtControlExpressionJointLimitAvoidance::prepare(): no manipulator.\n"},
      {"<ct:jointLimitAvoidance><ct:exponent>0</ct:exponent></ct:jointLimitAvoidance>", &full, nullptr,
       "KtControlExpressionJointLimitAvoidance::prepare(): exponent 0 is not positive.\n"},
      {"<ct:jointLimitAvoidance/>", &full, &stateless,
       "KtControlExpressionJointLimitAvoidance::evaluate(): no manipulator state.\n"},
      {"<ct:obstacleAvoidanceAb><ct:avoidanceDistance>0</ct:avoidanceDistance></ct:obstacleAvoidanceAb>",
       &full, nullptr,
       "KtControlExpressionObstacleAvoidanceAb::prepare(): exponent 3 and avoidance distance 0 must be "
       "positive.\n"},
      {"<ct:obstacleAvoidance/>", &full, &stateless,
       "KtControlExpressionObstacleAvoidance::evaluate(): no manipulator state.\n"},
      {"<ct:collisionAvoidanceAb><ct:exponent>-1</ct:exponent></ct:collisionAvoidanceAb>", &full, nullptr,
       "KtControlExpressionCollisionAvoidanceAb::prepare(): exponent -1 and avoidance distance 0.5 must be "
       "positive.\n"},
      {"<ct:singularityAvoidance><ct:inputWeights size=\"3\"><ct:group>1 2 3</ct:group></ct:inputWeights>"
       "</ct:singularityAvoidance>",
       &full, nullptr,
       "KtControlExpressionSingularityAvoidance::prepare(): 3 input weights for 7 columns.\n"},
      {"<ct:singularityAvoidance><ct:outputWeights size=\"1\"><ct:group>1</ct:group></ct:outputWeights>"
       "</ct:singularityAvoidance>",
       &full, nullptr,
       "KtControlExpressionSingularityAvoidance::prepare(): 1 output weights where 6 are needed.\n"},
      {"<ct:singularityAvoidance/>", &linkless, nullptr,
       "KtControlExpressionSingularityAvoidance::prepare(): the manipulator has no links.\n"},
      {"<ct:strengthOptimization><ct:strengthOptimizationOrder>0.5</ct:strengthOptimizationOrder>"
       "</ct:strengthOptimization>",
       &full, nullptr, "KtControlExpressionStrengthOptimization::prepare(): order 0.5 is below 1.\n"},
      {"<ct:strengthOptimization><ct:strengthOptimizationForces size=\"2\"><ct:group>1 2</ct:group>"
       "</ct:strengthOptimizationForces></ct:strengthOptimization>",
       &full, nullptr, "KtControlExpressionStrengthOptimization::prepare(): 2 forces where 6 are needed.\n"},
      {"<ct:errorReduction><ct:errorReductionConstantMatrix rows=\"1\" columns=\"1\">1"
       "</ct:errorReductionConstantMatrix></ct:errorReduction>",
       &full, nullptr,
       "KtControlExpressionErrorReduction::prepare(): the constant matrix is 1 x 1 where 7 x 7 is needed.\n"},
      {"<ct:errorReduction><ct:errorReductionCovarianceMatrix rows=\"1\" columns=\"2\">1 2"
       "</ct:errorReductionCovarianceMatrix></ct:errorReduction>",
       &full, nullptr,
       "KtControlExpressionErrorReduction::prepare(): the covariance matrix is 1 x 2 where 6 x 6 is "
       "needed.\n"},
      {"<ct:errorReduction/>", &full, &noJacobian,
       "KtControlExpressionErrorReduction::evaluate(): no Jacobian.\n"},
      {"<ct:errorSensitivity><ct:linkIdentifier>nowhere</ct:linkIdentifier></ct:errorSensitivity>", &full,
       nullptr, "KtControlExpressionErrorSensitivity::prepare(): no link is labelled \"nowhere\".\n"},
      {"<ct:errorSensitivity><ct:endEffectorWeights size=\"1\"><ct:group>1</ct:group></ct:endEffectorWeights>"
       "<ct:linkIdentifier>craigArmLink1</ct:linkIdentifier></ct:errorSensitivity>",
       &full, nullptr,
       "KtControlExpressionErrorSensitivity::prepare(): 1 end-effector weights where 6 are needed.\n"},
      // The fixed base's dynamics have no base columns.
      {"<ct:massMatrix/>", &baseColumns, nullptr,
       "KtControlExpressionMassMatrix::prepare(): the manipulator's dynamics have 7 columns, the description "
       "13.\n"},
      {"<ct:massMatrix/>", &none, nullptr,
       "KtControlExpressionMassMatrix::prepare(): no manipulator state.\n"},
      {"<ct:gravitationalTorqueGradient><ct:linkIdentifier>nowhere</ct:linkIdentifier>"
       "</ct:gravitationalTorqueGradient>",
       &full, nullptr,
       "KtControlExpressionGravitationalTorqueGradient::prepare(): no link labelled nowhere.\n"},
  };
  for (const Case& c : cases) {
    const std::unique_ptr<KtControlExpression> e = readExpression(c.document);
    PrintCapture capture;
    EXPECT_FALSE(e->prepare(*c.prepareIn) && c.evaluateIn != nullptr && e->evaluate(*c.evaluateIn))
        << c.expected;
    EXPECT_EQ(capture.text(), c.expected);
  }
}

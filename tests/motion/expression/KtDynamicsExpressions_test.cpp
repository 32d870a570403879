#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "manipulator/KtManipulatorDynamics.h"
#include "motion/expression/ExpressionTestSupport.h"
#include "motion/expression/KtControlExpressionGravityGradient.h"
#include "motion/expression/KtControlExpressionMassMatrix.h"
#include "support/AllocationCounter.h"
#include "xml/KtXmlFactory.h"
#include "xml/KtXmlTextDocuments.h"

using namespace expression_test;
using velocity_test::FlangeControl;

namespace {

std::vector<std::unique_ptr<KtControlExpression>> everyClass() {
  std::vector<std::unique_ptr<KtControlExpression>> all;
  all.push_back(std::make_unique<KtControlExpressionMassMatrix>());
  all.push_back(std::make_unique<KtControlExpressionMassMatrixAb>());
  all.push_back(std::make_unique<KtControlExpressionPotentialEnergyGradient>());
  auto load = std::make_unique<KtControlExpressionGravitationalTorqueGradient>();
  load->setLinkIdentifier("craigArmLink4");
  all.push_back(std::move(load));
  return all;
}

}  // namespace

// The load gradient is Dᵀτ, the derivative of half the squared gravity load of the links from
// the named link outward: checked against central differences of that cost, with a fixed and a
// free base. All four classes go through documents, and a warm evaluation allocates nothing.
TEST(KtDynamicsExpressionsTest, LoadGradientDescendsTheSquaredLoadAndEvaluationAllocatesNothing) {
  TestRandom rng(421);
  for (const bool fixedBase : {true, false}) {
    FlangeControl arm(rng);
    arm.stated.system().manipulator(0).setFixedBase(fixedBase);
    const KtControlContext context = contextFor(arm, fixedBase);
    for (const auto& expression : everyClass()) {
      SCOPED_TRACE(expression->elementToken().name());
      ktTestWrittenTwice(*expression, *KtXmlFactory::defaultFactory().create(expression->elementToken()));
      ASSERT_TRUE(expression->prepare(context));
      ASSERT_TRUE(expression->evaluate(context));
      NoAllocationGuard guard;
      EXPECT_TRUE(expression->evaluate(context));
    }

    KtControlExpressionGravitationalTorqueGradient load;
    load.setLinkIdentifier("craigArmLink4");
    ASSERT_TRUE(load.prepare(context) && load.evaluate(context));
    const KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
    const int link = manipulator.findLink("craigArmLink4")->linkIndex();
    KtDynamicsWorkspace workspace;
    KtManipulatorDynamics::prepare(manipulator, workspace);
    std::vector<double> torques;
    const std::vector<double> expected =
        costGradient(arm.stated, context.columnCount, [&](KtManipulatorActiveState& state) {
          KtManipulatorDynamics::gravityTorques(manipulator, state, workspace, torques, link);
          return 0.5 * std::inner_product(torques.begin(), torques.end(), torques.begin(), 0.0);
        });
    velocity_test::expectNear(load.value().column(), expected, 1e-6 * velocity_test::norm(expected) + 1e-9);
  }
}

#include "motion/expression/KtControlExpressionCollisionAvoidanceAb.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionCollisionAvoidanceAb::elementToken() const {
  static const KtToken token(ktNamespaceCt, "collisionAvoidanceAb");
  return token;
}

void KtControlExpressionCollisionAvoidanceAb::registerComponents() {
  KtControlExpressionProximityAvoidance::registerComponents();
  static const KtToken self(ktNamespaceCt, "checkSelfCollision"),
      environment(ktNamespaceCt, "checkEnvironmentCollision"),
      precision(ktNamespaceCt, "queryDistancePrecisionLevel"),
      interval(ktNamespaceCt, "useIntervalProcessing");
  registerComponent(self, m_checkSelfCollision);
  registerComponent(environment, m_checkEnvironmentCollision);
  registerComponent(precision, m_queryDistancePrecisionLevel);
  registerComponent(interval, m_useIntervalProcessing);
}

bool KtControlExpressionCollisionAvoidanceAb::prepare(const KtControlContext& context) {
  if (!parametersValid("KtControlExpressionCollisionAvoidanceAb::prepare()")) return false;
  m_value.shapeAsAb(context.columnCount);
  return true;
}

bool KtControlExpressionCollisionAvoidanceAb::evaluate(const KtControlContext&) { return true; }

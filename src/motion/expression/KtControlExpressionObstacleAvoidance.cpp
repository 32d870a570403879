#include "motion/expression/KtControlExpressionObstacleAvoidance.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionObstacleAvoidance::elementToken() const {
  static const KtToken token(ktNamespaceCt, "obstacleAvoidance");
  return token;
}

bool KtControlExpressionObstacleAvoidance::prepare(const KtControlContext& context) {
  if (!prepareFor(context, "KtControlExpressionObstacleAvoidance::prepare()")) return false;
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionObstacleAvoidance::evaluate(const KtControlContext& context) {
  return computeGradient(context, m_value.column(), "KtControlExpressionObstacleAvoidance::evaluate()");
}

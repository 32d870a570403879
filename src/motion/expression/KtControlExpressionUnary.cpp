#include "motion/expression/KtControlExpressionUnary.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionUnary::operandToken() const {
  static const KtToken token(ktNamespaceCt, "operand");
  return token;
}

void KtControlExpressionUnary::registerComponents() {
  KtControlExpression::registerComponents();
  registerComponent(operandToken(), m_operand);
}

bool KtControlExpressionUnary::prepare(const KtControlContext& context) {
  if (!m_operand.prepare(context)) return false;
  const KtExpressionValue& operand = m_operand.value();
  if (shapeFrom(operand)) return true;
  ktPrint(KtSeverity::Error, "%s::prepare(): the operand does not fit: %s %zu x %zu.\n", className(),
          operand.kindName(), operand.rows(), operand.columns());
  return false;
}

bool KtControlExpressionUnary::evaluate(const KtControlContext& context) {
  if (!m_operand.evaluate(context)) return false;
  compute(m_operand.value());
  return true;
}

#include "motion/expression/KtControlExpressionScalarConstant.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionScalarConstant::elementToken() const {
  static const KtToken token(ktNamespaceCt, "scalarConstant");
  return token;
}

void KtControlExpressionScalarConstant::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken value(ktNamespaceCt, "value");
  registerComponent(value, m_constant);
}

bool KtControlExpressionScalarConstant::prepare(const KtControlContext&) {
  m_value.shapeAsScalar();
  return true;
}

bool KtControlExpressionScalarConstant::evaluate(const KtControlContext&) {
  m_value.scalar() = m_constant;
  return true;
}

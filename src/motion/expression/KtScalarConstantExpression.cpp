#include "motion/expression/KtScalarConstantExpression.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtScalarConstantExpression::elementToken() const {
  static const KtToken token(ktNamespaceCt, "scalarConstant");
  return token;
}

void KtScalarConstantExpression::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken value(ktNamespaceCt, "value");
  registerComponent(value, m_constant);
}

bool KtScalarConstantExpression::prepare(const KtControlContext&) {
  m_value.shapeAsScalar();
  return true;
}

bool KtScalarConstantExpression::evaluate(const KtControlContext&) {
  m_value.scalar() = m_constant;
  return true;
}

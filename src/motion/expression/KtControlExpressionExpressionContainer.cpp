#include "motion/expression/KtControlExpressionExpressionContainer.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionExpressionContainer::elementToken() const {
  static const KtToken token(ktNamespaceCt, "expressionContainer");
  return token;
}

const KtToken& KtControlExpressionExpressionContainer::operandToken() const {
  static const KtToken token(ktNamespaceCt, "expression");
  return token;
}

bool KtControlExpressionExpressionContainer::shapeFrom(const KtExpressionValue& operand) {
  m_value.shapeLike(operand);
  return true;
}

void KtControlExpressionExpressionContainer::compute(const KtExpressionValue& operand) {
  m_value.forEachEntryWith(operand, [](KtReal& entry, KtReal x) { entry = x; });
}

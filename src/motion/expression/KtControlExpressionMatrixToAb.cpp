#include "motion/expression/KtControlExpressionMatrixToAb.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionMatrixToAb::elementToken() const {
  static const KtToken token(ktNamespaceCt, "controlExpressionMatrixToAb");
  return token;
}

bool KtControlExpressionMatrixToAb::shapeFrom(const KtExpressionValue& operand) {
  if (!operand.isMatrix() || operand.rows() != operand.columns()) return false;
  // b is zeroed here and never written.
  m_value.shapeAsAb(operand.rows());
  return true;
}

void KtControlExpressionMatrixToAb::compute(const KtExpressionValue& operand) {
  m_value.matrix().copyEntriesOf(operand.matrix());
}

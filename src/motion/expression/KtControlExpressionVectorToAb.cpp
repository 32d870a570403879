#include "motion/expression/KtControlExpressionVectorToAb.h"

#include <cstddef>
#include <vector>

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionVectorToAb::elementToken() const {
  static const KtToken token(ktNamespaceCt, "controlExpressionVectorToAb");
  return token;
}

bool KtControlExpressionVectorToAb::shapeFrom(const KtExpressionValue& operand) {
  if (!operand.isColumn()) return false;
  // A is zeroed here and never written.
  m_value.shapeAsAb(operand.rows());
  return true;
}

void KtControlExpressionVectorToAb::compute(const KtExpressionValue& operand) {
  const std::vector<KtReal>& gradient = operand.column();
  std::vector<KtReal>& b = m_value.column();
  for (std::size_t i = 0; i < gradient.size(); ++i) b[i] = -gradient[i];
}

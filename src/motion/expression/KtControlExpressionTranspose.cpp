#include "motion/expression/KtControlExpressionTranspose.h"

#include <algorithm>
#include <vector>

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionTranspose::elementToken() const {
  static const KtToken token(ktNamespaceCt, "transpose");
  return token;
}

bool KtControlExpressionTranspose::shapeFrom(const KtExpressionValue& operand) {
  if (operand.isScalar()) {
    m_value.shapeAsScalar();
  } else if (operand.isColumn() || operand.isMatrix()) {
    m_value.shapeAsMatrix(operand.columns(), operand.rows());
  } else {
    return false;
  }
  return true;
}

void KtControlExpressionTranspose::compute(const KtExpressionValue& operand) {
  if (operand.isScalar()) {
    m_value.scalar() = operand.scalar();
  } else if (operand.isColumn()) {
    const std::vector<KtReal>& column = operand.column();
    std::copy(column.begin(), column.end(), m_value.matrix()[0].begin());
  } else {
    const Kt::ReArray& matrix = operand.matrix();
    Kt::ReArray& transposed = m_value.matrix();
    for (std::size_t r = 0; r < matrix.rows(); ++r)
      for (std::size_t c = 0; c < matrix.columns(); ++c) transposed[c][r] = matrix[r][c];
  }
}

#include "motion/velocity/KtControlExpressionCoreAb.h"

#include <algorithm>

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionCoreAb::elementToken() const {
  static const KtToken token(ktNamespaceCt, "controlCoreAb");
  return token;
}

bool KtControlExpressionCoreAb::prepareCostOperands(const KtControlContext& context) {
  const std::size_t n = context.columnCount;
  using Kind = KtExpressionValue::Kind;
  return prepareOperand(m_matrix, context, "matrix", Kind::ab, n, n) &&
         prepareOperand(m_vector, context, "vector", Kind::ab, n, n) &&
         prepareOperand(m_scalar, context, "scalar", Kind::scalar, 1, 1);
}

// Adds the operand's A into W and its b into the gradient term (negated and scaled later).
bool KtControlExpressionCoreAb::addPair(KtControlExpressionContainer& operand,
                                        const KtControlContext& context) {
  if (!operand.hasExpression()) return true;
  if (!operand.evaluate(context)) return false;
  const KtExpressionValue& pair = operand.value();
  m_weighting += pair.matrix();
  for (std::size_t i = 0; i < m_gradient.size(); ++i) m_gradient[i] += pair.column()[i];
  return true;
}

bool KtControlExpressionCoreAb::evaluateCost(const KtControlContext& context) {
  const std::size_t n = context.columnCount;
  std::fill(m_gradient.begin(), m_gradient.end(), 0.0);
  m_costWeighting = nullptr;
  if (!m_matrix.hasExpression() && !m_vector.hasExpression()) return true;
  m_weighting.setToZeros(n, n);
  m_costWeighting = &m_weighting;
  if (!addPair(m_matrix, context) || !addPair(m_vector, context)) return false;
  KtReal alpha = 1.0;
  if (m_scalar.hasExpression()) {
    if (!m_scalar.evaluate(context)) return false;
    alpha = m_scalar.value().scalar();
  }
  for (KtReal& entry : m_gradient) entry *= -alpha;
  return true;
}

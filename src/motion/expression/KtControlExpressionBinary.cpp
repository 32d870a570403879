#include "motion/expression/KtControlExpressionBinary.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

void KtControlExpressionBinary::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken first(ktNamespaceCt, "firstOperand"), second(ktNamespaceCt, "secondOperand");
  registerComponent(first, m_firstOperand);
  registerComponent(second, m_secondOperand);
}

bool KtControlExpressionBinary::prepare(const KtControlContext& context) {
  // Both operands are prepared, so that one pass reports every problem of the tree.
  const bool firstPrepared = m_firstOperand.prepare(context);
  const bool secondPrepared = m_secondOperand.prepare(context);
  if (!firstPrepared || !secondPrepared) return false;
  const KtExpressionValue& first = m_firstOperand.value();
  const KtExpressionValue& second = m_secondOperand.value();
  if (shapeFrom(first, second)) return true;
  ktPrint(KtSeverity::Error, "%s::prepare(): the operands do not fit: %s %zu x %zu and %s %zu x %zu.\n",
          className(), first.kindName(), first.rows(), first.columns(), second.kindName(), second.rows(),
          second.columns());
  return false;
}

bool KtControlExpressionBinary::evaluate(const KtControlContext& context) {
  if (!m_firstOperand.evaluate(context) || !m_secondOperand.evaluate(context)) return false;
  compute(m_firstOperand.value(), m_secondOperand.value());
  return true;
}

bool KtControlExpressionBinary::spreadShape(const KtExpressionValue& first, const KtExpressionValue& second,
                                            Pairs pairs) {
  const bool firstIsPair = first.isAb();
  const bool secondIsPair = second.isAb();
  if (firstIsPair || secondIsPair) {
    const bool fits = (pairs == Pairs::partByPart && first.sameShape(second)) ||
                      (pairs == Pairs::scaledByScalar && (first.isScalar() || second.isScalar()));
    if (fits) m_value.shapeLike(firstIsPair ? first : second);
    return fits;
  }
  if (first.sameShape(second) || second.isScalar()) {
    m_value.shapeLike(first);
    return true;
  }
  if (first.isScalar()) {
    m_value.shapeLike(second);
    return true;
  }
  return false;
}

#include "motion/expression/KtControlExpressionMassMatrix.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionMassMatrix::elementToken() const {
  static const KtToken token(ktNamespaceCt, "massMatrix");
  return token;
}

bool KtControlExpressionMassMatrix::prepare(const KtControlContext& context) {
  if (!prepareDynamics(context, className())) return false;
  m_value.shapeAsMatrix(context.columnCount, context.columnCount);
  return true;
}

// The pair's A is the value's matrix, and its b stays zero.
bool KtControlExpressionMassMatrix::evaluate(const KtControlContext& context) {
  return KtManipulatorDynamics::massMatrix(*context.manipulator, *context.state, m_workspace,
                                           m_value.matrix());
}

const KtToken& KtControlExpressionMassMatrixAb::elementToken() const {
  static const KtToken token(ktNamespaceCt, "massMatrixAb");
  return token;
}

bool KtControlExpressionMassMatrixAb::prepare(const KtControlContext& context) {
  if (!prepareDynamics(context, className())) return false;
  m_value.shapeAsAb(context.columnCount);
  return true;
}

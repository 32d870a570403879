#include "motion/expression/KtControlExpressionErrorReduction.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

namespace {

// Whether `matrix` is empty or size x size; otherwise a message naming it.
bool emptyOrSquare(const Kt::ReArray& matrix, std::size_t size, const char* name) {
  if (matrix.rows() == 0 || (matrix.rows() == size && matrix.columns() == size)) return true;
  ktPrint(
      KtSeverity::Error,
      "KtControlExpressionErrorReduction::prepare(): the %s matrix is %zu x %zu where %zu x %zu is needed.\n",
      name, matrix.rows(), matrix.columns(), size, size);
  return false;
}

}  // namespace

const KtToken& KtControlExpressionErrorReduction::elementToken() const {
  static const KtToken token(ktNamespaceCt, "errorReduction");
  return token;
}

void KtControlExpressionErrorReduction::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken constant(ktNamespaceCt, "errorReductionConstantMatrix"),
      covariance(ktNamespaceCt, "errorReductionCovarianceMatrix");
  registerComponent(constant, m_constant);
  registerComponent(covariance, m_covariance);
}

void KtControlExpressionErrorReduction::setConstantMatrix(const Kt::ReArray& matrix) {
  m_constant = matrix;
  noteTreeChanged();
}

void KtControlExpressionErrorReduction::setCovarianceMatrix(const Kt::ReArray& matrix) {
  m_covariance = matrix;
  noteTreeChanged();
}

bool KtControlExpressionErrorReduction::prepare(const KtControlContext& context) {
  const std::size_t n = context.columnCount, m = context.rowCount;
  if (!emptyOrSquare(m_constant, n, "constant") || !emptyOrSquare(m_covariance, m, "covariance"))
    return false;
  m_weightedJacobian.setToZeros(m, n);
  m_value.shapeAsMatrix(n, n);
  return true;
}

bool KtControlExpressionErrorReduction::evaluate(const KtControlContext& context) {
  if (context.jacobian == nullptr) {
    ktPrint(KtSeverity::Error, "KtControlExpressionErrorReduction::evaluate(): no Jacobian.\n");
    return false;
  }
  Kt::ReArray& w = m_value.matrix();
  const std::size_t n = w.rows();
  if (m_covariance.rows() == 0) {
    w.setToZeros(n, n);
  } else if (!m_covariance.transform(*context.jacobian, m_weightedJacobian) ||
             !m_weightedJacobian.leftTransposeTransform(*context.jacobian, w)) {
    return false;
  }
  if (m_constant.rows() != 0) w += m_constant;
  return true;
}

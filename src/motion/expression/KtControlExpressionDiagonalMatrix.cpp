#include "motion/expression/KtControlExpressionDiagonalMatrix.h"

#include <algorithm>
#include <cstddef>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionDiagonalMatrix::elementToken() const {
  static const KtToken token(ktNamespaceCt, "diagonalMatrix");
  return token;
}

void KtControlExpressionDiagonalMatrix::registerComponents() {
  KtControlExpressionLiteral::registerComponents();
  static const KtToken rowSize(ktNamespaceCt, "rowSize"), columnSize(ktNamespaceCt, "columnSize"),
      diagonal(ktNamespaceCt, "diagonal");
  registerComponent(rowSize, m_rowSize);
  registerComponent(columnSize, m_columnSize);
  registerComponent(diagonal, m_diagonal);
}

void KtControlExpressionDiagonalMatrix::setRowSize(KtU32 size) {
  m_rowSize = size;
  noteTreeChanged();
}

void KtControlExpressionDiagonalMatrix::setColumnSize(KtU32 size) {
  m_columnSize = size;
  noteTreeChanged();
}

void KtControlExpressionDiagonalMatrix::setDiagonal(const std::vector<KtReal>& diagonal) {
  m_diagonal = diagonal;
  noteTreeChanged();
}

bool KtControlExpressionDiagonalMatrix::prepare(const KtControlContext& context) {
  const std::size_t rows = sizeFor(m_rowSize, context);
  const std::size_t columns = sizeFor(m_columnSize, context);
  if (m_diagonal.size() > std::min(rows, columns)) {
    ktPrint(
        KtSeverity::Error,
        "KtControlExpressionDiagonalMatrix::prepare(): a diagonal of %zu entries does not fit a %zu x %zu "
        "matrix.\n",
        m_diagonal.size(), rows, columns);
    return false;
  }
  m_value.shapeAsMatrix(rows, columns);
  return true;
}

bool KtControlExpressionDiagonalMatrix::evaluate(const KtControlContext&) {
  // Bounded by the prepared shape as well, in case the diagonal was set since.
  const std::vector<KtReal>& diagonal = m_diagonal;
  Kt::ReArray& matrix = m_value.matrix();
  const std::size_t count = std::min({diagonal.size(), matrix.rows(), matrix.columns()});
  for (std::size_t i = 0; i < count; ++i) matrix[i][i] = diagonal[i];
  return true;
}

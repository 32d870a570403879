#include "motion/expression/KtControlExpressionSingleElementMatrix.h"

#include <cstddef>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionSingleElementMatrix::elementToken() const {
  static const KtToken token(ktNamespaceCt, "singleElementMatrix");
  return token;
}

void KtControlExpressionSingleElementMatrix::registerComponents() {
  KtControlExpressionLiteral::registerComponents();
  static const KtToken elementValue(ktNamespaceCt, "elementValue"), rowSize(ktNamespaceCt, "rowSize"),
      columnSize(ktNamespaceCt, "columnSize"), rowPosition(ktNamespaceCt, "rowPosition"),
      columnPosition(ktNamespaceCt, "columnPosition");
  registerComponent(elementValue, m_elementValue);
  registerComponent(rowSize, m_rowSize);
  registerComponent(columnSize, m_columnSize);
  registerComponent(rowPosition, m_rowPosition);
  registerComponent(columnPosition, m_columnPosition);
}

void KtControlExpressionSingleElementMatrix::setRowSize(KtU32 size) {
  m_rowSize = size;
  noteTreeChanged();
}

void KtControlExpressionSingleElementMatrix::setColumnSize(KtU32 size) {
  m_columnSize = size;
  noteTreeChanged();
}

void KtControlExpressionSingleElementMatrix::setRowPosition(KtU32 position) {
  m_rowPosition = position;
  noteTreeChanged();
}

void KtControlExpressionSingleElementMatrix::setColumnPosition(KtU32 position) {
  m_columnPosition = position;
  noteTreeChanged();
}

bool KtControlExpressionSingleElementMatrix::prepare(const KtControlContext& context) {
  const std::size_t rows = sizeFor(m_rowSize, context);
  const std::size_t columns = sizeFor(m_columnSize, context);
  if (m_rowPosition >= rows || m_columnPosition >= columns) {
    ktPrint(
        KtSeverity::Error,
        "KtControlExpressionSingleElementMatrix::prepare(): the position (%u, %u) is outside the %zu x %zu "
        "matrix.\n",
        m_rowPosition.value(), m_columnPosition.value(), rows, columns);
    return false;
  }
  m_value.shapeAsMatrix(rows, columns);
  m_preparedRow = m_rowPosition;
  m_preparedColumn = m_columnPosition;
  return true;
}

bool KtControlExpressionSingleElementMatrix::evaluate(const KtControlContext&) {
  m_value.matrix()[m_preparedRow][m_preparedColumn] = m_elementValue;
  return true;
}

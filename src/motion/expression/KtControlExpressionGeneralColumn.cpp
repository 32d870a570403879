#include "motion/expression/KtControlExpressionGeneralColumn.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionGeneralColumn::elementToken() const {
  static const KtToken token(ktNamespaceCt, "generalColumn");
  return token;
}

void KtControlExpressionGeneralColumn::registerComponents() {
  KtControlExpressionLiteral::registerComponents();
  static const KtToken column(ktNamespaceCt, "column");
  registerComponent(column, m_column);
}

void KtControlExpressionGeneralColumn::setColumn(const std::vector<KtReal>& column) {
  m_column = column;
  noteTreeChanged();
}

bool KtControlExpressionGeneralColumn::prepare(const KtControlContext&) {
  m_value.shapeAsColumn(m_column.size());
  return true;
}

// Assigning a column of the prepared size reuses the storage.
bool KtControlExpressionGeneralColumn::evaluate(const KtControlContext&) {
  m_value.column() = m_column.value();
  return true;
}

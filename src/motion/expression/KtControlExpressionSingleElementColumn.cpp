#include "motion/expression/KtControlExpressionSingleElementColumn.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionSingleElementColumn::elementToken() const {
  static const KtToken token(ktNamespaceCt, "singleElementColumn");
  return token;
}

void KtControlExpressionSingleElementColumn::registerComponents() {
  KtControlExpressionLiteral::registerComponents();
  static const KtToken elementValue(ktNamespaceCt, "elementValue"), size(ktNamespaceCt, "size"),
      position(ktNamespaceCt, "position");
  registerComponent(elementValue, m_elementValue);
  registerComponent(size, m_size);
  registerComponent(position, m_position);
}

void KtControlExpressionSingleElementColumn::setSize(KtU32 size) {
  m_size = size;
  noteTreeChanged();
}

void KtControlExpressionSingleElementColumn::setPosition(KtU32 position) {
  m_position = position;
  noteTreeChanged();
}

bool KtControlExpressionSingleElementColumn::prepare(const KtControlContext& context) {
  const std::size_t size = sizeFor(m_size, context);
  if (m_position >= size) {
    ktPrint(
        KtSeverity::Error,
        "KtControlExpressionSingleElementColumn::prepare(): the position %u is outside the column of %zu.\n",
        m_position.value(), size);
    return false;
  }
  m_value.shapeAsColumn(size);
  m_preparedPosition = m_position;
  return true;
}

bool KtControlExpressionSingleElementColumn::evaluate(const KtControlContext&) {
  m_value.column()[m_preparedPosition] = m_elementValue;
  return true;
}

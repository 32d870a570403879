#pragma once

#include <cstddef>

#include "motion/expression/KtControlExpressionLiteral.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// A rowSize x columnSize matrix (0 for the column count) that is zero except for elementValue
// (default 1) at (rowPosition, columnPosition), counted from 0. A position outside the matrix
// prints
// "KtControlExpressionSingleElementMatrix::prepare(): the position (<r>, <c>) is outside the <rows> x
// <columns> matrix.\n".
class KtControlExpressionSingleElementMatrix
    : public KtXmlCloneable<KtControlExpressionSingleElementMatrix, KtControlExpressionLiteral> {
 public:
  const KtToken& elementToken() const override;
  KtReal elementValue() const { return m_elementValue; }
  KtU32 rowSize() const { return m_rowSize; }
  KtU32 columnSize() const { return m_columnSize; }
  KtU32 rowPosition() const { return m_rowPosition; }
  KtU32 columnPosition() const { return m_columnPosition; }
  void setElementValue(KtReal value) { m_elementValue = value; }
  void setRowSize(KtU32 size);
  void setColumnSize(KtU32 size);
  void setRowPosition(KtU32 position);
  void setColumnPosition(KtU32 position);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_elementValue{1.0};
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_rowSize;
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_columnSize;
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_rowPosition;
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_columnPosition;
  // The position checked by prepare(), which evaluation writes to even if it was set since.
  std::size_t m_preparedRow = 0;
  std::size_t m_preparedColumn = 0;
};

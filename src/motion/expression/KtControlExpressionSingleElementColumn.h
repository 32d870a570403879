#pragma once

#include <cstddef>

#include "motion/expression/KtControlExpressionLiteral.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// A column of `size` entries (0 for the column count) that is zero except for elementValue
// (default 1) at `position`, counted from 0. A position outside the column prints
// "KtControlExpressionSingleElementColumn::prepare(): the position <p> is outside the column of <n>.\n".
class KtControlExpressionSingleElementColumn
    : public KtXmlCloneable<KtControlExpressionSingleElementColumn, KtControlExpressionLiteral> {
 public:
  const KtToken& elementToken() const override;
  KtReal elementValue() const { return m_elementValue; }
  KtU32 size() const { return m_size; }
  KtU32 position() const { return m_position; }
  void setElementValue(KtReal value) { m_elementValue = value; }
  void setSize(KtU32 size);
  void setPosition(KtU32 position);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_elementValue{1.0};
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_size;
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_position;
  // The position checked by prepare(), which evaluation writes to even if it was set since.
  std::size_t m_preparedPosition = 0;
};

#pragma once

#include <vector>

#include "motion/expression/KtControlExpressionLiteral.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVectorType.h"

// A column given entry by entry (element generalColumn, component column); its size is the
// number of entries written.
class KtControlExpressionGeneralColumn
    : public KtXmlCloneable<KtControlExpressionGeneralColumn, KtControlExpressionLiteral> {
 public:
  KtControlExpressionGeneralColumn() = default;
  explicit KtControlExpressionGeneralColumn(const std::vector<KtReal>& column) { m_column = column; }

  const KtToken& elementToken() const override;
  const std::vector<KtReal>& column() const { return m_column; }
  void setColumn(const std::vector<KtReal>& column);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlVectorType<KtReal>> m_column;
};

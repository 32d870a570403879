#pragma once

#include <vector>

#include "motion/expression/KtControlExpressionLiteral.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVectorType.h"

// A rowSize x columnSize matrix (0 for the column count) whose leading diagonal entries are
// `diagonal`; entries past the diagonal's length are zero. A diagonal longer than the shorter
// side prints
// "KtControlExpressionDiagonalMatrix::prepare(): a diagonal of <n> entries does not fit a <r> x <c>
// matrix.\n".
class KtControlExpressionDiagonalMatrix
    : public KtXmlCloneable<KtControlExpressionDiagonalMatrix, KtControlExpressionLiteral> {
 public:
  const KtToken& elementToken() const override;
  KtU32 rowSize() const { return m_rowSize; }
  KtU32 columnSize() const { return m_columnSize; }
  const std::vector<KtReal>& diagonal() const { return m_diagonal; }
  void setRowSize(KtU32 size);
  void setColumnSize(KtU32 size);
  void setDiagonal(const std::vector<KtReal>& diagonal);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_rowSize;
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_columnSize;
  KtXmlDefaulted<KtXmlVectorType<KtReal>> m_diagonal;
};

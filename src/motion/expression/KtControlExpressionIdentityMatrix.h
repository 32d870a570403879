#pragma once

#include "motion/expression/KtControlExpressionLiteral.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// The size x size identity matrix (element identityMatrix, component size; 0 for the column
// count).
class KtControlExpressionIdentityMatrix
    : public KtXmlCloneable<KtControlExpressionIdentityMatrix, KtControlExpressionLiteral> {
 public:
  const KtToken& elementToken() const override;
  KtU32 size() const { return m_size; }
  void setSize(KtU32 size);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext&) override { return true; }

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_size;
};

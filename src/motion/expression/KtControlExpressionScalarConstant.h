#pragma once

#include "motion/expression/KtControlExpression.h"
#include "xml/KtXmlBasicType.h"

// A fixed scalar (element scalarConstant, component value, default 0): the usual gradient
// scale α of a control core.
class KtControlExpressionScalarConstant
    : public KtXmlCloneable<KtControlExpressionScalarConstant, KtControlExpression> {
 public:
  KtControlExpressionScalarConstant() = default;
  explicit KtControlExpressionScalarConstant(KtReal value) { m_constant = value; }

  const KtToken& elementToken() const override;
  KtReal constant() const { return m_constant; }
  void setConstant(KtReal value) { m_constant = value; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlBasicType<KtReal> m_constant;
};

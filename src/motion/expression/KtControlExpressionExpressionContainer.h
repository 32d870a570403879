#pragma once

#include "motion/expression/KtControlExpressionUnary.h"

// A node that passes on the value of the expression it holds (component `expression`): a
// place to group a subtree under a name of its own in a document.
class KtControlExpressionExpressionContainer
    : public KtXmlCloneable<KtControlExpressionExpressionContainer, KtControlExpressionUnary> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const char* className() const override { return "KtControlExpressionExpressionContainer"; }
  const KtToken& operandToken() const override;
  bool shapeFrom(const KtExpressionValue& operand) override;
  void compute(const KtExpressionValue& operand) override;
};

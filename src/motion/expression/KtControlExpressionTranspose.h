#pragma once

#include "motion/expression/KtControlExpressionUnary.h"

// The transpose of the operand: a column of n becomes a 1 x n matrix, an r x c matrix its
// c x r transpose, and a scalar stays itself; a pair (A, b) does not fit.
class KtControlExpressionTranspose
    : public KtXmlCloneable<KtControlExpressionTranspose, KtControlExpressionUnary> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const char* className() const override { return "KtControlExpressionTranspose"; }
  bool shapeFrom(const KtExpressionValue& operand) override;
  void compute(const KtExpressionValue& operand) override;
};

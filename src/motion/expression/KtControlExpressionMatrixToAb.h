#pragma once

#include "motion/expression/KtControlExpressionUnary.h"

// A square weighting matrix W as the pair (W, 0), the cost ½·q̇ᵀ·W·q̇; any other operand
// does not fit.
class KtControlExpressionMatrixToAb
    : public KtXmlCloneable<KtControlExpressionMatrixToAb, KtControlExpressionUnary> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const char* className() const override { return "KtControlExpressionMatrixToAb"; }
  bool shapeFrom(const KtExpressionValue& operand) override;
  void compute(const KtExpressionValue& operand) override;
};

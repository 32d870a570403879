#pragma once

#include "motion/expression/KtControlExpressionUnary.h"

// A gradient column F as the pair (0, −F): since (A, b) stands for ½·q̇ᵀ·A·q̇ − bᵀ·q̇, this
// is the cost Fᵀ·q̇. Any other operand does not fit.
class KtControlExpressionVectorToAb
    : public KtXmlCloneable<KtControlExpressionVectorToAb, KtControlExpressionUnary> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const char* className() const override { return "KtControlExpressionVectorToAb"; }
  bool shapeFrom(const KtExpressionValue& operand) override;
  void compute(const KtExpressionValue& operand) override;
};

#pragma once

#include "motion/expression/KtControlExpressionElementWise.h"

// The sum of the operands: entry by entry for operands of the same shape, a scalar added to
// every entry of the other operand; two pairs (A, b) of the same size add part by part, so
// that their costs add.
class KtControlExpressionPlus
    : public KtXmlCloneable<KtControlExpressionPlus,
                            KtControlExpressionElementWiseBinary<KtControlExpressionPlus>> {
 public:
  static constexpr Pairs pairs = Pairs::partByPart;
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return x + y; }

 protected:
  const char* className() const override { return "KtControlExpressionPlus"; }
};

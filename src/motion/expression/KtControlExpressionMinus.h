#pragma once

#include "motion/expression/KtControlExpressionElementWise.h"

// The first operand less the second: entry by entry for operands of the same shape, a scalar
// spread over every entry of the other operand; two pairs (A, b) of the same size subtract
// part by part.
class KtControlExpressionMinus
    : public KtXmlCloneable<KtControlExpressionMinus,
                            KtControlExpressionElementWiseBinary<KtControlExpressionMinus>> {
 public:
  static constexpr Pairs pairs = Pairs::partByPart;
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return x - y; }

 protected:
  const char* className() const override { return "KtControlExpressionMinus"; }
};

#pragma once

#include <cmath>

#include "motion/expression/KtControlExpressionElementWise.h"

// The second-th root of every entry of the first operand, x^(1/y): operands of the same shape
// entry by entry, a scalar spread over the other's entries; no pairs.
class KtControlExpressionElementRoot
    : public KtXmlCloneable<KtControlExpressionElementRoot,
                            KtControlExpressionElementWiseBinary<KtControlExpressionElementRoot>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return std::pow(x, 1.0 / y); }

 protected:
  const char* className() const override { return "KtControlExpressionElementRoot"; }
};

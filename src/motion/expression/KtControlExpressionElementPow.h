#pragma once

#include <cmath>

#include "motion/expression/KtControlExpressionElementWise.h"

// Every entry of the first operand raised to the power of the second's: operands of the same
// shape entry by entry, a scalar spread over the other's entries; no pairs.
class KtControlExpressionElementPow
    : public KtXmlCloneable<KtControlExpressionElementPow,
                            KtControlExpressionElementWiseBinary<KtControlExpressionElementPow>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return std::pow(x, y); }

 protected:
  const char* className() const override { return "KtControlExpressionElementPow"; }
};

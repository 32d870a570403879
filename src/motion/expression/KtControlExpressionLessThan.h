#pragma once

#include "motion/expression/KtControlExpressionElementWise.h"

// 1.0 where the first operand's entry is less than the second's, else 0.0: operands of the
// same shape entry by entry, a scalar spread over the other's entries; no pairs.
class KtControlExpressionLessThan
    : public KtXmlCloneable<KtControlExpressionLessThan,
                            KtControlExpressionElementWiseBinary<KtControlExpressionLessThan>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return x < y ? 1.0 : 0.0; }

 protected:
  const char* className() const override { return "KtControlExpressionLessThan"; }
};

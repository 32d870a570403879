#pragma once

#include "motion/expression/KtControlExpressionElementWise.h"

// The negated operand, entry by entry; a pair (A, b) becomes (−A, −b), the negated cost.
class KtControlExpressionNegative
    : public KtXmlCloneable<KtControlExpressionNegative,
                            KtControlExpressionElementWiseUnary<KtControlExpressionNegative>> {
 public:
  static constexpr bool takesPairs = true;
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x) { return -x; }

 protected:
  const char* className() const override { return "KtControlExpressionNegative"; }
};

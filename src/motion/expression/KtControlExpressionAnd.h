#pragma once

#include "motion/expression/KtControlExpressionElementWise.h"

// 1.0 where the entries of both operands are non-zero, else 0.0: operands of the same shape
// entry by entry, a scalar spread over the other's entries; no pairs.
class KtControlExpressionAnd
    : public KtXmlCloneable<KtControlExpressionAnd,
                            KtControlExpressionElementWiseBinary<KtControlExpressionAnd>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return x != 0.0 && y != 0.0 ? 1.0 : 0.0; }

 protected:
  const char* className() const override { return "KtControlExpressionAnd"; }
};

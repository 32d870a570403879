#pragma once

#include "motion/expression/KtControlExpressionElementWise.h"

// 1 / x for every entry x of a scalar, column or matrix (a zero entry gives an infinity).
class KtControlExpressionElementInverse
    : public KtXmlCloneable<KtControlExpressionElementInverse,
                            KtControlExpressionElementWiseUnary<KtControlExpressionElementInverse>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x) { return 1.0 / x; }

 protected:
  const char* className() const override { return "KtControlExpressionElementInverse"; }
};

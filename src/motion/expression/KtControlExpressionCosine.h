#pragma once

#include <cmath>

#include "motion/expression/KtControlExpressionElementWise.h"

// The cosine of every entry of a scalar, column or matrix (radians).
class KtControlExpressionCosine
    : public KtXmlCloneable<KtControlExpressionCosine,
                            KtControlExpressionElementWiseUnary<KtControlExpressionCosine>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x) { return std::cos(x); }

 protected:
  const char* className() const override { return "KtControlExpressionCosine"; }
};

#pragma once

#include <cmath>

#include "motion/expression/KtControlExpressionElementWise.h"

// The sine of every entry of a scalar, column or matrix (radians).
class KtControlExpressionSine
    : public KtXmlCloneable<KtControlExpressionSine,
                            KtControlExpressionElementWiseUnary<KtControlExpressionSine>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x) { return std::sin(x); }

 protected:
  const char* className() const override { return "KtControlExpressionSine"; }
};

#pragma once

#include <cmath>

#include "motion/expression/KtControlExpressionElementWise.h"

// The natural logarithm of every entry of a scalar, column or matrix.
class KtControlExpressionElementLog
    : public KtXmlCloneable<KtControlExpressionElementLog,
                            KtControlExpressionElementWiseUnary<KtControlExpressionElementLog>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x) { return std::log(x); }

 protected:
  const char* className() const override { return "KtControlExpressionElementLog"; }
};

#pragma once

#include <cmath>

#include "motion/expression/KtControlExpressionElementWise.h"

// The logarithm of every entry of the first operand to the base given by the second,
// log x / log y: operands of the same shape entry by entry, a scalar spread over the other's
// entries; no pairs.
class KtControlExpressionElementLogN
    : public KtXmlCloneable<KtControlExpressionElementLogN,
                            KtControlExpressionElementWiseBinary<KtControlExpressionElementLogN>> {
 public:
  const KtToken& elementToken() const override;
  static KtReal apply(KtReal x, KtReal y) { return std::log(x) / std::log(y); }

 protected:
  const char* className() const override { return "KtControlExpressionElementLogN"; }
};

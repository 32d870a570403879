#pragma once

#include "motion/expression/KtControlExpressionBinary.h"
#include "motion/expression/KtControlExpressionUnary.h"

// The element-wise operators: a class derives from one of these with itself as the argument
// and supplies `static KtReal apply(KtReal)` (one operand) or `apply(KtReal, KtReal)` (two),
// which is applied to every entry.
//
// One operand: the result has the operand's shape; a pair (A, b) is taken only by a class that
// declares `static constexpr bool takesPairs = true` (then A and b are both mapped).
template <typename Derived>
class KtControlExpressionElementWiseUnary : public KtControlExpressionUnary {
 public:
  static constexpr bool takesPairs = false;

 protected:
  bool shapeFrom(const KtExpressionValue& operand) override {
    if (operand.isAb() && !Derived::takesPairs) return false;
    m_value.shapeLike(operand);
    return true;
  }
  void compute(const KtExpressionValue& operand) override {
    m_value.forEachEntryWith(operand, [](KtReal& entry, KtReal x) { entry = Derived::apply(x); });
  }
};

// Two operands under the element-wise rule of KtControlExpressionBinary; pairs as the class
// declares in `static constexpr Pairs pairs` (refused unless it says otherwise).
template <typename Derived>
class KtControlExpressionElementWiseBinary : public KtControlExpressionBinary {
 public:
  static constexpr Pairs pairs = Pairs::refused;

 protected:
  bool shapeFrom(const KtExpressionValue& first, const KtExpressionValue& second) override {
    return spreadShape(first, second, Derived::pairs);
  }
  void compute(const KtExpressionValue& first, const KtExpressionValue& second) override {
    combine(first, second, [](KtReal x, KtReal y) { return Derived::apply(x, y); });
  }
};

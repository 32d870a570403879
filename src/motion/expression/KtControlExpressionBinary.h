#pragma once

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"

// A node with two operands, held in the containers `firstOperand` and `secondOperand`.
// Preparing prepares both, then lets the class fix the result's shape from theirs; operands it
// cannot combine print
// "<class>::prepare(): the operands do not fit: <kind> <rows> x <columns> and <kind> <rows> x <columns>.\n".
//
// The element-wise rule that most operators share (spreadShape, combine): operands of the same
// shape combine entry by entry, and a scalar operand is spread over every entry of the other.
// Pairs (A, b) take part only where the operator says how.
class KtControlExpressionBinary : public KtControlExpression {
 public:
  const KtControlExpressionContainer& firstOperand() const { return m_firstOperand; }
  KtControlExpressionContainer& firstOperand() { return m_firstOperand; }
  const KtControlExpressionContainer& secondOperand() const { return m_secondOperand; }
  KtControlExpressionContainer& secondOperand() { return m_secondOperand; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

  // How an element-wise operator treats pairs: not at all; part by part with another pair of
  // the same size (sums); or scaled by a scalar (products).
  enum class Pairs { refused, partByPart, scaledByScalar };

 protected:
  void registerComponents() override;
  // The class name that messages start with.
  virtual const char* className() const = 0;
  // Shapes the result for operands of these shapes; false when they do not fit.
  virtual bool shapeFrom(const KtExpressionValue& first, const KtExpressionValue& second) = 0;
  // Overwrites the result from the operands' values (of the shapes it was prepared for).
  virtual void compute(const KtExpressionValue& first, const KtExpressionValue& second) = 0;

  // The element-wise rule: shapes the result and answers whether the operands fit.
  bool spreadShape(const KtExpressionValue& first, const KtExpressionValue& second, Pairs pairs);
  // result entry = operation(first entry, second entry) under the element-wise rule, for
  // operands that spreadShape accepted.
  template <typename Operation>
  void combine(const KtExpressionValue& first, const KtExpressionValue& second, Operation operation) {
    if (first.isScalar() && !second.isScalar()) {
      const KtReal x = first.scalar();
      m_value.forEachEntryWith(second, [&](KtReal& entry, KtReal y) { entry = operation(x, y); });
      return;
    }
    m_value.forEachEntryWith(first, [](KtReal& entry, KtReal x) { entry = x; });
    if (second.isScalar()) {
      const KtReal y = second.scalar();
      m_value.forEachEntry([&](KtReal& entry) { entry = operation(entry, y); });
    } else {
      m_value.forEachEntryWith(second, [&](KtReal& entry, KtReal y) { entry = operation(entry, y); });
    }
  }

 private:
  KtControlExpressionContainer m_firstOperand;
  KtControlExpressionContainer m_secondOperand;
};

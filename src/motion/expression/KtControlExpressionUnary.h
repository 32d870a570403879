#pragma once

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"

// A node with one operand, held in a container (component `operand` unless the class names it
// otherwise). Preparing prepares the operand, then lets the class fix the result's shape from
// the operand's; an operand it cannot take prints
// "<class>::prepare(): the operand does not fit: <kind> <rows> x <columns>.\n".
class KtControlExpressionUnary : public KtControlExpression {
 public:
  const KtControlExpressionContainer& operand() const { return m_operand; }
  KtControlExpressionContainer& operand() { return m_operand; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;
  // The class name that messages start with.
  virtual const char* className() const = 0;
  // The element name of the operand's container.
  virtual const KtToken& operandToken() const;
  // Shapes the result for an operand of this shape; false when the operand does not fit.
  virtual bool shapeFrom(const KtExpressionValue& operand) = 0;
  // Overwrites the result from the operand's value (of the shape it was prepared for).
  virtual void compute(const KtExpressionValue& operand) = 0;

 private:
  KtControlExpressionContainer m_operand;
};

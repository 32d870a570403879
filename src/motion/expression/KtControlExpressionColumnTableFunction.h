#pragma once

#include "motion/expression/KtControlExpressionUnary.h"
#include "xml/KtReArray.h"

// A piecewise-linear function applied to every entry of its input (component `inputValues`,
// usually a column; a scalar or matrix is mapped alike, a pair (A, b) does not fit).
//
// The function is the table `tableFunction`, a 2 x k matrix (k ≥ 1): breakpoints x in row 0,
// strictly increasing, and the values y at them in row 1. Between breakpoints the value is
// interpolated linearly; below the first and above the last it stays at the end value.
// Preparing checks the table and prints
// "KtControlExpressionColumnTableFunction::prepare(): the table is <r> x <c>; it needs 2 rows and at least
// one column.\n" or "KtControlExpressionColumnTableFunction::prepare(): the breakpoints do not increase at
// column <c>.\n".
class KtControlExpressionColumnTableFunction
    : public KtXmlCloneable<KtControlExpressionColumnTableFunction, KtControlExpressionUnary> {
 public:
  const KtToken& elementToken() const override;

  const Kt::ReArray& tableFunction() const { return m_tableFunction; }
  void setTableFunction(const Kt::ReArray& table);

  bool prepare(const KtControlContext& context) override;

 protected:
  void registerComponents() override;
  const char* className() const override { return "KtControlExpressionColumnTableFunction"; }
  const KtToken& operandToken() const override;
  bool shapeFrom(const KtExpressionValue& operand) override;
  void compute(const KtExpressionValue& operand) override;

 private:
  bool tableValid() const;
  // The function's value at x; NaN stays NaN. Only for a table that tableValid() accepted.
  KtReal valueAt(KtReal x) const;

  KtReArray m_tableFunction;
};

#pragma once

#include "motion/expression/KtControlExpressionBinary.h"

// The product of the operands:
// - a matrix times a matrix or a column is the matrix product (the first's column count must
//   equal the second's row count): r x k times k x c gives r x c, r x k times a column of k a
//   column of r;
// - otherwise the element-wise rule: a scalar scales every entry of the other operand (a pair
//   (A, b) included, which scales its cost), and two scalars or two columns of the same size
//   multiply entry by entry. A column times a matrix does not fit, nor does a pair with anything
//   but a scalar.
class KtControlExpressionTimes : public KtXmlCloneable<KtControlExpressionTimes, KtControlExpressionBinary> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const char* className() const override { return "KtControlExpressionTimes"; }
  bool shapeFrom(const KtExpressionValue& first, const KtExpressionValue& second) override;
  void compute(const KtExpressionValue& first, const KtExpressionValue& second) override;

 private:
  enum class Product { entryWise, matrixByMatrix, matrixByColumn };
  Product m_product = Product::entryWise;
};

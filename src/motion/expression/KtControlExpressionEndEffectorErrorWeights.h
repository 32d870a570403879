#pragma once

#include "motion/expression/KtControlExpression.h"

// A column with one entry per row of the context's end-effector set: every row of an end
// effector carries that end effector's errorWeight(), so that the column weights the stacked
// end-effector error row by row. Preparing prints
// "KtControlExpressionEndEffectorErrorWeights::prepare(): no end-effector set.\n" or, when the
// set's rows are not the context's row count,
// "KtControlExpressionEndEffectorErrorWeights::prepare(): the end-effector set has <n> rows, not <m>.\n";
// evaluation checks the same and reports under evaluate().
class KtControlExpressionEndEffectorErrorWeights
    : public KtXmlCloneable<KtControlExpressionEndEffectorErrorWeights, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 private:
  bool setFits(const KtControlContext& context, const char* operation) const;
};

#pragma once

#include "motion/expression/KtControlExpressionObstacleAvoidanceAb.h"

// The obstacle-avoidance gradient as a column (element obstacleAvoidance): the F of
// KtControlExpressionObstacleAvoidanceAb, with the same components and sign, for a core's
// `vector`.
class KtControlExpressionObstacleAvoidance
    : public KtXmlCloneable<KtControlExpressionObstacleAvoidance, KtControlExpressionObstacleAvoidanceAb> {
 public:
  const KtToken& elementToken() const override;
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;
};

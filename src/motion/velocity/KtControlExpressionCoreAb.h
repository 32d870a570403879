#pragma once

#include <vector>

#include "motion/velocity/KtControlExpressionCore.h"

// The control core for terms of the (A, b) family, each standing for ½·q̇ᵀ·A·q̇ − bᵀ·q̇. The
// `matrix` and `vector` containers hold such pairs (say a mass matrix as (M, 0) and an obstacle
// barrier as (0, −F)); their sum (A, b) gives the cost ½·q̇ᵀ·A·q̇ − α·bᵀ·q̇, that is W = A and
// α·F = −α·b. α comes from `scalar` and is 1 when that container is empty; with both pair
// containers empty W is the identity and there is no gradient. Everything else, the exact hard
// rows and the soft rows, is as in the plain core.
class KtControlExpressionCoreAb : public KtXmlCloneable<KtControlExpressionCoreAb, KtControlExpressionCore> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const char* className() const override { return "KtControlExpressionCoreAb"; }
  bool prepareCostOperands(const KtControlContext& context) override;
  bool evaluateCost(const KtControlContext& context) override;

 private:
  bool addPair(KtControlExpressionContainer& operand, const KtControlContext& context);
};

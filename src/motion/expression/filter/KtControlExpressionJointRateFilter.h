#pragma once

#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVectorType.h"

// Keeps joint rates within a speed limit without leaving the commanded path (element
// jointRateFilter). The rates of `unfilteredRates` are all multiplied by one factor s in
// (0, 1], the largest for which max |q̇ᵢ| / wᵢ <= threshold; rates that already keep the bound
// pass unchanged. Because every column is scaled alike, the rates keep their direction, so the
// end effector moves along the same path, only more slowly, instead of the distorted motion
// that clipping single joints would give.
//
// `weights` (one per joint-space column, all positive; empty means ones) give each column its
// own limit threshold·wᵢ, in rad/s for rotational joints and base rotations and in m/s for
// prismatic joints and base translations. `threshold` defaults to 1.0; a threshold of zero or
// less allows no motion, and the rates become zero.
class KtControlExpressionJointRateFilter
    : public KtXmlCloneable<KtControlExpressionJointRateFilter, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtControlExpressionContainer& unfilteredRates() { return m_unfilteredRates; }
  const std::vector<KtReal>& weights() const { return m_weights; }
  void setWeights(const std::vector<KtReal>& weights);
  KtReal threshold() const { return m_threshold; }
  void setThreshold(KtReal threshold) { m_threshold = threshold; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlVectorType<KtReal> m_weights;
  KtControlExpressionContainer m_unfilteredRates;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{1.0};
};

#pragma once

#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "motion/expression/filter/KtWeightedMinimumNorm.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVectorType.h"

// Stops joints at their limits while keeping the hand motion (element endEffectorErrorFilter).
//
// With `stopsAtLimits` set, a joint whose value lies within `jointLimitStoppingRange` (rad, or m
// for a prismatic joint; default 0.02) of its lower or upper limit and whose rate of
// `unfilteredRates` moves it toward that limit is stopped: its rate becomes 0. The other
// joint-space columns then take over the hand velocity the stopped joints would have given,
// J_s·q̇_s, by the smallest weighted change Σ wᵢ·Δq̇ᵢ² of their rates (a weighted minimum-norm
// solve of J_f·Δq̇_f = J_s·q̇_s). Changing the unfiltered rates as little as possible, rather than
// solving for new rates from scratch, keeps the motion that secondary goals added in the null
// space. The new rates may move further joints toward their limits; the filter repeats while
// new joints stop. `weights` give wᵢ per column (positive; columns past its end take
// `defaultWeight`, 1.0): a heavily weighted column changes little.
//
// The hand velocity J·q̇ of the final rates must match that of the unfiltered rates to within
// `threshold` in every row (m/s or rad/s; default 1e-6). When it does not, because the free
// columns cannot make up for the stopped ones, the filter prints
// "KtControlExpressionEndEffectorErrorFilter::calculateFilteredRates(): initial and final hand
// velocities are not compatible.\n", and its rates are all zero and it fails: neither driving a
// joint into its limit nor leaving the commanded path is acceptable, so the arm holds still, as
// it does when the core finds no rates. Without a state it prints "...: NULL position state.\n".
//
// `stopsAtCollisions` and `bvhPrecisionLevel` are kept for stopping before link collisions,
// which need link shapes; they have no effect yet.
class KtControlExpressionEndEffectorErrorFilter
    : public KtXmlCloneable<KtControlExpressionEndEffectorErrorFilter, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtControlExpressionContainer& unfilteredRates() { return m_unfilteredRates; }
  const std::vector<KtReal>& weights() const { return m_weights; }
  void setWeights(const std::vector<KtReal>& weights);
  KtReal defaultWeight() const { return m_defaultWeight; }
  void setDefaultWeight(KtReal weight);
  KtReal threshold() const { return m_threshold; }
  void setThreshold(KtReal threshold) { m_threshold = threshold; }
  bool stopsAtLimits() const { return m_stopsAtLimits; }
  void setStopsAtLimits(bool stops) { m_stopsAtLimits = stops; }
  KtReal jointLimitStoppingRange() const { return m_jointLimitStoppingRange; }
  void setJointLimitStoppingRange(KtReal range) { m_jointLimitStoppingRange = range; }
  bool stopsAtCollisions() const { return m_stopsAtCollisions; }
  void setStopsAtCollisions(bool stops) { m_stopsAtCollisions = stops; }
  int bvhPrecisionLevel() const { return m_bvhPrecisionLevel; }
  void setBvhPrecisionLevel(int level) { m_bvhPrecisionLevel = level; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  // Stops the joints near a limit that `rates` move toward it; true if any joint newly stopped.
  bool stopJointsAtLimits(const KtControlContext& context, const std::vector<KtReal>& rates);
  // From the unfiltered rates, the rates with the stopped joints at 0 and the smallest weighted
  // change of the others that keeps the hand velocity.
  void redistributeStoppedMotion(const KtControlContext& context, const std::vector<KtReal>& unfiltered);
  // Checks the final hand velocity against the unfiltered one; zero rates and a message if apart.
  bool calculateFilteredRates(const KtControlContext& context, const std::vector<KtReal>& unfiltered);
  KtReal weight(std::size_t column) const;

  KtXmlVectorType<KtReal> m_weights;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_defaultWeight{1.0};
  KtControlExpressionContainer m_unfilteredRates;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{1e-6};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_stopsAtLimits{true};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_stopsAtCollisions{false};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_jointLimitStoppingRange{0.02};
  KtXmlDefaulted<KtXmlBasicType<int>> m_bvhPrecisionLevel{0};

  // Working data, sized in prepare(): which columns are stopped, the hand velocity to make up,
  // the columns' scales and the change of the free columns' rates.
  std::vector<unsigned char> m_stopped;
  std::vector<KtReal> m_makeUp;
  std::vector<KtReal> m_scales;
  std::vector<KtReal> m_change;
  KtWeightedMinimumNorm m_solver;
};

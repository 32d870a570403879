#pragma once

#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVectorType.h"

// Keeps the end effectors from moving much faster than commanded (element
// endEffectorMotionFilter). The hand velocity that the rates of `unfilteredRates` produce,
// h = J·(Wq·q̇), is measured as ‖Wh·h‖ and compared with the measure ‖Wh·V‖ of the commanded
// velocities V; when it exceeds `maxRatio` times that, every rate is multiplied by the one
// factor that brings it down to the bound, so the direction of motion is kept. Rates whose
// hand velocity is within the bound pass unchanged.
//
// Rows of J and V are the stacked end-effector rows in system coordinates (m/s and rad/s).
// Wh = diag(`handVelocityWeights`, one per row, non-negative; empty means ones) says how much
// each row counts. Wq = diag(`jointRateWeights`, one per joint-space column, non-negative;
// empty means ones) says which columns' motion is counted: a column of weight 0 still moves
// and is scaled with the others, but its own hand motion is left out of the measure, e.g. the
// six base columns of a vehicle whose motion another filter governs. The norm is the 2-norm,
// or the largest magnitude when `useInfinityNorm` is set. `maxRatio` defaults to 1.0: the
// hands never move faster than they are told, as rates from weighted least squares or from
// other filters otherwise might. With V = 0 only motion that leaves the hands still remains.
//
// Evaluating without commanded velocities prints
// "KtControlExpressionEndEffectorMotionFilter::calculateHandVelocityMeasure(): attempt to measure
// a NULL end-effector velocity\n", without a state (hence no Jacobian) "...: NULL position
// state.\n", and fails.
class KtControlExpressionEndEffectorMotionFilter
    : public KtXmlCloneable<KtControlExpressionEndEffectorMotionFilter, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtControlExpressionContainer& unfilteredRates() { return m_unfilteredRates; }
  const std::vector<KtReal>& handVelocityWeights() const { return m_handVelocityWeights; }
  void setHandVelocityWeights(const std::vector<KtReal>& weights);
  const std::vector<KtReal>& jointRateWeights() const { return m_jointRateWeights; }
  void setJointRateWeights(const std::vector<KtReal>& weights);
  KtReal maxRatio() const { return m_maxRatio; }
  void setMaxRatio(KtReal ratio) { m_maxRatio = ratio; }
  bool useInfinityNorm() const { return m_useInfinityNorm; }
  void setUseInfinityNorm(bool use) { m_useInfinityNorm = use; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  // ‖Wh·velocity‖ in the chosen norm; a null velocity is reported and fails.
  bool calculateHandVelocityMeasure(const std::vector<KtReal>* velocity, KtReal& measure) const;
  // The hand velocity of the counted columns of `rates`, into m_handVelocity.
  bool calculateHandVelocity(const KtControlContext& context, const std::vector<KtReal>& rates);

  KtXmlVectorType<KtReal> m_handVelocityWeights;
  KtXmlVectorType<KtReal> m_jointRateWeights;
  KtControlExpressionContainer m_unfilteredRates;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_maxRatio{1.0};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_useInfinityNorm{false};

  // Working data, sized in prepare().
  std::vector<KtReal> m_handVelocity;
};

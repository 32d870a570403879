#include "motion/expression/filter/KtControlExpressionEndEffectorErrorFilter.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/filter/KtRateFilterSupport.h"
#include "xml/KtXmlNamespaces.h"

namespace {
constexpr const char* kClass = "KtControlExpressionEndEffectorErrorFilter";
}  // namespace

const KtToken& KtControlExpressionEndEffectorErrorFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "endEffectorErrorFilter");
  return token;
}

void KtControlExpressionEndEffectorErrorFilter::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken weights(ktNamespaceCt, "weights"), defaultWeight(ktNamespaceCt, "defaultWeight"),
      rates(ktNamespaceCt, "unfilteredRates"), threshold(ktNamespaceCt, "threshold"),
      stopsAtLimits(ktNamespaceCt, "stopsAtLimits"), stopsAtCollisions(ktNamespaceCt, "stopsAtCollisions"),
      range(ktNamespaceCt, "jointLimitStoppingRange"), bvh(ktNamespaceCt, "bvhPrecisionLevel");
  registerComponent(weights, m_weights);
  registerComponent(defaultWeight, m_defaultWeight);
  registerComponent(rates, m_unfilteredRates);
  registerComponent(threshold, m_threshold);
  registerComponent(stopsAtLimits, m_stopsAtLimits);
  registerComponent(stopsAtCollisions, m_stopsAtCollisions);
  registerComponent(range, m_jointLimitStoppingRange);
  registerComponent(bvh, m_bvhPrecisionLevel);
}

void KtControlExpressionEndEffectorErrorFilter::setWeights(const std::vector<KtReal>& weights) {
  m_weights = weights;
  noteTreeChanged();
}

void KtControlExpressionEndEffectorErrorFilter::setDefaultWeight(KtReal weight) {
  m_defaultWeight = weight;
  noteTreeChanged();
}

KtReal KtControlExpressionEndEffectorErrorFilter::weight(std::size_t column) const {
  return ktWeightOrDefault(m_weights, column, m_defaultWeight);
}

bool KtControlExpressionEndEffectorErrorFilter::prepare(const KtControlContext& context) {
  const KtReal defaultWeight = m_defaultWeight;
  if (!ktPrepareUnfilteredRates(m_unfilteredRates, context, kClass) ||
      !ktCheckWeights(m_weights.value(), context.columnCount, KtWeightCount::atMost, KtWeightSign::positive,
                      kClass, "weights") ||
      !ktCheckWeights({&defaultWeight, 1}, 1, KtWeightCount::allOrNone, KtWeightSign::positive, kClass,
                      "defaultWeight"))
    return false;
  const std::size_t m = context.rowCount;
  m_stopped.assign(context.columnCount, 0);
  m_makeUp.assign(m, 0.0);
  m_scales.assign(context.columnCount, 0.0);
  m_change.assign(context.columnCount, 0.0);
  m_solver.resize(m, context.columnCount);
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionEndEffectorErrorFilter::stopJointsAtLimits(const KtControlContext& context,
                                                                   const std::vector<KtReal>& rates) {
  const KtManipulatorActivePositionState& positions = context.state->activePositionState();
  const std::size_t joints = std::min(context.manipulator->jointDof(), rates.size());
  bool newlyStopped = false;
  for (std::size_t i = 0; i < joints; ++i) {
    if (m_stopped[i]) continue;
    const KtManipulatorLink& link = context.manipulator->link(i);
    const KtReal value = positions.jointPosition(i);
    const bool towardUpper =
        rates[i] > 0.0 && value >= link.upperLimitConstraint() - m_jointLimitStoppingRange;
    const bool towardLower =
        rates[i] < 0.0 && value <= link.lowerLimitConstraint() + m_jointLimitStoppingRange;
    if (!towardUpper && !towardLower) continue;
    m_stopped[i] = 1;
    newlyStopped = true;
  }
  return newlyStopped;
}

// The free columns change by the Δq̇_f of least Σ wᵢ·Δq̇ᵢ² with J_f·Δq̇_f = J_s·q̇_s: the hand
// velocity that the stopped joints no longer give. A column's scale 1/√wᵢ turns that weighted
// size into the plain one.
void KtControlExpressionEndEffectorErrorFilter::redistributeStoppedMotion(
    const KtControlContext& context, const std::vector<KtReal>& unfiltered) {
  const Kt::ReArray& jacobian = *context.jacobian;
  const std::size_t n = unfiltered.size();
  for (std::size_t a = 0; a < m_makeUp.size(); ++a) {
    m_makeUp[a] = 0.0;
    for (std::size_t c = 0; c < n; ++c) {
      if (m_stopped[c]) m_makeUp[a] += jacobian[a][c] * unfiltered[c];
    }
  }
  for (std::size_t c = 0; c < n; ++c) m_scales[c] = m_stopped[c] ? 0.0 : 1.0 / std::sqrt(weight(c));
  m_solver.solve(jacobian, m_makeUp, m_scales, m_change);
  std::vector<KtReal>& rates = m_value.column();
  for (std::size_t c = 0; c < n; ++c) rates[c] = m_stopped[c] ? 0.0 : unfiltered[c] + m_change[c];
}

bool KtControlExpressionEndEffectorErrorFilter::calculateFilteredRates(
    const KtControlContext& context, const std::vector<KtReal>& unfiltered) {
  const Kt::ReArray& jacobian = *context.jacobian;
  std::vector<KtReal>& rates = m_value.column();
  for (std::size_t r = 0; r < jacobian.rows(); ++r) {
    KtReal difference = 0.0;
    for (std::size_t c = 0; c < rates.size(); ++c) difference += jacobian[r][c] * (rates[c] - unfiltered[c]);
    if (std::fabs(difference) <= m_threshold) continue;
    ktPrint(KtSeverity::Error,
            "KtControlExpressionEndEffectorErrorFilter::calculateFilteredRates(): initial and final hand "
            "velocities are not compatible.\n");
    std::fill(rates.begin(), rates.end(), 0.0);
    return false;
  }
  return true;
}

bool KtControlExpressionEndEffectorErrorFilter::evaluate(const KtControlContext& context) {
  if (!m_unfilteredRates.evaluate(context)) return false;
  const std::vector<KtReal>& unfiltered = m_unfilteredRates.value().column();
  std::copy(unfiltered.begin(), unfiltered.end(), m_value.column().begin());
  if (!m_stopsAtLimits) return true;
  if (context.manipulator == nullptr || context.state == nullptr || context.jacobian == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionEndEffectorErrorFilter::calculateFilteredRates(): NULL position state.\n");
    return false;
  }
  std::fill(m_stopped.begin(), m_stopped.end(), 0);
  bool anyStopped = false;
  while (stopJointsAtLimits(context, m_value.column())) {
    anyStopped = true;
    redistributeStoppedMotion(context, unfiltered);
  }
  return !anyStopped || calculateFilteredRates(context, unfiltered);
}

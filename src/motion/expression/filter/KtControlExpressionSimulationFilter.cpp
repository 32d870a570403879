#include "motion/expression/filter/KtControlExpressionSimulationFilter.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/filter/KtRateFilterSupport.h"
#include "xml/KtXmlNamespaces.h"

namespace {
constexpr const char* kClass = "KtControlExpressionSimulationFilter";
}  // namespace

const KtToken& KtControlExpressionSimulationFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "simulationFilter");
  return token;
}

void KtControlExpressionSimulationFilter::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken rates(ktNamespaceCt, "unfilteredRatesVector"), weights(ktNamespaceCt, "weights"),
      controller(ktNamespaceCt, "manipulatorJointController"), simulators(ktNamespaceCt, "dynamicSimulators"),
      threshold(ktNamespaceCt, "threshold"), option(ktNamespaceCt, "thresholdOption");
  registerComponent(rates, m_unfilteredRatesVector);
  registerComponent(weights, m_weights);
  registerComponent(controller, m_manipulatorJointController);
  registerComponent(simulators, m_dynamicSimulators);
  registerComponent(threshold, m_threshold);
  registerComponent(option, m_thresholdOption);
}

void KtControlExpressionSimulationFilter::setUnfilteredRates(const KtControlExpressionContainer& rates) {
  m_unfilteredRatesVector = std::vector<KtControlExpressionContainer>{rates};
  noteTreeChanged();
}

void KtControlExpressionSimulationFilter::setWeights(const std::vector<KtReal>& timeConstants) {
  m_weights = timeConstants;
  noteTreeChanged();
}

void KtControlExpressionSimulationFilter::reset() {
  std::fill(m_value.column().begin(), m_value.column().end(), 0.0);
}

bool KtControlExpressionSimulationFilter::prepare(const KtControlContext& context) {
  if (m_unfilteredRatesVector.empty()) {
    ktPrint(KtSeverity::Error, "KtControlExpressionSimulationFilter::prepare(): no unfiltered rates.\n");
    return false;
  }
  if (!ktPrepareUnfilteredRates(m_unfilteredRatesVector[0], context, kClass) ||
      !ktCheckWeights(m_weights.value(), context.columnCount, KtWeightCount::allOrNone,
                      KtWeightSign::nonNegative, kClass, "weights"))
    return false;
  const std::size_t n = context.columnCount;
  if (!m_value.isColumn() || m_value.rows() != n) m_value.shapeAsColumn(n);
  m_step.assign(n, 0.0);
  return true;
}

void KtControlExpressionSimulationFilter::limitStep() {
  const KtReal limit = std::max(0.0, static_cast<KtReal>(m_threshold));
  switch (m_thresholdOption.value()) {
    case KtRateStepLimit::perJoint:
      for (KtReal& change : m_step) change = std::clamp(change, -limit, limit);
      return;
    case KtRateStepLimit::scaled: {
      KtReal largest = 0.0;
      for (KtReal change : m_step) largest = std::max(largest, std::fabs(change));
      if (largest > limit) ktScaleRates(m_step, limit / largest, m_step);
      return;
    }
    case KtRateStepLimit::none:
      return;
  }
}

bool KtControlExpressionSimulationFilter::evaluate(const KtControlContext& context) {
  KtControlExpressionContainer& input = m_unfilteredRatesVector[0];
  if (!input.evaluate(context)) return false;
  const std::vector<KtReal>& commanded = input.value().column();
  std::vector<KtReal>& rates = m_value.column();
  const KtReal dt = std::max(0.0, context.timeStep);
  for (std::size_t i = 0; i < rates.size(); ++i) {
    const KtReal lag = ktWeightOrDefault(m_weights, i, 0.0);
    const KtReal gain = lag > 0.0 ? dt / (lag + dt) : 1.0;
    m_step[i] = gain * (commanded[i] - rates[i]);
  }
  limitStep();
  for (std::size_t i = 0; i < rates.size(); ++i) rates[i] += m_step[i];
  return true;
}

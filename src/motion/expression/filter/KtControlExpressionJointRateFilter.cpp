#include "motion/expression/filter/KtControlExpressionJointRateFilter.h"

#include <algorithm>
#include <cmath>

#include "motion/expression/filter/KtRateFilterSupport.h"
#include "xml/KtXmlNamespaces.h"

namespace {
constexpr const char* kClass = "KtControlExpressionJointRateFilter";
}  // namespace

const KtToken& KtControlExpressionJointRateFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "jointRateFilter");
  return token;
}

void KtControlExpressionJointRateFilter::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken weights(ktNamespaceCt, "weights"), rates(ktNamespaceCt, "unfilteredRates"),
      threshold(ktNamespaceCt, "threshold");
  registerComponent(weights, m_weights);
  registerComponent(rates, m_unfilteredRates);
  registerComponent(threshold, m_threshold);
}

void KtControlExpressionJointRateFilter::setWeights(const std::vector<KtReal>& weights) {
  m_weights = weights;
  noteTreeChanged();
}

bool KtControlExpressionJointRateFilter::prepare(const KtControlContext& context) {
  if (!ktPrepareUnfilteredRates(m_unfilteredRates, context, kClass) ||
      !ktCheckWeights(m_weights.value(), context.columnCount, KtWeightCount::allOrNone,
                      KtWeightSign::positive, kClass, "weights"))
    return false;
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionJointRateFilter::evaluate(const KtControlContext& context) {
  if (!m_unfilteredRates.evaluate(context)) return false;
  const std::vector<KtReal>& rates = m_unfilteredRates.value().column();
  KtReal largest = 0.0;
  for (std::size_t i = 0; i < rates.size(); ++i)
    largest = std::max(largest, std::fabs(rates[i]) / ktWeightOrDefault(m_weights, i, 1.0));
  const KtReal scale = largest > m_threshold ? std::max(0.0, m_threshold / largest) : 1.0;
  ktScaleRates(rates, scale, m_value.column());
  return true;
}

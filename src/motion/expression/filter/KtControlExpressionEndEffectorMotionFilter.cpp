#include "motion/expression/filter/KtControlExpressionEndEffectorMotionFilter.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/filter/KtRateFilterSupport.h"
#include "xml/KtXmlNamespaces.h"

namespace {
constexpr const char* kClass = "KtControlExpressionEndEffectorMotionFilter";
}  // namespace

const KtToken& KtControlExpressionEndEffectorMotionFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "endEffectorMotionFilter");
  return token;
}

void KtControlExpressionEndEffectorMotionFilter::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken handWeights(ktNamespaceCt, "handVelocityWeights"),
      jointWeights(ktNamespaceCt, "jointRateWeights"), rates(ktNamespaceCt, "unfilteredRates"),
      maxRatio(ktNamespaceCt, "maxRatio"), infinityNorm(ktNamespaceCt, "useInfinityNorm");
  registerComponent(handWeights, m_handVelocityWeights);
  registerComponent(jointWeights, m_jointRateWeights);
  registerComponent(rates, m_unfilteredRates);
  registerComponent(maxRatio, m_maxRatio);
  registerComponent(infinityNorm, m_useInfinityNorm);
}

void KtControlExpressionEndEffectorMotionFilter::setHandVelocityWeights(const std::vector<KtReal>& weights) {
  m_handVelocityWeights = weights;
  noteTreeChanged();
}

void KtControlExpressionEndEffectorMotionFilter::setJointRateWeights(const std::vector<KtReal>& weights) {
  m_jointRateWeights = weights;
  noteTreeChanged();
}

bool KtControlExpressionEndEffectorMotionFilter::prepare(const KtControlContext& context) {
  if (!ktPrepareUnfilteredRates(m_unfilteredRates, context, kClass) ||
      !ktCheckWeights(m_handVelocityWeights.value(), context.rowCount, KtWeightCount::allOrNone,
                      KtWeightSign::nonNegative, kClass, "handVelocityWeights") ||
      !ktCheckWeights(m_jointRateWeights.value(), context.columnCount, KtWeightCount::allOrNone,
                      KtWeightSign::nonNegative, kClass, "jointRateWeights"))
    return false;
  m_handVelocity.assign(context.rowCount, 0.0);
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionEndEffectorMotionFilter::calculateHandVelocityMeasure(
    const std::vector<KtReal>* velocity, KtReal& measure) const {
  if (velocity == nullptr) {
    ktPrint(
        KtSeverity::Error,
        "KtControlExpressionEndEffectorMotionFilter::calculateHandVelocityMeasure(): attempt to measure a "
        "NULL end-effector velocity\n");
    return false;
  }
  measure = 0.0;
  for (std::size_t r = 0; r < velocity->size(); ++r) {
    const KtReal weighted = std::fabs(ktWeightOrDefault(m_handVelocityWeights, r, 1.0) * (*velocity)[r]);
    measure = m_useInfinityNorm ? std::max(measure, weighted) : measure + weighted * weighted;
  }
  if (!m_useInfinityNorm) measure = std::sqrt(measure);
  return true;
}

bool KtControlExpressionEndEffectorMotionFilter::calculateHandVelocity(const KtControlContext& context,
                                                                       const std::vector<KtReal>& rates) {
  if (context.jacobian == nullptr) {
    ktPrint(
        KtSeverity::Error,
        "KtControlExpressionEndEffectorMotionFilter::calculateHandVelocityMeasure(): NULL position state.\n");
    return false;
  }
  const Kt::ReArray& jacobian = *context.jacobian;
  for (std::size_t r = 0; r < m_handVelocity.size(); ++r) {
    KtReal sum = 0.0;
    for (std::size_t c = 0; c < rates.size(); ++c)
      sum += jacobian[r][c] * ktWeightOrDefault(m_jointRateWeights, c, 1.0) * rates[c];
    m_handVelocity[r] = sum;
  }
  return true;
}

bool KtControlExpressionEndEffectorMotionFilter::evaluate(const KtControlContext& context) {
  KtReal commanded = 0.0;
  if (!calculateHandVelocityMeasure(context.endEffectorVelocities, commanded) ||
      !m_unfilteredRates.evaluate(context))
    return false;
  const std::vector<KtReal>& rates = m_unfilteredRates.value().column();
  KtReal produced = 0.0;
  if (!calculateHandVelocity(context, rates) || !calculateHandVelocityMeasure(&m_handVelocity, produced))
    return false;
  const KtReal bound = std::max(0.0, m_maxRatio * commanded);
  ktScaleRates(rates, produced > bound ? bound / produced : 1.0, m_value.column());
  return true;
}

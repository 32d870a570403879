#include "motion/expression/filter/KtControlExpressionPlanarTracksFilter.h"

#include <algorithm>

#include "foundation/Print.h"
#include "motion/expression/filter/KtRateFilterSupport.h"
#include "xml/KtXmlNamespaces.h"

namespace {
constexpr const char* kClass = "KtControlExpressionPlanarTracksFilter";
constexpr std::size_t kBaseColumns = 6;
}  // namespace

const KtToken& KtControlExpressionPlanarTracksFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "planarTracksFilter");
  return token;
}

void KtControlExpressionPlanarTracksFilter::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken factor(ktNamespaceCt, "angularRateFactor"), rates(ktNamespaceCt, "unfilteredRates"),
      frame(ktNamespaceCt, "baseFilterFrameInPrimary");
  registerComponent(factor, m_angularRateFactor);
  registerComponent(rates, m_unfilteredRates);
  registerComponent(frame, m_baseFilterFrameInPrimary);
}

bool KtControlExpressionPlanarTracksFilter::prepare(const KtControlContext& context) {
  if (!ktPrepareUnfilteredRates(m_unfilteredRates, context, kClass)) return false;
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionPlanarTracksFilter::evaluate(const KtControlContext& context) {
  if (!m_unfilteredRates.evaluate(context)) return false;
  const std::vector<KtReal>& unfiltered = m_unfilteredRates.value().column();
  std::vector<KtReal>& rates = m_value.column();
  std::copy(unfiltered.begin(), unfiltered.end(), rates.begin());
  if (context.manipulator == nullptr || rates.size() != context.manipulator->jointDof() + kBaseColumns)
    return true;
  if (context.state == nullptr) {
    ktPrint(KtSeverity::Error, "KtControlExpressionPlanarTracksFilter::evaluate(): NULL position state.\n");
    return false;
  }
  // The base columns move the base origin b and turn about it; the vehicle frame's origin p moves
  // with v + w × (p − b).
  const std::size_t base = context.manipulator->jointDof();
  const Kt::coordinateSystemTransformation vehicle =
      context.manipulator->primaryFrameInSystem(*context.state) * m_baseFilterFrameInPrimary.value();
  const Kt::Vector lever =
      vehicle.translation() -
      context.state->activePositionState().positionState().coordinateSystemTransform().translation();
  const Kt::Vector linear(rates[base], rates[base + 1], rates[base + 2]);
  const Kt::Vector angular(rates[base + 3], rates[base + 4], rates[base + 5]);
  const Kt::Orientation& toSystem = vehicle.orientation();
  const Kt::Orientation toVehicle = toSystem.inverse();
  const Kt::Vector forward = toVehicle * (linear + angular.cross(lever));
  const Kt::Vector turn = toVehicle * angular;
  const Kt::Vector keptAngular = toSystem * Kt::Vector(0.0, 0.0, m_angularRateFactor * turn[2]);
  const Kt::Vector keptLinear = toSystem * Kt::Vector(forward[0], 0.0, 0.0) - keptAngular.cross(lever);
  for (std::size_t k = 0; k < 3; ++k) {
    rates[base + k] = keptLinear[k];
    rates[base + 3 + k] = keptAngular[k];
  }
  return true;
}

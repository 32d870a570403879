#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/KtControlContextRequirements.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionJointLimitAvoidance::elementToken() const {
  static const KtToken token(ktNamespaceCt, "jointLimitAvoidance");
  return token;
}

void KtControlExpressionJointLimitAvoidance::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken exponent(ktNamespaceCt, "exponent"), zone(ktNamespaceCt, "avoidanceZone"),
      max(ktNamespaceCt, "max"), fractional(ktNamespaceCt, "fractional");
  registerComponent(exponent, m_exponent);
  registerComponent(zone, m_avoidanceZone);
  registerComponent(max, m_max);
  registerComponent(fractional, m_fractional);
}

bool KtControlExpressionJointLimitAvoidance::prepare(const KtControlContext& context) {
  if (!ktContextHasManipulator(context, "KtControlExpressionJointLimitAvoidance::prepare()")) return false;
  if (!(m_exponent > 0.0)) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionJointLimitAvoidance::prepare(): exponent %g is not positive.\n",
            m_exponent.value());
    return false;
  }
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

KtReal KtControlExpressionJointLimitAvoidance::entry(KtReal value, KtReal lower, KtReal upper) const {
  const KtReal range = upper - lower;
  if (!std::isfinite(range)) return 0.0;
  const KtReal zone = std::min(m_fractional ? m_avoidanceZone * range : m_avoidanceZone.value(), range / 2);
  if (!(zone > 0.0)) return 0.0;
  const KtReal toUpper = upper - value, toLower = value - lower;
  const KtReal distance = std::min(toUpper, toLower);
  if (distance >= zone) return 0.0;
  const KtReal magnitude = m_max * std::pow((zone - distance) / zone, m_exponent.value());
  return toUpper <= toLower ? magnitude : -magnitude;
}

bool KtControlExpressionJointLimitAvoidance::evaluate(const KtControlContext& context) {
  if (!ktContextHasState(context, "KtControlExpressionJointLimitAvoidance::evaluate()")) return false;
  const KtIndividualManipulator& manipulator = *context.manipulator;
  const std::vector<KtReal>& joints = context.state->activePositionState().positionState().jointPositions();
  std::vector<KtReal>& column = m_value.column();
  std::fill(column.begin(), column.end(), 0.0);
  const std::size_t count = std::min({joints.size(), manipulator.jointDof(), column.size()});
  for (std::size_t i = 0; i < count; ++i) {
    const KtManipulatorLink& link = manipulator.link(i);
    column[i] = entry(joints[i], link.lowerLimitConstraint(), link.upperLimitConstraint());
  }
  return true;
}

#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/KtControlContextRequirements.h"
#include "xml/KtXmlNamespaces.h"

namespace {

// The parameters of the zones, read once per evaluation.
struct ZoneShape {
  KtReal exponent;
  KtReal zone;
  KtReal max;
  bool fractional;
};

// base^exponent. The usual whole exponents are multiplied out: the result differs from pow's
// by a rounding at most, at a small part of its cost.
KtReal power(KtReal base, KtReal exponent) {
  if (exponent == 3.0) return base * base * base;
  if (exponent == 2.0) return base * base;
  if (exponent == 1.0) return base;
  return std::pow(base, exponent);
}

// The entry of one joint at `value` between `lower` and `upper`.
KtReal entry(const ZoneShape& shape, KtReal value, KtReal lower, KtReal upper) {
  const KtReal range = upper - lower;
  if (!std::isfinite(range)) return 0.0;
  const KtReal zone = std::min(shape.fractional ? shape.zone * range : shape.zone, range / 2);
  if (!(zone > 0.0)) return 0.0;
  const KtReal toUpper = upper - value, toLower = value - lower;
  const KtReal distance = std::min(toUpper, toLower);
  if (distance >= zone) return 0.0;
  const KtReal magnitude = shape.max * power((zone - distance) / zone, shape.exponent);
  return toUpper <= toLower ? magnitude : -magnitude;
}

}  // namespace

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

bool KtControlExpressionJointLimitAvoidance::evaluate(const KtControlContext& context) {
  if (!ktContextHasState(context, "KtControlExpressionJointLimitAvoidance::evaluate()")) return false;
  const KtIndividualManipulator& manipulator = *context.manipulator;
  const std::vector<KtReal>& joints = context.state->activePositionState().positionState().jointPositions();
  std::vector<KtReal>& column = m_value.column();
  const std::size_t count = std::min({joints.size(), manipulator.jointDof(), column.size()});
  // Kept in locals: the column's stores could otherwise alias the parameters and force a
  // reload of each on every joint.
  const ZoneShape shape{m_exponent, m_avoidanceZone, m_max, m_fractional};
  for (std::size_t i = 0; i < count; ++i) {
    const KtManipulatorLink& link = manipulator.link(i);
    column[i] = entry(shape, joints[i], link.lowerLimitConstraint(), link.upperLimitConstraint());
  }
  std::fill(column.begin() + static_cast<std::ptrdiff_t>(count), column.end(), 0.0);
  return true;
}

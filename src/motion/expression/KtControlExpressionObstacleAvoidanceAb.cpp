#include "motion/expression/KtControlExpressionObstacleAvoidanceAb.h"

#include <algorithm>

#include "manipulator/KtJointColumns.h"
#include "motion/expression/KtControlContextRequirements.h"
#include "motion/expression/KtSegmentDistance.h"
#include "xml/KtXmlNamespaces.h"

namespace {

// Adds g·(velocity of `point`, fixed to link linkIndex) to each joint's entry of `gradient`.
void addPointGradient(const KtIndividualManipulator& arm, KtManipulatorActiveState& state, int linkIndex,
                      const Kt::Vector& point, const Kt::Vector& g, std::vector<KtReal>& gradient) {
  if (linkIndex < 0) return;  // the base origin moves with no joint
  KtJointColumns::forEach(
      arm, state, static_cast<std::size_t>(linkIndex), point,
      [&](std::size_t joint, const KtJointColumn& column) { gradient[joint] += g.dot(column.linear); });
}

}  // namespace

const KtToken& KtControlExpressionObstacleAvoidanceAb::elementToken() const {
  static const KtToken token(ktNamespaceCt, "obstacleAvoidanceAb");
  return token;
}

void KtControlExpressionObstacleAvoidanceAb::registerComponents() {
  KtControlExpressionProximityAvoidance::registerComponents();
  static const KtToken capsules(ktNamespaceCt, "capsules");
  registerComponent(capsules, m_capsules);
}

bool KtControlExpressionObstacleAvoidanceAb::prepareFor(const KtControlContext& context,
                                                        const char* operation) const {
  return ktContextHasManipulator(context, operation) && parametersValid(operation);
}

bool KtControlExpressionObstacleAvoidanceAb::prepare(const KtControlContext& context) {
  if (!prepareFor(context, "KtControlExpressionObstacleAvoidanceAb::prepare()")) return false;
  m_value.shapeAsAb(context.columnCount);
  return true;
}

bool KtControlExpressionObstacleAvoidanceAb::evaluate(const KtControlContext& context) {
  std::vector<KtReal>& b = m_value.column();
  if (!computeGradient(context, b, "KtControlExpressionObstacleAvoidanceAb::evaluate()")) return false;
  for (KtReal& entry : b) entry = -entry;
  return true;
}

bool KtControlExpressionObstacleAvoidanceAb::computeGradient(const KtControlContext& context,
                                                             std::vector<KtReal>& gradient,
                                                             const char* operation) const {
  if (!ktContextHasState(context, operation)) return false;
  std::fill(gradient.begin(), gradient.end(), 0.0);
  const KtIndividualManipulator& arm = *context.manipulator;
  KtManipulatorActiveState& state = *context.state;
  const Kt::Vector baseOrigin =
      state.activePositionState().positionState().coordinateSystemTransform().translation();
  for (std::size_t k = 0; k < arm.jointDof(); ++k) {
    const KtManipulatorLink& link = arm.link(k);
    const KtManipulatorLink& parent = *link.parentLink();
    const Kt::Vector outer = link.dhFrameInSystem(state).translation();
    const Kt::Vector inner = parent.dhFrameInSystem(state).translation();
    for (const KtObstacleCapsule& capsule : m_capsules) {
      const KtSegmentDistance closest =
          KtSegmentDistance::between(inner, outer, capsule.start(), capsule.end());
      const KtReal distance = closest.distance - capsule.radius();
      if (distance >= avoidanceDistance() || closest.distance == 0.0) continue;
      const Kt::Vector g = (closest.onFirst - closest.onSecond) * (costSlope(distance) / closest.distance);
      addPointGradient(arm, state, link.linkIndex(), outer, g * closest.s, gradient);
      addPointGradient(arm, state, parent.linkIndex(), inner, g * (1.0 - closest.s), gradient);
      if (context.isFixedBase) continue;
      for (std::size_t i = 0; i < 6; ++i)
        gradient[arm.jointDof() + i] +=
            g.dot(KtJointColumns::freeBase(i, closest.onFirst - baseOrigin).linear);
    }
  }
  return true;
}

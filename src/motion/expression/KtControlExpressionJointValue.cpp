#include "motion/expression/KtControlExpressionJointValue.h"

#include <vector>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionJointValue::elementToken() const {
  static const KtToken token(ktNamespaceCt, "jointValue");
  return token;
}

void KtControlExpressionJointValue::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken manipulatorIndex(ktNamespaceCt, "manipulatorIndex"),
      jointIndex(ktNamespaceCt, "jointIndex");
  registerComponent(manipulatorIndex, m_manipulatorIndex);
  registerComponent(jointIndex, m_jointIndex);
}

void KtControlExpressionJointValue::setManipulatorIndex(KtU32 index) {
  m_manipulatorIndex = index;
  noteTreeChanged();
}

void KtControlExpressionJointValue::setJointIndex(KtU32 index) {
  m_jointIndex = index;
  noteTreeChanged();
}

const KtReal* KtControlExpressionJointValue::jointValueIn(const KtControlContext& context,
                                                          const char* operation) const {
  if (context.stated == nullptr) {
    ktPrint(KtSeverity::Error, "KtControlExpressionJointValue::%s(): no stated system.\n", operation);
    return nullptr;
  }
  const std::vector<KtPositionState>& positions = context.stated->state().positionStates();
  if (m_manipulatorIndex >= positions.size()) {
    ktPrint(KtSeverity::Error, "KtControlExpressionJointValue::%s(): bad manipulator index (%u).\n",
            operation, m_manipulatorIndex.value());
    return nullptr;
  }
  const std::vector<KtReal>& joints = positions[m_manipulatorIndex].jointPositions();
  if (m_jointIndex >= joints.size()) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionJointValue::%s(): bad joint index (%u) of manipulator %u.\n", operation,
            m_jointIndex.value(), m_manipulatorIndex.value());
    return nullptr;
  }
  return &joints[m_jointIndex];
}

bool KtControlExpressionJointValue::prepare(const KtControlContext& context) {
  m_value.shapeAsScalar();
  return jointValueIn(context, "prepare") != nullptr;
}

bool KtControlExpressionJointValue::evaluate(const KtControlContext& context) {
  const KtReal* value = jointValueIn(context, "evaluate");
  if (value == nullptr) return false;
  m_value.scalar() = *value;
  return true;
}

#include "manipulator/KtPositionState.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtPositionState::elementToken() const {
  static const KtToken token(ktNamespaceSm, "positionState");
  return token;
}

void KtPositionState::registerComponents() {
  static const KtToken joints(ktNamespaceSm, "jointPositions"),
      pose(ktNamespaceSm, "coordinateSystemTransform");
  registerComponent(joints, m_jointPositions);
  registerComponent(pose, m_coordinateSystemTransform);
}

bool KtPositionState::linearInterpolation(const KtPositionState& a, const KtPositionState& b, KtReal s) {
  const std::vector<KtReal>& from = a.jointPositions();
  const std::vector<KtReal>& to = b.jointPositions();
  if (from.size() != to.size()) {
    ktPrint(KtSeverity::Error,
            "KtPositionState::linearInterpolation(): the two joint-position sizes (%d and %d) do not match\n",
            static_cast<int>(from.size()), static_cast<int>(to.size()));
    return false;
  }
  std::vector<KtReal>& joints = m_jointPositions.value();
  joints.resize(from.size());
  for (std::size_t i = 0; i < from.size(); ++i) joints[i] = from[i] + s * (to[i] - from[i]);
  Kt::coordinateSystemTransformation pose;
  pose.interpolation(a.coordinateSystemTransform(), b.coordinateSystemTransform(), s);
  m_coordinateSystemTransform = pose;
  return true;
}

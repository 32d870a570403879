#include "manipulator/KtManipulatorSystemState.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorSystemState::elementToken() const {
  static const KtToken token(ktNamespaceSm, "manipulatorSystemState");
  return token;
}

void KtManipulatorSystemState::registerComponents() {
  static const KtToken positions(ktNamespaceSm, "positionStates"),
      velocities(ktNamespaceSm, "velocityStates"), time(ktNamespaceSm, "time");
  registerComponent(positions, m_positionStates);
  registerComponent(velocities, m_velocityStates);
  registerComponent(time, m_time);
}

bool KtManipulatorSystemState::validateTopLevelDimensions() {
  if (m_velocityStates.size() == m_positionStates.size()) return true;
  ktPrint(
      KtSeverity::Warning,
      "KtManipulatorSystemState::validateTopLevelDimensions(): number of position states does not match the "
      "velocity states--correcting.\n");
  m_velocityStates.resize(m_positionStates.size());
  return false;
}

bool KtManipulatorSystemState::validateLowLevelDimensions() {
  bool valid = validateTopLevelDimensions();
  for (std::size_t i = 0; i < m_positionStates.size(); ++i) {
    const std::size_t joints = m_positionStates[i].jointPositions().size();
    std::vector<KtReal>& rates = m_velocityStates[i].jointVelocities();
    if (rates.size() == joints) continue;
    ktPrint(KtSeverity::Warning,
            "KtManipulatorSystemState::validateLowLevelDimensions: joint positions do notmatch joint "
            "velocities--correcting.\n");
    rates.resize(joints, 0.0);
    valid = false;
  }
  return valid;
}

bool KtManipulatorSystemState::linearFactorInterpolation(const KtManipulatorSystemState& a,
                                                         const KtManipulatorSystemState& b, KtReal s) {
  const std::size_t count = a.positionStates().size();
  if (b.positionStates().size() != count) {
    ktPrint(KtSeverity::Error,
            "KtManipulatorSystemState::linearFactorInterpolation: positionStates size mismatch.\n");
    return false;
  }
  // Work on a copy, so that this state may be a or b and stays whole on failure.
  KtManipulatorSystemState blend(*this);
  blend.m_positionStates.resize(count);
  bool blended = true;
  for (std::size_t i = 0; i < count; ++i) {
    blended =
        blend.m_positionStates[i].linearInterpolation(a.positionStates()[i], b.positionStates()[i], s) &&
        blended;
  }
  const bool sameVelocityShape = a.velocityStates().size() == b.velocityStates().size();
  blend.m_velocityStates.resize(sameVelocityShape ? a.velocityStates().size() : 0);
  for (std::size_t i = 0; sameVelocityShape && i < a.velocityStates().size(); ++i) {
    const KtVelocityState& from = a.velocityStates()[i];
    const KtVelocityState& to = b.velocityStates()[i];
    KtVelocityState& into = blend.m_velocityStates[i];
    const std::vector<KtReal>& x = from.jointVelocities();
    const std::vector<KtReal>& y = to.jointVelocities();
    if (x.size() != y.size()) continue;
    std::vector<KtReal>& rates = into.jointVelocities();
    rates.resize(x.size());
    for (std::size_t j = 0; j < x.size(); ++j) rates[j] = x[j] + s * (y[j] - x[j]);
    const KtGeneralMotion& v = from.generalVelocity();
    const KtGeneralMotion& w = to.generalVelocity();
    into.generalVelocity().setLinear(v.linear() + (w.linear() - v.linear()) * s);
    into.generalVelocity().setAngular(v.angular() + (w.angular() - v.angular()) * s);
  }
  blend.m_time = a.time() + s * (b.time() - a.time());
  m_positionStates = blend.m_positionStates.value();
  m_velocityStates = blend.m_velocityStates.value();
  m_time = blend.m_time;
  return blended;
}

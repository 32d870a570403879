#include "manipulator/KtManipulatorActiveState.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorActiveState::elementToken() const {
  static const KtToken token(ktNamespaceSm, "manipulatorActiveState");
  return token;
}

void KtManipulatorActiveState::registerComponents() {
  static const KtToken position(ktNamespaceSm, "activePositionState"),
      velocity(ktNamespaceSm, "activeVelocityState"), acceleration(ktNamespaceSm, "activeAccelerationState"),
      force(ktNamespaceSm, "activeForceState"), mass(ktNamespaceSm, "activeMassState"),
      articulation(ktNamespaceSm, "activeArticulationState"), actuator(ktNamespaceSm, "actuatorState");
  registerComponent(position, m_activePositionState);
  registerComponent(velocity, m_activeVelocityState);
  registerComponent(acceleration, m_activeAccelerationState);
  registerComponent(force, m_activeForceState);
  registerComponent(mass, m_activeMassState);
  registerComponent(articulation, m_activeArticulationState);
  registerComponent(actuator, m_actuatorState);
}

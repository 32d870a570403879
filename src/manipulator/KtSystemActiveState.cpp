#include "manipulator/KtSystemActiveState.h"

#include "manipulator/KtManipulatorSystem.h"
#include "manipulator/KtManipulatorSystemState.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtSystemActiveState::elementToken() const {
  static const KtToken token(ktNamespaceSm, "systemActiveState");
  return token;
}

void KtSystemActiveState::registerComponents() {
  static const KtToken states(ktNamespaceSm, "manipulatorActiveStateVector");
  registerComponent(states, m_manipulatorActiveStateVector);
}

void KtSystemActiveState::update(const KtManipulatorSystem& system, const KtManipulatorSystemState& state) {
  m_manipulatorActiveStateVector.resize(system.size());
  for (std::size_t i = 0; i < system.size(); ++i) {
    KtManipulatorActiveState& active = m_manipulatorActiveStateVector[i];
    active.activePositionState().synchronize(system.manipulator(i));
    if (i < state.positionStates().size())
      active.activePositionState().setPositionState(state.positionStates()[i]);
    if (i < state.velocityStates().size()) active.setVelocityState(state.velocityStates()[i]);
  }
}

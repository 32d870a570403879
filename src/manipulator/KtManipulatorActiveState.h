#pragma once

#include "manipulator/KtManipulatorActivePositionState.h"
#include "xml/KtXmlKeptElement.h"

// Everything derived from one manipulator's state: the link frames (activePositionState)
// and the velocity, acceleration, force, mass, articulation and actuator records of the
// dynamics, which are kept unchanged until their subsystem interprets them.
class KtManipulatorActiveState : public KtXmlCloneable<KtManipulatorActiveState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  KtManipulatorActivePositionState& activePositionState() { return m_activePositionState; }
  const KtManipulatorActivePositionState& activePositionState() const { return m_activePositionState; }

 protected:
  void registerComponents() override;

 private:
  KtManipulatorActivePositionState m_activePositionState;
  KtXmlKeptElement m_activeVelocityState;
  KtXmlKeptElement m_activeAccelerationState;
  KtXmlKeptElement m_activeForceState;
  KtXmlKeptElement m_activeMassState;
  KtXmlKeptElement m_activeArticulationState;
  KtXmlKeptElement m_actuatorState;
};

#pragma once

#include "manipulator/KtLinkMotionRecords.h"
#include "manipulator/KtManipulatorActivePositionState.h"
#include "xml/KtXmlKeptElement.h"

// Everything derived from one manipulator's state: the link frames (activePositionState)
// and the velocity, acceleration, force, mass, articulation and actuator records of the
// dynamics, which are kept unchanged until their subsystem interprets them.
//
// The link velocities and velocity-product accelerations are computed on demand from the
// velocity state set here and cached in link motion records, which are not persisted: what a
// document holds as the active velocity state is kept and written back unchanged.
class KtManipulatorActiveState : public KtXmlCloneable<KtManipulatorActiveState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  KtManipulatorActivePositionState& activePositionState() { return m_activePositionState; }
  const KtManipulatorActivePositionState& activePositionState() const { return m_activePositionState; }

  const KtVelocityState& velocityState() const { return m_linkMotions.velocityState(); }
  void setVelocityState(const KtVelocityState& state) { m_linkMotions.setVelocityState(state); }
  // The motion records, made to fit the frames of the active position state.
  KtLinkMotionRecords& linkMotions() {
    m_linkMotions.synchronize(m_activePositionState.linkCount(), m_activePositionState.frameChanges());
    return m_linkMotions;
  }

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

  KtLinkMotionRecords m_linkMotions;
};

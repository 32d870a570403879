#pragma once

#include <vector>

#include "manipulator/KtPositionState.h"
#include "manipulator/KtVelocityState.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlVectorType.h"

// The time-varying state of a manipulator system: per manipulator a position state and a
// velocity state, and the time in seconds.
class KtManipulatorSystemState : public KtXmlCloneable<KtManipulatorSystemState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const std::vector<KtPositionState>& positionStates() const { return m_positionStates; }
  std::vector<KtPositionState>& positionStates() { return m_positionStates.value(); }
  const std::vector<KtVelocityState>& velocityStates() const { return m_velocityStates; }
  std::vector<KtVelocityState>& velocityStates() { return m_velocityStates.value(); }
  KtReal time() const { return m_time; }
  void setTime(KtReal time) { m_time = time; }

  // Give the velocity states the shape of the position states, with a message for each
  // repair; true when nothing had to be repaired.
  bool validateTopLevelDimensions();
  bool validateLowLevelDimensions();

  // This state becomes the blend a + s·(b − a) of positions, velocities and time. False when
  // the numbers of position states differ.
  bool linearFactorInterpolation(const KtManipulatorSystemState& a, const KtManipulatorSystemState& b,
                                 KtReal s);

 protected:
  void registerComponents() override;

 private:
  KtXmlVectorType<KtPositionState> m_positionStates;
  KtXmlVectorType<KtVelocityState> m_velocityStates;
  KtXmlBasicType<KtReal> m_time = 0.0;
};

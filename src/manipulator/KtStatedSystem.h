#pragma once

#include <cstddef>

#include "manipulator/KtManipulatorSystem.h"
#include "manipulator/KtManipulatorSystemState.h"
#include "xml/KtXmlKeptElement.h"

// A manipulator system with its state (and processing parameters, kept unchanged until
// their subsystem interprets them). Reading one repairs a state that does not fit the system.
class KtStatedSystem : public KtXmlCloneable<KtStatedSystem, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;

  const KtManipulatorSystem& system() const { return m_system; }
  KtManipulatorSystem& system() { return m_system; }
  const KtManipulatorSystemState& state() const { return m_state; }
  KtManipulatorSystemState& state() { return m_state; }

  bool setIndividualState(int manipulatorIndex, const KtPositionState& position);
  bool setIndividualState(int manipulatorIndex, const KtVelocityState& velocity);
  bool setIndividualState(int manipulatorIndex, const KtPositionState& position,
                          const KtVelocityState& velocity);
  bool setIndividualCoordinateSystemTransformation(int manipulatorIndex,
                                                   const Kt::coordinateSystemTransformation& pose);
  // Turns the base velocity (linear and angular) of a manipulator by the rotation.
  bool rotateIndividualBaseVelocity(int manipulatorIndex, const Kt::Orientation& rotation);

  // One state per manipulator, and per manipulator as many joint positions and velocities as
  // it has joints; each repair is reported. True when nothing had to be repaired.
  bool validateTopLevelDimensions();
  bool validateLowLevelDimensions();

  // Distance between two links of the system in the current state, with the point of each
  // nearest to the other (system coordinates), answered by the links' proximity query. False
  // for a null link or a link of no manipulator of this system, and while link shapes are
  // not interpreted.
  bool gjkDistanceQuery(const KtManipulatorLink* link, const KtManipulatorLink* otherLink, KtReal& distance,
                        Kt::Vector& witness, Kt::Vector& otherWitness) const;

 protected:
  void registerComponents() override;

 private:
  static bool indexValid(int index, std::size_t count, const char* kind, const char* operation);
  bool positionIndexValid(int index, const char* operation) const;
  bool velocityIndexValid(int index, const char* operation) const;
  // Index of the manipulator that the link belongs to, -1 when it is none of this system's.
  int manipulatorIndexOf(const KtManipulatorLink& link) const;

  KtManipulatorSystem m_system;
  KtManipulatorSystemState m_state;
  KtXmlKeptElement m_processingParameters;
};

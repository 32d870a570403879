#pragma once

#include <cstddef>
#include <cstdint>

#include "manipulator/KtIntegrationStatus.h"
#include "manipulator/KtManipulatorSystem.h"
#include "manipulator/KtManipulatorSystemState.h"
#include "manipulator/KtSystemActiveState.h"
#include "xml/KtXmlKeptElement.h"

// A manipulator system with its state (and processing parameters, kept unchanged until
// their subsystem interprets them). Reading one repairs a state that does not fit the system.
//
// It also owns the active state of every manipulator (link frames and link motions, not
// persisted), and activeState(i) is the one place where it is brought up to date: it compares
// the cached copies of manipulator i's position and velocity states with the system state and
// drops only the frames and motions whose inputs changed. Any write therefore shows in the next
// query, whichever way it reached the state: the operations below, state() or system() held
// mutably, a read or an assignment. The active states are sized when the dimensions are
// validated, and again at the first query after a model change (KtModelRevision), so a query
// for a state of unchanged size allocates nothing.
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
  // One integration step of a manipulator's position state by its velocity state over dt
  // (see KtIndividualManipulator::integrateState).
  bool integrateIndividualState(int manipulatorIndex, KtReal dt, KtIntegrationStatus& status);

  // The active state of manipulator i, up to date with the current system state, for frame and
  // motion queries; null (with a message) for an index that names no manipulator. It stays
  // owned by this object, which is why it can be handed out by a const query.
  KtManipulatorActiveState* activeState(int manipulatorIndex) const;

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
  bool manipulatorIndexValid(int index, const char* operation) const;
  // Gives every manipulator its active state, with its frame records, for the current system.
  void prepareActiveStates() const;
  // Index of the manipulator that the link belongs to, -1 when it is none of this system's.
  int manipulatorIndexOf(const KtManipulatorLink& link) const;

  KtManipulatorSystem m_system;
  KtManipulatorSystemState m_state;
  KtXmlKeptElement m_processingParameters;

  // Working data of the frame queries, not part of the document.
  mutable KtSystemActiveState m_activeStates;
  mutable std::uint64_t m_preparedRevision = 0;
};

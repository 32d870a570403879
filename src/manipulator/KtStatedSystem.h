#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "geometry/KtShapeHolder.h"
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

  // Adds an object of the given shape as a manipulator of its own: a fixed base without joints,
  // labelled `name`, with position and velocity state entries (at rest, base pose `pose`).
  // The shape is kept beside the system, by manipulator index, not in the document: a saved
  // system holds the manipulator but not its shape, and reading a document drops the shapes
  // kept. Returns the new manipulator's index (0, with a message, when the state does not have
  // one entry per manipulator).
  std::size_t addShapeManipulator(const KtShape& shape, const Kt::coordinateSystemTransformation& pose,
                                  const std::string& name);
  // The shape added with a manipulator, or null for one that was not added that way.
  const KtShape* addedShape(std::size_t manipulatorIndex) const;
  // The distance between manipulators `first` and `second` over their link shapes, with the
  // nearest point of each (system coordinates); `cutoff` when no pair of links lies closer.
  // Until link shapes are interpreted no pair does: the answer is the cut-off and the points
  // are zero. The two unnamed parameters and the selector are kept for that query. A bad index
  // prints a message and answers the cut-off.
  KtReal manipulatorDistance(int first, int second, KtReal /*tolerance*/, KtReal cutoff,
                             Kt::Vector& firstPoint, Kt::Vector& secondPoint, int /*level*/,
                             unsigned long selector) const;

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
  std::map<std::size_t, KtShapeHolder> m_addedShapes;

  // Working data of the frame queries, not part of the document.
  mutable KtSystemActiveState m_activeStates;
  mutable std::uint64_t m_preparedRevision = 0;
};

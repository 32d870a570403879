#include "manipulator/KtStatedSystem.h"

#include <cstring>
#include <vector>

#include "foundation/Print.h"
#include "manipulator/KtModelRevision.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtStatedSystem::elementToken() const {
  static const KtToken token(ktNamespaceSm, "statedSystem");
  return token;
}

void KtStatedSystem::registerComponents() {
  static const KtToken system(ktNamespaceSm, "system"), state(ktNamespaceSm, "state"),
      processing(ktNamespaceSm, "processingParameters");
  registerComponent(system, m_system);
  registerComponent(state, m_state);
  registerComponent(processing, m_processingParameters);
}

bool KtStatedSystem::read(KtXmlReader& reader) {
  // The shapes kept beside the system belong to manipulators of the system being replaced.
  m_addedShapes.clear();
  const bool read = KtXmlCompoundType::read(reader);
  validateLowLevelDimensions();
  return read;
}

// `kind` names what the index is checked against ("position state", "velocity state" or
// "system") in the message.
bool KtStatedSystem::indexValid(int index, std::size_t count, const char* kind, const char* operation) {
  if (index >= 0 && static_cast<std::size_t>(index) < count) return true;
  ktPrint(KtSeverity::Error, "KtStatedSystem::%s(): manipulator index %d to big for %s size, %d\n", operation,
          index, kind, static_cast<int>(count));
  return false;
}

bool KtStatedSystem::positionIndexValid(int index, const char* operation) const {
  return indexValid(index, m_state.positionStates().size(), "position state", operation);
}

bool KtStatedSystem::velocityIndexValid(int index, const char* operation) const {
  return indexValid(index, m_state.velocityStates().size(), "velocity state", operation);
}

bool KtStatedSystem::manipulatorIndexValid(int index, const char* operation) const {
  return indexValid(index, m_system.size(), "system", operation);
}

bool KtStatedSystem::setIndividualState(int manipulatorIndex, const KtPositionState& position) {
  if (!positionIndexValid(manipulatorIndex, "setIndividualState")) return false;
  m_state.positionStates()[static_cast<std::size_t>(manipulatorIndex)] = position;
  return true;
}

bool KtStatedSystem::setIndividualState(int manipulatorIndex, const KtVelocityState& velocity) {
  if (!velocityIndexValid(manipulatorIndex, "setIndividualState")) return false;
  m_state.velocityStates()[static_cast<std::size_t>(manipulatorIndex)] = velocity;
  return true;
}

bool KtStatedSystem::setIndividualState(int manipulatorIndex, const KtPositionState& position,
                                        const KtVelocityState& velocity) {
  const bool positionSet = setIndividualState(manipulatorIndex, position);
  return setIndividualState(manipulatorIndex, velocity) && positionSet;
}

bool KtStatedSystem::setIndividualCoordinateSystemTransformation(
    int manipulatorIndex, const Kt::coordinateSystemTransformation& pose) {
  if (!positionIndexValid(manipulatorIndex, "setIndividualCoordinateSystemTransformation")) return false;
  m_state.positionStates()[static_cast<std::size_t>(manipulatorIndex)].setCoordinateSystemTransform(pose);
  return true;
}

bool KtStatedSystem::rotateIndividualBaseVelocity(int manipulatorIndex, const Kt::Orientation& rotation) {
  if (!velocityIndexValid(manipulatorIndex, "rotateIndividualBaseVelocity")) return false;
  KtGeneralMotion& base =
      m_state.velocityStates()[static_cast<std::size_t>(manipulatorIndex)].generalVelocity();
  base.setLinear(rotation * base.linear());
  base.setAngular(rotation * base.angular());
  return true;
}

bool KtStatedSystem::integrateIndividualState(int manipulatorIndex, KtReal dt, KtIntegrationStatus& status) {
  const char* operation = "integrateIndividualState";
  if (!manipulatorIndexValid(manipulatorIndex, operation) ||
      !positionIndexValid(manipulatorIndex, operation) || !velocityIndexValid(manipulatorIndex, operation))
    return false;
  const auto index = static_cast<std::size_t>(manipulatorIndex);
  m_system.manipulator(index).integrateState(m_state.velocityStates()[index], dt,
                                             m_state.positionStates()[index], status);
  return true;
}

void KtStatedSystem::prepareActiveStates() const {
  m_activeStates.update(m_system, m_state);
  m_preparedRevision = KtModelRevision::current();
}

namespace {

// Whether two values have the same bits. Bitwise equal states are equal for the setters of the
// active state too (a NaN aside, whose frames come out the same when computed again), so a
// state that passes leaves them nothing to do. The vectors and quaternions are their doubles
// and nothing else, so their bytes can be compared whole.
static_assert(sizeof(Kt::Vector) == 3 * sizeof(KtReal) && sizeof(Kt::Orientation) == 4 * sizeof(KtReal));

template <typename Value>
bool sameBits(const Value& a, const Value& b) {
  return std::memcmp(&a, &b, sizeof(Value)) == 0;
}

bool sameBits(const std::vector<KtReal>& a, const std::vector<KtReal>& b) {
  // An empty vector may have no storage at all, which memcmp must not be given.
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(KtReal)) == 0);
}

bool sameBits(const Kt::coordinateSystemTransformation& a, const Kt::coordinateSystemTransformation& b) {
  return a.mode() == b.mode() && sameBits(a.translation(), b.translation()) &&
         sameBits(a.orientation(), b.orientation());
}

bool sameBits(const KtVelocityState& a, const KtVelocityState& b) {
  const KtGeneralMotion &first = a.generalVelocity(), &second = b.generalVelocity();
  return sameBits(a.jointVelocities(), b.jointVelocities()) && sameBits(first.linear(), second.linear()) &&
         sameBits(first.angular(), second.angular());
}

}  // namespace

// The usual query finds the states as the last one left them: a comparison of their bytes then
// stands in for the setters, which compare entry by entry and copy. The usual change is of the
// joints alone, which their own setter takes without looking at the base pose again.
KtManipulatorActiveState* KtStatedSystem::activeState(int manipulatorIndex) const {
  if (!manipulatorIndexValid(manipulatorIndex, "activeState")) return nullptr;
  if (m_preparedRevision != KtModelRevision::current() || m_activeStates.size() != m_system.size())
    prepareActiveStates();
  const auto index = static_cast<std::size_t>(manipulatorIndex);
  KtManipulatorActiveState& active = m_activeStates.manipulatorActiveState(index);
  if (index < m_state.positionStates().size()) {
    const KtPositionState& position = m_state.positionStates()[index];
    KtManipulatorActivePositionState& positions = active.activePositionState();
    if (!sameBits(position.coordinateSystemTransform(),
                  positions.positionState().coordinateSystemTransform()))
      positions.setPositionState(position);
    else if (!sameBits(position.jointPositions(), positions.positionState().jointPositions()))
      positions.setJointPositions(position.jointPositions());
  }
  if (index < m_state.velocityStates().size()) {
    const KtVelocityState& velocity = m_state.velocityStates()[index];
    if (!sameBits(velocity, active.velocityState())) active.setVelocityState(velocity);
  }
  return &active;
}

bool KtStatedSystem::validateTopLevelDimensions() {
  const std::size_t count = m_system.size();
  if (m_state.positionStates().size() == count && m_state.velocityStates().size() == count) return true;
  ktPrint(KtSeverity::Warning,
          "KtStatedSystem::validateTopLevelDimensions(): number of states does not equal the number of "
          "systems in "
          "the input file--correcting.\n");
  m_state.positionStates().resize(count);
  m_state.velocityStates().resize(count);
  prepareActiveStates();
  return false;
}

// Resizes one joint vector of a state to the manipulator's degrees of freedom, with the
// repair message naming the vector ("positions" or "velocities"); false when it had to.
static bool hasLength(std::vector<KtReal>& joints, std::size_t dof, const char* vectorName) {
  if (joints.size() == dof) return true;
  ktPrint(KtSeverity::Warning,
          "KtStatedSystem::validateLowLevelDimensions: joint %s do not match the numbers of degrees of "
          "freedom--correcting.\n",
          vectorName);
  joints.resize(dof, 0.0);
  return false;
}

bool KtStatedSystem::validateLowLevelDimensions() {
  bool valid = validateTopLevelDimensions();
  for (std::size_t i = 0; i < m_system.size(); ++i) {
    const std::size_t dof = m_system.manipulator(i).jointDof();
    valid &= hasLength(m_state.positionStates()[i].jointPositions(), dof, "positions");
    valid &= hasLength(m_state.velocityStates()[i].jointVelocities(), dof, "velocities");
  }
  prepareActiveStates();
  return valid;
}

int KtStatedSystem::manipulatorIndexOf(const KtManipulatorLink& link) const {
  for (std::size_t i = 0; i < m_system.size(); ++i) {
    if (link.manipulator() == &m_system.manipulator(i)) return static_cast<int>(i);
  }
  return -1;
}

bool KtStatedSystem::gjkDistanceQuery(const KtManipulatorLink* link, const KtManipulatorLink* otherLink,
                                      KtReal& distance, Kt::Vector& witness, Kt::Vector& otherWitness) const {
  if (link == nullptr || otherLink == nullptr) {
    ktPrint(KtSeverity::Error, "KtStatedSystem::gjkDistanceQuery-->null pointer\n");
    return false;
  }
  const int index = manipulatorIndexOf(*link), otherIndex = manipulatorIndexOf(*otherLink);
  if (index < 0 || otherIndex < 0) {
    ktPrint(KtSeverity::Error, "KtStatedSystem::gjkDistanceQuery(): link %s is not part of this system.\n",
            (index < 0 ? link : otherLink)->identifier().c_str());
    return false;
  }
  const auto first = static_cast<std::size_t>(index), second = static_cast<std::size_t>(otherIndex);
  return link->distanceAndWitnessPointsTo(*otherLink, &m_system.manipulator(first),
                                          &m_system.manipulator(second), *activeState(index),
                                          *activeState(otherIndex), distance, witness, otherWitness);
}

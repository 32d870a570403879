#include "motion/position/KtPositionControlSystem.h"

#include <algorithm>
#include <cmath>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"
#include "math/Finite.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtPositionControlSystem::elementToken() const {
  static const KtToken token(ktNamespaceCt, "positionControlSystem");
  return token;
}

void KtPositionControlSystem::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken velocity(ktNamespaceCt, "velocityControlSystem"), step(ktNamespaceCt, "timeStep"),
      iterations(ktNamespaceCt, "maxIterations"), finalSize(ktNamespaceCt, "maxFinalPropagationSize"),
      twoPasses(ktNamespaceCt, "useTwoPasses"), isOn(ktNamespaceCt, "isOn"),
      collision(ktNamespaceCt, "collisionAvoidanceMode"),
      returnMode(ktNamespaceCt, "velocityStateReturnMode"),
      breakdown(ktNamespaceCt, "collisionBreakdownThreshold"), bvh(ktNamespaceCt, "bvhPrecisionLevel"),
      assimilation(ktNamespaceCt, "defaultFeedbackAssimilationRate");
  registerComponent(velocity, m_velocityControlSystem);
  registerComponent(step, m_timeStep);
  registerComponent(iterations, m_maxIterations);
  registerComponent(finalSize, m_maxFinalPropagationSize);
  registerComponent(twoPasses, m_useTwoPasses);
  registerComponent(isOn, m_isOn);
  registerComponent(collision, m_collisionAvoidanceMode);
  registerComponent(returnMode, m_velocityStateReturnMode);
  registerComponent(breakdown, m_collisionBreakdownThreshold);
  registerComponent(bvh, m_bvhPrecisionLevel);
  registerComponent(assimilation, m_defaultFeedbackAssimilationRate);
}

KtReal KtPositionControlSystem::guardedTimeStep() const { return ktGuardPositive(m_timeStep); }

// `format` takes the operation's name and the manipulator index.
bool KtPositionControlSystem::manipulatorValid(int manipulator, const char* operation,
                                               const char* format) const {
  if (manipulator >= 0 && static_cast<std::size_t>(manipulator) < m_work.desired.size()) return true;
  ktPrint(KtSeverity::Error, format, operation, manipulator);
  return false;
}

bool KtPositionControlSystem::placementIndexValid(int manipulator, int endEffector,
                                                  const char* operation) const {
  if (!manipulatorValid(manipulator, operation, "KtPositionControlSystem::%s(): bad manipulator (%d).\n"))
    return false;
  const int size = static_cast<int>(m_work.desired[static_cast<std::size_t>(manipulator)].size());
  if (endEffector >= 0 && endEffector < size) return true;
  ktPrint(KtSeverity::Error,
          "KtPositionControlSystem::%s(): index %d is to big for the placement size (%d).\n", operation,
          endEffector, size);
  return false;
}

void KtPositionControlSystem::noteControlled() {
  for (std::size_t m = 0; m < m_work.controlled.size(); ++m)
    m_work.controlled[m] = m_work.descriptions[m]->isOn();
}

bool KtPositionControlSystem::bind(KtStatedSystem& stated) {
  // Binding the same system again completes the last calculation's diagnostics first; another
  // system's state says nothing about them (and the old one may be gone).
  if (m_work.stated == &stated)
    settleCalculation();
  else
    m_work.errorsBeforePending = m_work.errorsAfterPending = false;
  m_work.placementsStale = false;
  m_work.stated = &stated;
  sizeWorkspace();
  return initializeStates();
}

void KtPositionControlSystem::sizeWorkspace() {
  if (m_work.stated == nullptr) return;
  const std::size_t count =
      std::min(m_work.stated->system().size(), m_velocityControlSystem.manipulatorCount());
  // Every per-manipulator list is sized here together, so one size tells them all.
  if (m_work.desired.size() != count) {
    m_work.desired.resize(count);
    m_work.replacedDesired.resize(count);
    m_work.desiredReplacedIn.resize(count);
    m_work.desiredVelocities.resize(count);
    m_work.actual.resize(count);
    m_work.commanded.resize(count);
    m_work.results.resize(count);
    m_work.conditioning.resize(count);
    m_work.rates.resize(count);
    m_work.firstPassRates.resize(count);
    m_work.firstPassPositions.resize(count);
    m_work.descriptions.resize(count);
    m_work.controlled.resize(count);
  }
  for (std::size_t m = 0; m < count; ++m) {
    KtIndividualVelocityControlDescription& description =
        *m_velocityControlSystem.individualVelocityControlDescription(static_cast<int>(m));
    m_work.descriptions[m] = &description;
    const KtEndEffectorSet& set = description.endEffectorSet();
    const std::size_t size = set.size(), known = m_work.desired[m].size();
    if (known == size && m_work.actual[m].size() == size) continue;
    m_work.actual[m].resize(size);
    calcAllEndEffectorPlacements(*m_work.stated, static_cast<unsigned>(m), m_work.actual[m]);
    m_work.desired[m].resize(size);
    m_work.replacedDesired[m].resize(size);
    m_work.desiredReplacedIn[m].resize(size, 0);
    Kt::coordinateSystemTransformation placement;
    for (std::size_t e = known; e < size; ++e) {
      m_work.actual[m].offsetInSystem(static_cast<int>(e), placement);
      m_work.desired[m].setOffsetInSystem(static_cast<int>(e), placement);
    }
    m_work.desiredVelocities[m].resize(size);
    m_work.commanded[m].resize(size);
    for (std::size_t e = 0; e < size; ++e) m_work.commanded[m].velocity(e).reserve(6);
    m_work.results[m].reserve(m_work.stated->system().manipulator(m).jointDof(), size);
  }
}

bool KtPositionControlSystem::setDesiredPlacement(int manipulator, int endEffector,
                                                  const Kt::coordinateSystemTransformation& placement) {
  sizeWorkspace();
  if (!placementIndexValid(manipulator, endEffector, "setDesiredPlacement")) return false;
  if (!ktIsFinite(placement)) {
    ktPrint(
        KtSeverity::Error,
        "KtPositionControlSystem::setDesiredPlacement(): the placement of end effector %d is not finite.\n",
        endEffector);
    return false;
  }
  keepDesired(static_cast<std::size_t>(manipulator), static_cast<std::size_t>(endEffector));
  return m_work.desired[static_cast<std::size_t>(manipulator)].setOffsetInSystem(endEffector, placement);
}

bool KtPositionControlSystem::addDesiredPlacement(int manipulator, int endEffector,
                                                  const Kt::coordinateSystemTransformation& displacement) {
  sizeWorkspace();
  if (!placementIndexValid(manipulator, endEffector, "addDesiredPlacement")) return false;
  KtManipulatorEndEffectorPlacement& placements = m_work.desired[static_cast<std::size_t>(manipulator)];
  Kt::coordinateSystemTransformation placement;
  placements.offsetInSystem(endEffector, placement);
  const Kt::coordinateSystemTransformation moved(placement.translation() + displacement.translation(),
                                                 displacement.orientation() * placement.orientation());
  if (!ktIsFinite(moved)) {
    ktPrint(
        KtSeverity::Error,
        "KtPositionControlSystem::addDesiredPlacement(): the placement of end effector %d is not finite.\n",
        endEffector);
    return false;
  }
  keepDesired(static_cast<std::size_t>(manipulator), static_cast<std::size_t>(endEffector));
  return placements.setOffsetInSystem(endEffector, moved);
}

void KtPositionControlSystem::keepDesired(std::size_t manipulator, std::size_t endEffector) {
  if (!m_work.errorsAfterPending || desiredReplaced(manipulator, endEffector)) return;
  m_work.replacedDesired[manipulator][endEffector] = m_work.desired[manipulator].placement(endEffector);
  m_work.desiredReplacedIn[manipulator][endEffector] = m_work.desiredGeneration;
}

bool KtPositionControlSystem::desiredPlacement(int manipulator, int endEffector,
                                               Kt::coordinateSystemTransformation& placement) const {
  const bool known =
      manipulator >= 0 && static_cast<std::size_t>(manipulator) < m_work.desired.size() && endEffector >= 0 &&
      static_cast<std::size_t>(endEffector) < m_work.desired[static_cast<std::size_t>(manipulator)].size();
  if (!known) {
    ktPrint(KtSeverity::Error, "KtPositionControlSystem::desiredPlacement(), bad end-effector index (%d).",
            endEffector);
    return false;
  }
  return m_work.desired[static_cast<std::size_t>(manipulator)].offsetInSystem(endEffector, placement);
}

bool KtPositionControlSystem::actualPlacement(int manipulator, int endEffector,
                                              Kt::coordinateSystemTransformation& placement) const {
  settleCalculation();
  const bool known =
      manipulator >= 0 && static_cast<std::size_t>(manipulator) < m_work.actual.size() && endEffector >= 0 &&
      static_cast<std::size_t>(endEffector) < m_work.actual[static_cast<std::size_t>(manipulator)].size();
  if (!known) {
    ktPrint(KtSeverity::Error,
            "KtPositionControlSystem::actualPlacement(): bad manipulator and end effector (%d, %d).\n",
            manipulator, endEffector);
    return false;
  }
  return m_work.actual[static_cast<std::size_t>(manipulator)].offsetInSystem(endEffector, placement);
}

bool KtPositionControlSystem::setDesiredVelocity(unsigned manipulator, unsigned endEffector,
                                                 const KtEndEffectorVelocityEntries& velocity) {
  sizeWorkspace();
  if (manipulator >= m_work.desiredVelocities.size()) {
    ktPrint(KtSeverity::Error, "KtPositionControlSystem::setDesiredVelocity(): bad manipulator (%u).\n",
            manipulator);
    return false;
  }
  KtManipulatorEndEffectorVelocity& velocities = m_work.desiredVelocities[manipulator];
  if (endEffector >= velocities.size()) {
    ktPrint(
        KtSeverity::Error,
        "KtPositionControlSystem::setDesiredVelocity(): index %u is to big for the placement size (%u).\n",
        endEffector, static_cast<unsigned>(velocities.size()));
    return false;
  }
  const std::size_t rows =
      m_velocityControlSystem.endEffectorSet(static_cast<int>(manipulator))->rowCount(endEffector);
  const std::size_t size = velocity.size();
  if ((size != 0 && size != rows && size != 6) || !ktAllFinite(velocity)) {
    ktPrint(
        KtSeverity::Error,
        "KtPositionControlSystem::setDesiredVelocity(): the velocity of end effector %u needs 0, %zu or 6 "
        "finite entries.\n",
        endEffector, rows);
    return false;
  }
  velocities.velocity(endEffector) = velocity;
  return true;
}

bool KtPositionControlSystem::calcAllEndEffectorPlacements(
    const KtStatedSystem& stated, unsigned manipulator, KtManipulatorEndEffectorPlacement& placements) const {
  if (manipulator >= stated.system().size() || manipulator >= m_velocityControlSystem.manipulatorCount() ||
      manipulator >= stated.state().positionStates().size()) {
    ktPrint(KtSeverity::Error,
            "KtPositionControlSystem::calcAllEndEffectorPlacements(): invalid manipulator index %u\n",
            manipulator);
    return false;
  }
  const int index = static_cast<int>(manipulator);
  const KtEndEffectorSet& set = *m_velocityControlSystem.endEffectorSet(index);
  const KtIndividualManipulator& arm = stated.system().manipulator(manipulator);
  KtManipulatorActiveState& state = *stated.activeState(index);
  if (placements.size() != set.size()) placements.resize(set.size());
  Kt::coordinateSystemTransformation placement;
  for (std::size_t e = 0; e < set.size(); ++e) {
    if (!set.endEffector(e).calculatePlacement(arm, state, placement)) {
      ktPrint(KtSeverity::Error,
              "KtPositionControlSystem::calcAllEndEffectorPlacements(): invalid end-effector index %u\n",
              static_cast<unsigned>(e));
      return false;
    }
    placements.setOffsetInSystem(static_cast<int>(e), placement);
  }
  return true;
}

bool KtPositionControlSystem::calculateGeneralMotion(int manipulator, KtReal dt) {
  const auto known = [this, manipulator] {
    const int descriptions = static_cast<int>(m_work.commanded.size());
    if (manipulator >= 0 && manipulator < descriptions) return true;
    ktPrint(KtSeverity::Error,
            "KtPositionControlSystem::calculateGeneralMotion(): The control description size, %d, is too "
            "small for "
            "the index, %d\n",
            descriptions, manipulator);
    return false;
  };
  if (!known()) return false;
  const auto m = static_cast<std::size_t>(manipulator);
  const KtEndEffectorSet& set = *m_velocityControlSystem.endEffectorSet(manipulator);
  // Called from outside, it may find the set changed since the workspace was last sized.
  if (m_work.actual[m].size() != set.size() || m_work.desired[m].size() != set.size()) {
    sizeWorkspace();
    if (!known()) return false;
  }
  // Called from outside after a calculation, it needs the placements of the present state.
  if (m_work.placementsStale) settleCalculation();
  return filterVelocities(m, set, dt);
}

bool KtPositionControlSystem::filterVelocities(std::size_t m, const KtEndEffectorSet& set, KtReal dt) {
  const KtManipulatorEndEffectorPlacement &actual = m_work.actual[m], &desired = m_work.desired[m];
  const std::size_t count = std::min({set.size(), actual.size(), desired.size()});
  for (std::size_t e = 0; e < count; ++e) {
    const KtEndEffector& endEffector = set.endEffector(e);
    const int index = static_cast<int>(e);
    KtEndEffectorVelocityEntries& commanded = m_work.commanded[m].velocity(e);
    commanded.assign(set.rowCount(e), 0.0);
    const KtEndEffectorVelocityEntries& feedForward = m_work.desiredVelocities[m].velocity(e);
    KtReal scale = 1.0;
    endEffector.filterVelocityAndScale(actual.placement(e), desired.placement(e), feedForward, dt, commanded,
                                       scale);
    if (!ktAllFinite(commanded)) {
      m_work.results[m].setNonFiniteRejected(true);
      ktPrint(KtSeverity::Error,
              "KtPositionControlSystem::calculateGeneralMotion(): the commanded velocity of end effector %d "
              "is not "
              "finite.\n",
              index);
      return false;
    }
    if (scale < 1.0) m_work.results[m].noteFilterScaleFactor(e, scale);
  }
  return true;
}

const KtManipulatorEndEffectorVelocity* KtPositionControlSystem::commandedVelocities(int manipulator) const {
  if (manipulator < 0 || static_cast<std::size_t>(manipulator) >= m_work.commanded.size()) return nullptr;
  return &m_work.commanded[static_cast<std::size_t>(manipulator)];
}

bool KtPositionControlSystem::integrityCheck() const {
  const int descriptions = static_cast<int>(m_velocityControlSystem.manipulatorCount());
  const int manipulators = m_work.stated != nullptr ? static_cast<int>(m_work.stated->system().size()) : 0;
  if (descriptions == manipulators) return true;
  ktPrint(
      KtSeverity::Error,
      "KtPositionControlSystem::integrityCheck(): the number of control descriptions, %d, does not match the "
      "number of manipulators, %d.\n",
      descriptions, manipulators);
  return false;
}

bool KtPositionControlSystem::initializeStates() {
  const int manipulators = m_work.stated != nullptr ? static_cast<int>(m_work.stated->system().size()) : 0;
  const int placements = static_cast<int>(m_work.actual.size());
  const int descriptions = static_cast<int>(m_velocityControlSystem.manipulatorCount());
  bool consistent = true;
  if (placements != manipulators) {
    ktPrint(KtSeverity::Error,
            "KtPositionControlSystem::initializeStates(): the number of actual placements, %d, does not "
            "equal the "
            "number of manipulators,%d.\n",
            placements, manipulators);
    consistent = false;
  }
  if (descriptions != manipulators) {
    ktPrint(
        KtSeverity::Error,
        "KtPositionControlSystem::initializeStates(): the number of control descriptions, %d, does not equal "
        "the number of manipulators,%d.\n",
        descriptions, manipulators);
    consistent = false;
  }
  return consistent && updateActualPlacements();
}

bool KtPositionControlSystem::updateActualPlacements() const {
  m_work.placementsStale = false;
  bool found = true;
  for (std::size_t m = 0; m < m_work.actual.size(); ++m)
    found = calcAllEndEffectorPlacements(*m_work.stated, static_cast<unsigned>(m), m_work.actual[m]) && found;
  return found;
}

bool KtPositionControlSystem::updateState(const KtManipulatorSystemState& measured, KtReal rate) {
  if (m_work.stated == nullptr) {
    ktPrint(KtSeverity::Error, "KtPositionControlSystem::updateState(): no stated system is bound.\n");
    return false;
  }
  KtManipulatorSystemState& controlled = m_work.stated->state();
  const std::vector<KtPositionState>& from = controlled.positionStates();
  const std::vector<KtPositionState>& to = measured.positionStates();
  bool fits = from.size() == to.size();
  for (std::size_t m = 0; fits && m < to.size(); ++m) {
    fits = from[m].jointPositions().size() == to[m].jointPositions().size() &&
           ktAllFinite(to[m].jointPositions()) && ktIsFinite(to[m].coordinateSystemTransform());
  }
  if (!fits) {
    ktPrint(KtSeverity::Error,
            "KtPositionControlSystem::updateState(): the measured state does not fit the controlled one or "
            "is not "
            "finite.\n");
    return false;
  }
  // A NaN rate takes nothing, as no rate would be the safer reading of it.
  const KtReal s = rate > 0.0 ? std::min(rate, 1.0) : 0.0;
  settleCalculation();
  const KtManipulatorSystem& system = m_work.stated->system();
  for (std::size_t m = 0; m < to.size(); ++m) {
    KtPositionState& position = controlled.positionStates()[m];
    position.linearInterpolation(position, to[m], s);
    if (m >= system.size()) continue;
    const KtIndividualManipulator& manipulator = system.manipulator(m);
    std::vector<KtReal>& joints = position.jointPositions();
    for (std::size_t j = 0; j < joints.size(); ++j) joints[j] = manipulator.heldInLimits(j, joints[j]);
  }
  m_work.placementsStale = true;
  return true;
}

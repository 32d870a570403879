#include "control/baseControlInterface.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "control/KtControlSupport.h"
#include "foundation/MathUtil.h"
#include "manipulator/KtDenavitHartenberg.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/position/KtPositionControlContainer.h"
#include "render/KtRenderWindow.h"
#include "simulation/KtVisualizableStatedSystem.h"

namespace {

// The host sees seven joints whatever the arm: the library serves a seven-joint arm.
constexpr std::size_t kOutputJoints = 7;
constexpr unsigned kWindowSize = 256;
// The cut-off of the customer distance query: no real distance reaches it.
constexpr KtReal kDistanceCutoff = 1e300;
// The rate with which the customer's working state is handed to the control: it takes the
// measured state whole.
constexpr KtReal kCustomerAssimilationRate = 1000.0;

// Objects shared by every interface object of the process (see the class comment).
KtVisualizableStatedSystem& loadedSystem() {
  static KtVisualizableStatedSystem system;
  return system;
}

KtManipulatorSystemState& resultState() {
  static KtManipulatorSystemState state;
  return state;
}

struct CustomerWorkingState {
  bool taken = false;
  KtManipulatorSystemState state;
};

CustomerWorkingState& customerWorkingState() {
  static CustomerWorkingState working;
  return working;
}

Kt::coordinateSystemTransformation& sharedCustomerPose() {
  static Kt::coordinateSystemTransformation pose;
  return pose;
}

// The end-effector set of the arm's active control description; null when the control
// describes no manipulator.
KtEndEffectorSet* armEndEffectorSet(KtPositionControlContainer& container) {
  KtVelocityControlSystem& control = container.system().velocityControlSystem();
  return control.manipulatorCount() == 0 ? nullptr : control.endEffectorSet(0);
}

// Edits end effector `index` of the arm's set on a copy of the set, then installs the copy;
// an index out of range changes nothing.
template <typename Edit>
void editArmEndEffector(KtPositionControlContainer* container, unsigned long index, Edit edit) {
  if (container == nullptr) return;
  KtEndEffectorSet* installed = armEndEffectorSet(*container);
  if (installed == nullptr || index >= installed->size()) return;
  KtEndEffectorSet set = *installed;
  edit(set.endEffector(index));
  *installed = set;
}

// a, alpha and d of a link given in Craig's convention (without a precursor that moves it);
// empty for any other link.
std::vector<double> craigRow(const KtManipulatorLink& link) {
  const KtDenavitHartenberg* dh = link.denavitHartenberg();
  if (dh == nullptr) return {};
  const bool craig = dh->dhType() == KtDhType::craig ||
                     (dh->dhType() == KtDhType::generalCraig &&
                      dh->precursor().approxEq(Kt::coordinateSystemTransformation(), 1e-10));
  if (!craig) return {};
  return {dh->a(), dh->alpha(), dh->d()};
}

}  // namespace

namespace Kt {

baseControlInterface::baseControlInterface() = default;

baseControlInterface::baseControlInterface(const baseControlInterface& other)
    : m_renderingOn(other.m_renderingOn),
      m_manipulatorSystemFilename(other.m_manipulatorSystemFilename),
      m_controlSystemFilename(other.m_controlSystemFilename) {}

baseControlInterface& baseControlInterface::operator=(const baseControlInterface& other) {
  if (this == &other) return *this;
  releaseOwned();
  m_renderingOn = other.m_renderingOn;
  m_manipulatorSystemFilename = other.m_manipulatorSystemFilename;
  m_controlSystemFilename = other.m_controlSystemFilename;
  return *this;
}

baseControlInterface::~baseControlInterface() = default;

void baseControlInterface::releaseOwned() {
  m_statedSystem.reset();
  m_positionControlContainer.reset();
  m_renderWindow.reset();
}

bool baseControlInterface::initializeAll(const std::vector<double>& initialJointValues,
                                         const coordinateSystemTransformation& basePose) {
  releaseOwned();
  return initializeFromSeparateFiles(loadedSystem(), initialJointValues, basePose);
}

bool baseControlInterface::initializeFromSeparateFiles(KtVisualizableStatedSystem& loaded,
                                                       const std::vector<double>& initialJointValues,
                                                       const coordinateSystemTransformation& basePose) {
  loaded = KtVisualizableStatedSystem();
  if (!ktReadWithDataFallback(loaded, m_manipulatorSystemFilename)) return false;
  KtPositionControlContainer control;
  if (!ktReadWithDataFallback(control, m_controlSystemFilename)) return false;
  return completeInitialization(loaded, control, initialJointValues, basePose);
}

bool baseControlInterface::completeInitialization(const KtVisualizableStatedSystem& loaded,
                                                  const KtPositionControlContainer& control,
                                                  const std::vector<double>& initialJointValues,
                                                  const coordinateSystemTransformation& basePose) {
  m_statedSystem = std::make_unique<KtStatedSystem>();
  *m_statedSystem = loaded;
  m_positionControlContainer = std::make_unique<KtPositionControlContainer>();
  *m_positionControlContainer = control;
  if (!ktApplyJointsAndBasePose(*m_statedSystem, initialJointValues, basePose)) {
    releaseOwned();
    return false;
  }
  m_positionControlContainer->bind(*m_statedSystem);
  rememberCurrentJoints();
  if (m_renderingOn) {
    m_renderWindow = ktCreateRenderWindow();
    m_renderWindow->open(kWindowSize, kWindowSize);
    m_renderWindow->setSystem(loaded);
  }
  return true;
}

bool baseControlInterface::initializeJointAngles(const std::vector<double>& initialJointValues) {
  return initializeAll(initialJointValues, coordinateSystemTransformation::identity());
}

bool baseControlInterface::resetAll(const std::vector<double>& jointValues,
                                    const coordinateSystemTransformation& basePose) {
  if (!m_statedSystem || !m_positionControlContainer) return false;
  if (!ktApplyJointsAndBasePose(*m_statedSystem, jointValues, basePose)) return false;
  rememberCurrentJoints();
  if (m_renderingOn && m_renderWindow) {
    m_renderWindow->showState(m_statedSystem->state());
    m_renderWindow->render();
  }
  return true;
}

bool baseControlInterface::resetJointAngles(const std::vector<double>& jointValues) {
  if (!m_statedSystem || m_statedSystem->state().positionStates().empty()) return false;
  const coordinateSystemTransformation basePose =
      ktConvertByMode(m_statedSystem->state().positionStates()[0].coordinateSystemTransform());
  return resetAll(jointValues, basePose);
}

bool baseControlInterface::setTime(double time) {
  if (!m_statedSystem || !m_positionControlContainer) return false;
  m_statedSystem->state().setTime(time);
  m_positionControlContainer->bind(*m_statedSystem);
  return true;
}

void baseControlInterface::rememberCurrentJoints() {
  m_lastJointValues.assign(kOutputJoints, 0.0);
  m_lastJointRates.assign(kOutputJoints, 0.0);
  const KtManipulatorSystemState& state = m_statedSystem->state();
  if (state.positionStates().empty()) return;
  const std::vector<KtReal>& joints = state.positionStates()[0].jointPositions();
  std::copy_n(joints.begin(), std::min(joints.size(), kOutputJoints), m_lastJointValues.begin());
}

bool baseControlInterface::calculateNewJointValuesAndRates(double time, std::vector<double>& jointValues,
                                                           std::vector<double>& jointRates) {
  if (!m_positionControlContainer) return false;
  KtManipulatorSystemState& result = resultState();
  const bool calculated = m_positionControlContainer->calculateState(time, result);
  const bool refused = !calculated && m_positionControlContainer->system().nonFiniteRejected(0);

  jointValues.resize(kOutputJoints, 0.0);
  jointRates.resize(kOutputJoints, 0.0);
  if (!result.positionStates().empty() && !result.velocityStates().empty()) {
    const std::vector<KtReal>& positions = result.positionStates()[0].jointPositions();
    const std::vector<KtReal>& velocities = result.velocityStates()[0].jointVelocities();
    std::copy_n(positions.begin(), std::min(positions.size(), kOutputJoints), jointValues.begin());
    std::copy_n(velocities.begin(), std::min(velocities.size(), kOutputJoints), jointRates.begin());
  }
  if (refused || !ktAllFinite(jointValues) || !ktAllFinite(jointRates)) {
    jointValues = m_lastJointValues;
    jointRates = m_lastJointRates;
    return false;
  }
  // Copies into storage of the outputs' size, which stay inline where vector assignment is a call.
  m_lastJointValues.resize(kOutputJoints);
  m_lastJointRates.resize(kOutputJoints);
  std::copy_n(jointValues.begin(), kOutputJoints, m_lastJointValues.begin());
  std::copy_n(jointRates.begin(), kOutputJoints, m_lastJointRates.begin());
  if (m_renderingOn && m_renderWindow) {
    m_renderWindow->showState(result);
    m_renderWindow->render();
  }
  return true;
}

bool baseControlInterface::computeEndEffectorPose(const std::vector<double>& jointValues,
                                                  coordinateSystemTransformation& pose) const {
  if (!m_statedSystem || !m_positionControlContainer) return false;
  if (m_statedSystem->system().size() == 0 || m_statedSystem->state().positionStates().empty()) return false;
  const KtEndEffectorSet* set = armEndEffectorSet(*m_positionControlContainer);
  if (set == nullptr || set->size() == 0) return false;
  const KtIndividualManipulator& arm = m_statedSystem->system().manipulator(0);
  KtPositionState position = m_statedSystem->state().positionStates()[0];
  if (!ktCopyJointValues(arm, position.jointPositions(), jointValues)) return false;
  KtManipulatorActiveState active;
  active.activePositionState().synchronize(arm);
  active.activePositionState().setPositionState(position);
  coordinateSystemTransformation placement;
  if (!set->endEffector(0).calculatePlacement(arm, active, placement)) return false;
  pose = ktConvertByMode(placement);
  return true;
}

bool baseControlInterface::getLastActualEndEffectorPose(coordinateSystemTransformation& pose) const {
  if (!m_positionControlContainer) return false;
  coordinateSystemTransformation placement;
  if (!m_positionControlContainer->actualPlacement(0, 0, placement)) return false;
  pose = ktConvertByMode(placement);
  return true;
}

double baseControlInterface::endEffectorMotionThreshold(unsigned long endEffectorIndex) const {
  if (!m_positionControlContainer) return 0.0;
  const KtEndEffectorSet* set = armEndEffectorSet(*m_positionControlContainer);
  if (set == nullptr || endEffectorIndex >= set->size()) return 0.0;
  return set->endEffector(endEffectorIndex).motionThreshold();
}

void baseControlInterface::setEndEffectorMotionThreshold(double threshold, unsigned long endEffectorIndex) {
  editArmEndEffector(m_positionControlContainer.get(), endEffectorIndex,
                     [threshold](KtEndEffector& e) { e.setMotionThreshold(threshold); });
}

void baseControlInterface::setIsHardConstraint(bool isHardConstraint, unsigned long endEffectorIndex) {
  editArmEndEffector(m_positionControlContainer.get(), endEffectorIndex,
                     [isHardConstraint](KtEndEffector& e) { e.setIsHardConstraint(isHardConstraint); });
}

bool baseControlInterface::loadAndApplyNewEndEffectorSet(const KtString& filename) {
  KtEndEffectorSet set;
  if (!ktReadWithDataFallback(set, filename)) return false;
  if (!m_positionControlContainer) return false;
  KtEndEffectorSet* installed = armEndEffectorSet(*m_positionControlContainer);
  if (installed == nullptr) return false;
  *installed = set;
  return true;
}

bool baseControlInterface::loadAndApplyNewControlSystem(const KtString& filename) {
  m_controlSystemFilename = filename;
  KtPositionControlContainer loaded;
  if (!ktReadWithDataFallback(loaded, filename)) return false;
  if (!m_positionControlContainer || !m_statedSystem) return false;
  // Manipulators added since the system was read (shapes, the customer) keep a control
  // description under the new control as well.
  ktAddControlUpTo(loaded, m_statedSystem->system().size());
  *m_positionControlContainer = loaded;
  m_positionControlContainer->bind(*m_statedSystem);
  return true;
}

bool baseControlInterface::setCustomerPose(const coordinateSystemTransformation& pose) {
  if (!m_statedSystem || !m_positionControlContainer) return false;
  const std::size_t count = m_statedSystem->system().size();
  bool result = false;
  if (count > 1) {
    const int customer = static_cast<int>(count - 1);
    const coordinateSystemTransformation converted = ktConvertByMode(pose);
    m_statedSystem->setIndividualCoordinateSystemTransformation(customer, converted);
    CustomerWorkingState& working = customerWorkingState();
    if (!working.taken) {
      const KtStatedSystem* bound = m_positionControlContainer->system().statedSystem();
      working.state = (bound != nullptr ? *bound : *m_statedSystem).state();
      working.taken = true;
    }
    if (count - 1 < working.state.positionStates().size())
      working.state.positionStates()[count - 1].setCoordinateSystemTransform(converted);
    m_positionControlContainer->updateState(working.state, kCustomerAssimilationRate);
    result = true;
  }
  if (m_renderingOn && m_renderWindow) {
    const KtStatedSystem* bound = m_positionControlContainer->system().statedSystem();
    m_renderWindow->showState((bound != nullptr ? *bound : *m_statedSystem).state());
    if (!m_renderWindow->render()) result = false;
  }
  return result;
}

const coordinateSystemTransformation& baseControlInterface::customerPose() const {
  if (!m_statedSystem) return coordinateSystemTransformation::identity();
  const std::size_t count = m_statedSystem->system().size();
  const std::vector<KtPositionState>& positions = m_statedSystem->state().positionStates();
  if (count <= 1 || positions.size() < count) return coordinateSystemTransformation::identity();
  coordinateSystemTransformation& shared = sharedCustomerPose();
  shared = ktConvertByMode(positions[count - 1].coordinateSystemTransform());
  return shared;
}

bool baseControlInterface::getLastManipulatorToCustomerDistance(double& distance, Vector& armPoint,
                                                                Vector& customerPoint,
                                                                unsigned long selector) const {
  if (!m_statedSystem) return false;
  Vector first, second;
  distance = m_statedSystem->manipulatorDistance(0, 1, 0.0, kDistanceCutoff, first, second, 0, selector);
  armPoint = first;
  customerPoint = second;
  return distance < kDistanceCutoff;
}

unsigned long baseControlInterface::addShape(const KtShape& shape, const coordinateSystemTransformation& pose,
                                             const KtString& name) {
  if (!m_statedSystem || !m_positionControlContainer) return 0;
  const std::size_t index = m_statedSystem->addShapeManipulator(shape, ktConvertByMode(pose), name);
  if (index == 0) return 0;
  ktAddControlUpTo(*m_positionControlContainer, index + 1);
  m_positionControlContainer->bind(*m_statedSystem);
  if (m_renderingOn && m_renderWindow) {
    const KtViewerParameters parameters = m_renderWindow->viewerParameters();
    m_renderWindow->setSystem(*m_statedSystem, parameters);
    m_renderWindow->render();
  }
  return index;
}

bool baseControlInterface::getPropagationResults(KtPropagationResultData& results) const {
  if (m_positionControlContainer && !m_positionControlContainer->propagationResults().empty()) {
    results = m_positionControlContainer->propagationResults()[0];
    return true;
  }
  results.clear();
  return false;
}

bool baseControlInterface::getCraigDhParameters(std::vector<std::vector<double>>& rows) const {
  rows.clear();
  if (!m_statedSystem || !m_positionControlContainer || m_statedSystem->system().size() == 0) return false;
  const KtIndividualManipulator& arm = m_statedSystem->system().manipulator(0);
  for (std::size_t i = 0; i < arm.jointDof(); ++i) rows.push_back(craigRow(arm.link(i)));
  return true;
}

void baseControlInterface::turnOffRendering() {
  m_renderingOn = false;
  m_renderWindow.reset();
}

void baseControlInterface::sleep(double seconds) {
  // Truncated toward zero; a negative or undefined time sleeps not at all, and one beyond the
  // counter's range as long as it can.
  const double milliseconds = std::trunc(seconds * 1000.0);
  constexpr auto longest = std::numeric_limits<unsigned long>::max();
  unsigned long count = 0;
  if (milliseconds >= static_cast<double>(longest))
    count = longest;
  else if (milliseconds > 0.0)
    count = static_cast<unsigned long>(milliseconds);
  ktSleepMilliseconds(count);
}

}  // namespace Kt

#include "control/controlInterface.h"

#include "control/KtControlSupport.h"
#include "manipulator/KtStatedSystem.h"
#include "motion/position/KtPositionControlContainer.h"
#include "render/KtRenderWindow.h"
#include "simulation/KtSystemSimulation.h"

namespace {

// This class's own loaded system, shared by all its objects and apart from the base class's.
KtVisualizableStatedSystem& loadedSystem() {
  static KtVisualizableStatedSystem system;
  return system;
}

}  // namespace

namespace orlix {

controlInterface::controlInterface() : m_systemSimulation(std::make_unique<KtSystemSimulation>()) {}

controlInterface::controlInterface(const controlInterface& other)
    : Kt::baseControlInterface(other),
      m_systemSimulation(std::make_unique<KtSystemSimulation>()),
      m_configurationFilename(other.m_configurationFilename) {}

controlInterface& controlInterface::operator=(const controlInterface& other) {
  Kt::baseControlInterface::operator=(other);
  m_configurationFilename = other.m_configurationFilename;
  return *this;
}

controlInterface::~controlInterface() = default;

bool controlInterface::initializeAll(const std::vector<double>& initialJointValues,
                                     const Kt::coordinateSystemTransformation& basePose) {
  releaseOwned();
  KtVisualizableStatedSystem& loaded = loadedSystem();
  if (m_configurationFilename.empty())
    return initializeFromSeparateFiles(loaded, initialJointValues, basePose);
  *m_systemSimulation = KtSystemSimulation();
  if (!m_systemSimulation->readFromFile(m_configurationFilename)) return false;
  m_systemSimulation->copyVisualizableStatedSystem(loaded);
  return completeInitialization(loaded, m_systemSimulation->positionControlContainer(), initialJointValues,
                                basePose);
}

bool controlInterface::setDesiredEndEffectorPose(const Kt::coordinateSystemTransformation& pose,
                                                 unsigned long endEffectorIndex) {
  if (!m_positionControlContainer) return false;
  return m_positionControlContainer->setDesiredPlacement(0, static_cast<int>(endEffectorIndex),
                                                         ktConvertByMode(pose));
}

}  // namespace orlix

#include "control/KtControlSupport.h"

#include <algorithm>
#include <span>
#include <utility>

#include "foundation/MathUtil.h"
#include "foundation/Sleep.h"
#include "manipulator/KtStatedSystem.h"
#include "math/Finite.h"
#include "motion/position/KtPositionControlContainer.h"
#include "xml/KtXmlFile.h"

Kt::coordinateSystemTransformation ktConvertByMode(const Kt::coordinateSystemTransformation& pose) {
  switch (pose.mode()) {
    case Kt::coordinateSystemTransformation::modeGeneral:
      return Kt::coordinateSystemTransformation(pose.translation(), pose.orientation());
    case Kt::coordinateSystemTransformation::modeRotation:
      return Kt::coordinateSystemTransformation(pose.orientation());
    case Kt::coordinateSystemTransformation::modeTranslation:
      return Kt::coordinateSystemTransformation(pose.translation());
    default:
      return Kt::coordinateSystemTransformation();
  }
}

bool ktReadWithDataFallback(KtXmlObject& object, const KtString& name) {
  return ktReadObjectFromFile(object, name) || ktReadObjectFromFile(object, "../data/" + name);
}

bool ktCopyJointValues(const KtIndividualManipulator& arm, std::vector<KtReal>& jointPositions,
                       const std::vector<double>& values) {
  const std::size_t count = std::min(jointPositions.size(), values.size());
  if (!ktAllFinite(std::span<const double>(values.data(), count))) return false;
  for (std::size_t j = 0; j < count; ++j) jointPositions[j] = arm.heldInLimits(j, values[j]);
  return true;
}

bool ktApplyJointsAndBasePose(KtStatedSystem& stated, const std::vector<double>& values,
                              const Kt::coordinateSystemTransformation& basePose) {
  if (stated.state().positionStates().empty() || stated.system().size() == 0) return true;
  if (!ktIsFinite(basePose)) return false;
  KtPositionState& arm = stated.state().positionStates()[0];
  if (!ktCopyJointValues(stated.system().manipulator(0), arm.jointPositions(), values)) return false;
  arm.setCoordinateSystemTransform(ktConvertByMode(basePose));
  return true;
}

void ktAddControlUpTo(KtPositionControlContainer& container, std::size_t manipulatorCount) {
  KtVelocityControlSystem& control = container.system().velocityControlSystem();
  if (control.manipulatorCount() < manipulatorCount) control.setManipulatorCount(manipulatorCount);
}

namespace {

KtMillisecondSleep& currentSleep() {
  static KtMillisecondSleep sleep = &KtSLEEPMS;
  return sleep;
}

}  // namespace

KtMillisecondSleep ktSetMillisecondSleep(KtMillisecondSleep sleep) {
  return std::exchange(currentSleep(), sleep != nullptr ? sleep : &KtSLEEPMS);
}

void ktSleepMilliseconds(unsigned long milliseconds) { currentSleep()(milliseconds); }

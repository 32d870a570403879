#include "control/KtControlSupport.h"

#include <algorithm>
#include <utility>

#include "foundation/Sleep.h"
#include "manipulator/KtManipulatorSystemState.h"
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

void ktCopyJointValues(std::vector<KtReal>& jointPositions, const std::vector<double>& values) {
  const std::size_t count = std::min(jointPositions.size(), values.size());
  std::copy_n(values.begin(), count, jointPositions.begin());
}

void ktApplyJointsAndBasePose(KtManipulatorSystemState& state, const std::vector<double>& values,
                              const Kt::coordinateSystemTransformation& basePose) {
  if (state.positionStates().empty()) return;
  KtPositionState& arm = state.positionStates()[0];
  ktCopyJointValues(arm.jointPositions(), values);
  arm.setCoordinateSystemTransform(ktConvertByMode(basePose));
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

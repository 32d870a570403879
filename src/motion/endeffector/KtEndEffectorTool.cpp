#include "motion/endeffector/KtEndEffectorTool.h"

#include "foundation/Print.h"

bool KtEndEffectorTool::calcEndEffectorPlacement(KtManipulatorActiveState& state,
                                                 Kt::coordinateSystemTransformation& placement) const {
  if (m_manipulator == nullptr || m_endEffector == nullptr) {
    ktPrint(
        KtSeverity::Error,
        "KtEndEffectorTool::calcEndEffectorPlacement(): attempt to calculate end-effector placement without "
        "valid manipulator and end-effector\n");
    return false;
  }
  return m_endEffector->calculatePlacement(*m_manipulator, state, placement);
}

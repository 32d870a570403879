#pragma once

#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "math/coordinateSystemTransformation.h"
#include "motion/endeffector/KtEndEffector.h"

// Pairs a manipulator with one of its end effectors, both owned by the caller, so that the
// end effector's placement can be asked for with the state alone.
class KtEndEffectorTool {
 public:
  KtEndEffectorTool() = default;
  KtEndEffectorTool(const KtIndividualManipulator* manipulator, const KtEndEffector* endEffector)
      : m_manipulator(manipulator), m_endEffector(endEffector) {}

  const KtIndividualManipulator* manipulator() const { return m_manipulator; }
  void setManipulator(const KtIndividualManipulator* manipulator) { m_manipulator = manipulator; }
  const KtEndEffector* endEffector() const { return m_endEffector; }
  void setEndEffector(const KtEndEffector* endEffector) { m_endEffector = endEffector; }

  // The end effector's placement in the state; false (placement unchanged) without both
  // objects or when the end effector cannot place itself.
  bool calcEndEffectorPlacement(KtManipulatorActiveState& state,
                                Kt::coordinateSystemTransformation& placement) const;

 private:
  const KtIndividualManipulator* m_manipulator = nullptr;
  const KtEndEffector* m_endEffector = nullptr;
};

#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtStatedSystem.h"
#include "math/ReArray.h"

class KtEndEffectorSet;

// What a control expression is evaluated for: one manipulator of a stated system in its
// current state, under one control description. The description fills it once per control
// step; expressions only read it.
//
// Joint-space columns are the manipulator's joints in index order, then, for a free base,
// six base columns (translation along, then rotation about the system's x, y, z), as the
// end-effector Jacobians order them. `jacobian` is the stacked Jacobian of the description's
// end-effector set for this state (rowCount x columnCount) and `endEffectorVelocities` the
// stacked commanded velocities in set order (rowCount entries); both are valid for the step.
struct KtControlContext {
  const KtStatedSystem* stated = nullptr;
  int manipulatorIndex = 0;
  const KtIndividualManipulator* manipulator = nullptr;
  KtManipulatorActiveState* state = nullptr;
  const KtEndEffectorSet* endEffectorSet = nullptr;
  bool isFixedBase = true;
  std::size_t columnCount = 0;
  std::size_t rowCount = 0;
  const Kt::ReArray* jacobian = nullptr;
  const std::vector<KtReal>* endEffectorVelocities = nullptr;
  // The length of the control step in seconds, for expressions with a memory (filters); 0
  // when the caller has none.
  KtReal timeStep = 0.0;
};

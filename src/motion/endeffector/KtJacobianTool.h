#pragma once

#include <cstddef>

#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "math/ReArray.h"

class KtEndEffectorSet;

// Builds the stacked Jacobian of an end-effector set: one row per constraint row of the set's
// end effectors in set order, one column per joint of the manipulator, then six base columns
// when the base is free. The matrix is kept from call to call, so its storage is allocated
// only when the row or column count changes.
class KtJacobianTool {
 public:
  // Zeroes the matrix (reshaped to the set's rows and the manipulator's columns) and lets
  // every end effector write its rows from its first row on.
  const Kt::ReArray& calculate(const KtEndEffectorSet& set, const KtIndividualManipulator& manipulator,
                               bool isFixedBase, KtManipulatorActiveState& state);
  const Kt::ReArray& jacobian() const { return m_jacobian; }

  static std::size_t columnCount(const KtIndividualManipulator& manipulator, bool isFixedBase) {
    return manipulator.jointDof() + (isFixedBase ? 0 : 6);
  }

 private:
  Kt::ReArray m_jacobian;
};

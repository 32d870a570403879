#pragma once

#include <cstddef>
#include <utility>

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
  // Hands the last matrix over to `kept` and takes kept's storage in its place: a caller keeps
  // the matrix without copying it, and the next calculation reuses that storage when its shape fits.
  void exchange(Kt::ReArray& kept) {
    // Shaped like this matrix first, kept's storage fits the next calculation when it comes back.
    if (kept.rows() != m_jacobian.rows() || kept.columns() != m_jacobian.columns())
      kept.setToZeros(m_jacobian.rows(), m_jacobian.columns());
    std::swap(m_jacobian, kept);
  }

  static std::size_t columnCount(const KtIndividualManipulator& manipulator, bool isFixedBase) {
    return manipulator.jointDof() + (isFixedBase ? 0 : 6);
  }

 private:
  Kt::ReArray m_jacobian;
};

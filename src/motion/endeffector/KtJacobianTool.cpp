#include "motion/endeffector/KtJacobianTool.h"

#include <algorithm>

#include "motion/endeffector/KtEndEffectorSet.h"

namespace {

// The row's first `columns` entries become zero. For the joint counts of common arms the count
// is a constant, which turns the fill into a few stores where a run-time count calls memset.
void zeroRow(KtReal* row, std::size_t columns) {
  switch (columns) {
    case 6:
      std::fill_n(row, 6, 0.0);
      return;
    case 7:
      std::fill_n(row, 7, 0.0);
      return;
    default:
      std::fill_n(row, columns, 0.0);
  }
}

}  // namespace

const Kt::ReArray& KtJacobianTool::calculate(const KtEndEffectorSet& set,
                                             const KtIndividualManipulator& manipulator, bool isFixedBase,
                                             KtManipulatorActiveState& state) {
  const std::size_t rows = set.totalRowCount(), columns = columnCount(manipulator, isFixedBase);
  if (m_jacobian.rows() == rows && m_jacobian.columns() == columns) {
    // The usual step: the same shape, zeroed in place row by row.
    for (std::size_t r = 0; r < rows; ++r) zeroRow(m_jacobian[r].data(), columns);
  } else {
    m_jacobian.setToZeros(rows, columns);
  }
  for (std::size_t i = 0; i < set.size(); ++i) {
    const KtEndEffector& endEffector = set.endEffector(i);
    endEffector.insertJacobianComponent(manipulator, set.firstRow(i), endEffector.relativeLinkData(),
                                        isFixedBase, state, m_jacobian);
  }
  return m_jacobian;
}

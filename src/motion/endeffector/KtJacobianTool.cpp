#include "motion/endeffector/KtJacobianTool.h"

#include <algorithm>

#include "motion/endeffector/KtEndEffectorSet.h"

const Kt::ReArray& KtJacobianTool::calculate(const KtEndEffectorSet& set,
                                             const KtIndividualManipulator& manipulator, bool isFixedBase,
                                             KtManipulatorActiveState& state) {
  const std::size_t rows = set.totalRowCount(), columns = columnCount(manipulator, isFixedBase);
  if (m_jacobian.rows() == rows && m_jacobian.columns() == columns) {
    // The usual step: the same shape, zeroed in place row by row.
    for (std::size_t r = 0; r < rows; ++r) {
      KtReal* const row = m_jacobian[r].data();
      std::fill(row, row + columns, 0.0);
    }
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

#include "motion/endeffector/KtJacobianTool.h"

#include "motion/endeffector/KtEndEffectorSet.h"

const Kt::ReArray& KtJacobianTool::calculate(const KtEndEffectorSet& set,
                                             const KtIndividualManipulator& manipulator, bool isFixedBase,
                                             KtManipulatorActiveState& state) {
  // Zeroing in place reuses every row's storage while the shape stays.
  m_jacobian.setToZeros(set.totalRowCount(), columnCount(manipulator, isFixedBase));
  for (std::size_t i = 0; i < set.size(); ++i) {
    const KtEndEffector& endEffector = set.endEffector(i);
    endEffector.insertJacobianComponent(manipulator, set.firstRow(i), endEffector.relativeLinkData(),
                                        isFixedBase, state, m_jacobian);
  }
  return m_jacobian;
}

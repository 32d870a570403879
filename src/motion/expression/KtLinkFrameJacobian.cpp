#include "motion/expression/KtLinkFrameJacobian.h"

void KtLinkFrameJacobian::prepare(const KtControlContext& context, std::size_t linkIndex) {
  m_linkIndex = linkIndex;
  m_jointCount = context.manipulator->jointDof();
  m_jacobian.setToZeros(6, context.columnCount);
}

bool KtLinkFrameJacobian::update(const KtControlContext& context) {
  const KtIndividualManipulator& manipulator = *context.manipulator;
  KtManipulatorActiveState& state = *context.state;
  const Kt::Vector point = manipulator.link(m_linkIndex).primaryFrameInSystem(state).translation();
  if (!KtJointColumns::write(manipulator, state, m_linkIndex, point, KtJacobianRows::both, m_jacobian, 0))
    return false;
  return context.isFixedBase ||
         KtJointColumns::writeFreeBase(manipulator, state, point, KtJacobianRows::both, m_jacobian, 0);
}

KtJointColumn KtLinkFrameJacobian::column(std::size_t c) const {
  const Kt::ReArray& j = m_jacobian;
  return {Kt::Vector(j[0][c], j[1][c], j[2][c]), Kt::Vector(j[3][c], j[4][c], j[5][c])};
}

KtJointColumn KtLinkFrameJacobian::columnRate(std::size_t k, std::size_t c) const {
  const bool baseTranslation = k >= m_jointCount && k < m_jointCount + 3;
  if (baseTranslation) return {};
  const KtJointColumn moving = column(k), moved = column(c);
  const bool turnsAxis = c < m_jointCount && (k <= c || k >= m_jointCount);
  if (turnsAxis) return {moving.angular.cross(moved.linear), moving.angular.cross(moved.angular)};
  return {moved.angular.cross(moving.linear), Kt::Vector()};
}

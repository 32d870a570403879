// Writing joint and free-base columns into a caller's Jacobian.
#include "manipulator/KtJointColumns.h"

#include "foundation/Print.h"

namespace {

std::size_t rowCount(KtJacobianRows rows) { return rows == KtJacobianRows::both ? 6 : 3; }

// Stores the selected parts of a column into column `index`, from row firstRow on.
void store(const Kt::Vector& linear, const Kt::Vector& angular, KtJacobianRows rows, Kt::ReArray& jacobian,
           std::size_t firstRow, std::size_t index) {
  std::size_t row = firstRow;
  if (rows != KtJacobianRows::angular)
    for (std::size_t k = 0; k < 3; ++k) jacobian[row++][index] = linear[k];
  if (rows != KtJacobianRows::linear)
    for (std::size_t k = 0; k < 3; ++k) jacobian[row++][index] = angular[k];
}

}  // namespace

bool KtJointColumns::linkIndexValid(const KtIndividualManipulator& manipulator, std::size_t linkIndex,
                                    const char* operation) {
  if (linkIndex < manipulator.jointDof()) return true;
  ktPrint(KtSeverity::Error, "KtJointColumns::%s(): link index %zu out of range %zu.\n", operation, linkIndex,
          manipulator.jointDof());
  return false;
}

bool KtJointColumns::blockFits(const Kt::ReArray& jacobian, std::size_t firstRow, KtJacobianRows rows,
                               std::size_t columnCount, const char* operation) {
  if (firstRow + rowCount(rows) <= jacobian.rows() && columnCount <= jacobian.columns()) return true;
  ktPrint(KtSeverity::Error,
          "KtJointColumns::%s(): rows %zu to %zu and %zu columns do not fit a %zu x %zu matrix.\n", operation,
          firstRow, firstRow + rowCount(rows) - 1, columnCount, jacobian.rows(), jacobian.columns());
  return false;
}

namespace {

// R·v for the rotation R whose columns the record holds.
Kt::Vector rotate(const KtLinkFrames& record, const Kt::Vector& v) {
  Kt::Vector result;
  for (std::size_t r = 0; r < 3; ++r) {
    result[r] = record.columns[KtLinkFrames::xAxis][r] * v.x() +
                record.columns[KtLinkFrames::yAxis][r] * v.y() +
                record.columns[KtLinkFrames::zAxis][r] * v.z();
  }
  return result;
}

}  // namespace

KtJointColumn KtJointColumns::fromRecordOfAnyJoint(const KtManipulatorLink& link, const KtLinkFrames& record,
                                                   const KtJointPlan& plan, const Kt::Vector& point) {
  const Kt::Vector offset = point - record.column(KtLinkFrames::origin);
  KtJointColumn column;
  if (plan.halfAngleRow != nullptr) {
    column = {rotate(record, plan.unitLinear), rotate(record, plan.unitAngular)};
  } else {
    KtGeneralMotion unit;
    link.kinematics().getUnitFrameMotion(unit);
    column = {rotate(record, unit.linear()), rotate(record, unit.angular())};
  }
  column.linear += column.angular.cross(offset);
  return column;
}

// The columns of the whole chain come from the frames that one query brings up to date, read
// from the records, whose matrices hold the joint axes; the rows are looked up once rather than
// per entry.
bool KtJointColumns::write(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                           std::size_t linkIndex, const Kt::Vector& point, KtJacobianRows rows,
                           Kt::ReArray& jacobian, std::size_t firstRow) {
  if (!linkIndexValid(manipulator, linkIndex, "write") ||
      !blockFits(jacobian, firstRow, rows, manipulator.jointDof(), "write"))
    return false;
  const KtManipulatorLink& last = manipulator.link(linkIndex);
  last.dhFrameInSystem(state);
  KtReal* target[6];
  for (std::size_t k = 0; k < rowCount(rows); ++k) target[k] = jacobian[firstRow + k].data();
  writeChain(last, state.activePositionState(), point, rows, target);
  return true;
}

namespace {

// Writes the six rows of the joints that turn about their own z axis, from `link` toward the
// base, and returns the first link it leaves (the base's side, or a joint of another kind).
// The row pointers and the point are held in locals and each record is read whole before
// anything is stored: the stores could otherwise alias them and force reloads for every joint.
const KtManipulatorLink* writeTurnsAboutOwnZ(const KtManipulatorLink* link,
                                             const KtManipulatorActivePositionState& positions,
                                             const Kt::Vector& point, KtReal* const* target) {
  KtReal *const linearX = target[0], *const linearY = target[1], *const linearZ = target[2];
  KtReal *const angularX = target[3], *const angularY = target[4], *const angularZ = target[5];
  const KtReal px = point.x(), py = point.y(), pz = point.z();
  for (; link->linkIndex() >= 0; link = link->parentLink()) {
    const auto index = static_cast<std::size_t>(link->linkIndex());
    if (!positions.jointPlan(index).turnsAboutOwnZ) break;
    const KtLinkFrames& record = positions.linkFrames(index);
    const KtReal* const axis = record.columns[KtLinkFrames::zAxis];
    const KtReal* const origin = record.columns[KtLinkFrames::origin];
    const KtReal ax = axis[0], ay = axis[1], az = axis[2];
    const KtReal rx = px - origin[0], ry = py - origin[1], rz = pz - origin[2];
    // KtJointColumns::fromRecord's arithmetic exactly.
    linearX[index] = ay * rz - az * ry;
    linearY[index] = az * rx - ax * rz;
    linearZ[index] = ax * ry - ay * rx;
    angularX[index] = ax;
    angularY[index] = ay;
    angularZ[index] = az;
  }
  return link;
}

}  // namespace

// The usual chain, all six rows of joints turning about their own z axes, goes through the
// short loop above; a joint of another kind, and every joint for fewer rows, through
// fromRecord.
void KtJointColumns::writeChain(const KtManipulatorLink& last,
                                const KtManipulatorActivePositionState& positions, const Kt::Vector& point,
                                KtJacobianRows rows, KtReal* const* target) {
  const std::size_t firstAngular = rows == KtJacobianRows::angular ? 0 : 3;
  const KtManipulatorLink* link = &last;
  while (true) {
    if (rows == KtJacobianRows::both) link = writeTurnsAboutOwnZ(link, positions, point, target);
    if (link->linkIndex() < 0) return;
    const auto index = static_cast<std::size_t>(link->linkIndex());
    const KtJointColumn column =
        fromRecord(*link, positions.linkFrames(index), positions.jointPlan(index), point);
    if (rows != KtJacobianRows::angular)
      for (std::size_t k = 0; k < 3; ++k) target[k][index] = column.linear[k];
    if (rows != KtJacobianRows::linear)
      for (std::size_t k = 0; k < 3; ++k) target[firstAngular + k][index] = column.angular[k];
    link = link->parentLink();
  }
}

bool KtJointColumns::writeFreeBase(const KtIndividualManipulator& manipulator,
                                   KtManipulatorActiveState& state, const Kt::Vector& point,
                                   KtJacobianRows rows, Kt::ReArray& jacobian, std::size_t firstRow) {
  const std::size_t n = manipulator.jointDof();
  if (!blockFits(jacobian, firstRow, rows, n + 6, "writeFreeBase")) return false;
  const Kt::Vector r =
      point - state.activePositionState().positionState().coordinateSystemTransform().translation();
  for (std::size_t k = 0; k < 6; ++k) {
    const KtJointColumn column = freeBase(k, r);
    store(column.linear, column.angular, rows, jacobian, firstRow, n + k);
  }
  return true;
}

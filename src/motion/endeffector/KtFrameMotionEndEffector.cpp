#include "motion/endeffector/KtFrameMotionEndEffector.h"

#include <cmath>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"

namespace {

// Component k of a six-entry motion: linear x, y, z, then angular x, y, z.
KtReal motionComponent(const Kt::Vector& linear, const Kt::Vector& angular, std::size_t k) {
  return k < 3 ? linear[k] : angular[k - 3];
}

// Squared lengths of the kept linear and angular parts of the error first⁻¹·second, in first's axes.
struct KeptError {
  KtReal linearSquared = 0.0;
  KtReal angularSquared = 0.0;
};

KeptError keptError(const KtFrameMotionEndEffector::Layout& rows,
                    const Kt::coordinateSystemTransformation& first,
                    const Kt::coordinateSystemTransformation& second) {
  const Kt::coordinateSystemTransformation error = first.inverse() * second;
  KtReal angle = 0.0;
  Kt::Vector axis;
  error.orientation().getAngleAxis(angle, axis);
  const Kt::Vector rotation = axis * angle;
  KeptError kept;
  for (std::size_t r = 0; r < rows.rowCount; ++r) {
    const std::size_t k = rows.components[r];
    const KtReal value = motionComponent(error.translation(), rotation, k);
    (k < 3 ? kept.linearSquared : kept.angularSquared) += value * value;
  }
  return kept;
}

// Takes a motion (linear at the rows' point, angular; system axes) to the rows' entries: the
// kept components, in system axes or in those of the end-effector frame. The frame's axes are
// worked out once as a matrix, which turns each motion with a few multiply-adds.
class RowProjection {
 public:
  RowProjection(const KtFrameMotionEndEffector::Layout& rows, const Kt::Orientation& frame) : m_rows(rows) {
    if (rows.axes == KtFrameMotionEndEffector::RowAxes::endEffectorFrame)
      frame.getDcmColumns(m_axes[0], m_axes[1], m_axes[2]);
  }
  void operator()(const Kt::Vector& linear, const Kt::Vector& angular, KtReal* rows) const {
    KtReal six[6];
    for (std::size_t k = 0; k < 3; ++k) {
      const bool system = m_rows.axes == KtFrameMotionEndEffector::RowAxes::system;
      six[k] = system ? linear[k] : m_axes[k].dot(linear);
      six[3 + k] = system ? angular[k] : m_axes[k].dot(angular);
    }
    for (std::size_t r = 0; r < m_rows.rowCount; ++r) rows[r] = six[m_rows.components[r]];
  }

 private:
  const KtFrameMotionEndEffector::Layout& m_rows;
  Kt::Vector m_axes[3];
};

// The rows of a layout as one of the joint columns' blocks, when they are whole linear and/or
// angular parts in system axes, in order.
bool systemBlock(const KtFrameMotionEndEffector::Layout& rows, KtJacobianRows& block) {
  if (rows.axes != KtFrameMotionEndEffector::RowAxes::system || (rows.rowCount != 3 && rows.rowCount != 6))
    return false;
  const std::size_t first = rows.components[0];
  if (first != 0 && !(first == 3 && rows.rowCount == 3)) return false;
  for (std::size_t r = 0; r < rows.rowCount; ++r)
    if (rows.components[r] != first + r) return false;
  block = rows.rowCount == 6 ? KtJacobianRows::both
          : first == 0       ? KtJacobianRows::linear
                             : KtJacobianRows::angular;
  return true;
}

}  // namespace

// The rows' point is usually the frame's origin, which the offset takes to its translation
// without turning a zero vector.
Kt::Vector KtFrameMotionEndEffector::offsetPoint() const {
  const Kt::coordinateSystemTransformation offset = linkOffset();
  const Kt::Vector point = rowPoint();
  return point == Kt::Vector() ? offset.translation() : offset * point;
}

Kt::coordinateSystemTransformation KtFrameMotionEndEffector::endEffectorFrame(
    const KtManipulatorLink& link, KtManipulatorActiveState& state) const {
  return link.primaryFrameInSystem(state) * linkOffset();
}

// The layout, the projection and the target rows are settled once per walk; each column then
// costs its few products and stores.
template <typename Store>
void KtFrameMotionEndEffector::walkColumns(const KtIndividualManipulator& manipulator, const RowWalk& walk,
                                           std::size_t firstRow, bool isFixedBase,
                                           KtManipulatorActiveState& state, Kt::ReArray& matrix,
                                           Store&& store) const {
  const Kt::coordinateSystemTransformation frame = endEffectorFrame(*walk.link, state);
  const Layout& rows = layout();
  const RowProjection project(rows, frame.orientation());
  KtReal* target[6];
  for (std::size_t r = 0; r < rows.rowCount; ++r) target[r] = matrix[firstRow + r].data();
  forEachColumn(manipulator, state, *walk.link, walk.relative, walk.reference, !isFixedBase,
                frame * rowPoint(), [&](std::size_t column, const KtJointColumn& motion) {
                  KtReal entries[6];
                  project(motion.linear, motion.angular, entries);
                  for (std::size_t r = 0; r < rows.rowCount; ++r) store(target[r][column], entries[r]);
                });
}

void KtFrameMotionEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                                       std::size_t firstRow,
                                                       const KtEndEffectorRelativeLinkData& relative,
                                                       bool isFixedBase, KtManipulatorActiveState& state,
                                                       Kt::ReArray& jacobian) const {
  const Layout& rows = layout();
  const RowWalkTexts texts{rows.jacobianOperation, "KtFrameEndEffector::insertJacobianComponent()",
                           kBadFrameLabel, kBadReferenceLink};
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, jacobian, texts, walk)) return;
  const int linkIndex = walk.link->linkIndex();
  KtJacobianRows block;
  if (!walk.relative && systemBlock(rows, block) &&
      (linkIndex < 0 || KtJointColumns::linkRecorded(*walk.link, state))) {
    // The usual rows, whole blocks in system axes on one chain, are written by the joint
    // columns straight from the frame records into the rows; the walk has checked the block.
    // Only the point is needed, so the offset is applied to it rather than composed with the
    // frame, and the frame query brings the chain's records up to date.
    const Kt::Vector point = walk.link->primaryFrameInSystem(state) * offsetPoint();
    if (linkIndex >= 0) {
      KtReal* target[6];
      for (std::size_t r = 0; r < rows.rowCount; ++r) target[r] = jacobian[firstRow + r].data();
      KtJointColumns::writeChain(*walk.link, state.activePositionState(), point, block, target);
    }
    if (!isFixedBase) KtJointColumns::writeFreeBase(manipulator, state, point, block, jacobian, firstRow);
    return;
  }
  walkColumns(manipulator, walk, firstRow, isFixedBase, state, jacobian,
              [](KtReal& entry, KtReal value) { entry = value; });
}

void KtFrameMotionEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                                       std::size_t firstRow,
                                                       const KtEndEffectorRelativeLinkData& relative,
                                                       bool isFixedBase, KtManipulatorActiveState& state,
                                                       Kt::ReArray& sparsity) const {
  const RowWalkTexts texts{layout().sparsityOperation, "KtPointEndEffector::insertSparsityComponent()",
                           kBadPointLabel, kBadReferencePLink};
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, sparsity, texts, walk)) return;
  walkColumns(manipulator, walk, firstRow, isFixedBase, state, sparsity,
              [](KtReal& entry, KtReal) { entry = 1.0; });
}

std::array<KtReal, 6> KtFrameMotionEndEffector::keptComponents(const Kt::Orientation& frame,
                                                               const Kt::Vector& linear,
                                                               const Kt::Vector& angular) const {
  std::array<KtReal, 6> kept{};
  RowProjection(layout(), frame)(linear + angular.cross(frame * rowPoint()), angular, kept.data());
  return kept;
}

bool KtFrameMotionEndEffector::calculateFramePlacement(const KtIndividualManipulator& manipulator,
                                                       KtManipulatorActiveState& state,
                                                       Kt::coordinateSystemTransformation& placement) const {
  const KtManipulatorLink* link = carryingLink(manipulator);
  if (link == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtFrameEndEffector::calculateFramePlacement(): bad label on frame end effector: %s.\n",
            linkIdentifier().c_str());
    return false;
  }
  placement = endEffectorFrame(*link, state);
  return true;
}

bool KtFrameMotionEndEffector::calculatePlacement(const KtIndividualManipulator& manipulator,
                                                  KtManipulatorActiveState& state,
                                                  Kt::coordinateSystemTransformation& placement) const {
  Kt::coordinateSystemTransformation frame;
  if (!calculateFramePlacement(manipulator, state, frame)) return false;
  if (!makeRelative(manipulator, state, frame)) {
    ktPrint(KtSeverity::Error, kBadReferenceLink, "KtFrameEndEffector::calculatePlacement()",
            KtManipulatorLink::kNoIndex);
    return false;
  }
  placement = frame;
  return true;
}

KtReal KtFrameMotionEndEffector::normalizedDistance(const Kt::coordinateSystemTransformation& first,
                                                    const Kt::coordinateSystemTransformation& second) const {
  const KeptError error = keptError(layout(), first, second);
  const KtReal weight = m_motionFilter.angularWeight();
  return std::sqrt(error.linearSquared + weight * weight * error.angularSquared) /
         ktGuardPositive(m_motionFilter.threshold());
}

KtReal KtFrameMotionEndEffector::linearDistance(const Kt::coordinateSystemTransformation& first,
                                                const Kt::coordinateSystemTransformation& second) const {
  return std::sqrt(keptError(layout(), first, second).linearSquared);
}

bool KtFrameMotionEndEffector::feedForwardMotion(const KtEndEffectorVelocityEntries& feedForward,
                                                 Kt::Vector& linear, Kt::Vector& angular) const {
  if (feedForward.empty()) {
    linear = angular = Kt::Vector();
    return true;
  }
  if (feedForward.size() != 6) {
    ktPrint(KtSeverity::Error, "%s", layout().filterSizeMessage);
    return false;
  }
  linear = Kt::Vector(feedForward[0], feedForward[1], feedForward[2]);
  angular = Kt::Vector(feedForward[3], feedForward[4], feedForward[5]);
  return true;
}

void KtFrameMotionEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                                      const Kt::coordinateSystemTransformation& desired,
                                                      const KtEndEffectorVelocityEntries& feedForward,
                                                      KtReal dt, KtEndEffectorVelocityEntries& commanded,
                                                      KtReal& scale) const {
  scale = 1.0;
  Kt::Vector linear, angular;
  if (!feedForwardMotion(feedForward, linear, angular)) return;
  scale = m_motionFilter.filterVelocity(actual, desired, linear, angular, dt, linear, angular);
  const std::array<KtReal, 6> rows = keptComponents(actual.orientation(), linear, angular);
  commanded.assign(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(rowCount()));
}

void KtFrameMotionEndEffector::appendRotationValues(const Kt::Orientation& rotation,
                                                    KtEditingValues& values) {
  KtReal angle = 0.0;
  Kt::Vector axis;
  rotation.getAngleAxis(angle, axis);
  values.emplace_back("angle", editingText(angle));
  values.emplace_back("axis_x", editingText(axis.x()));
  values.emplace_back("axis_y", editingText(axis.y()));
  values.emplace_back("axis_z", editingText(axis.z()));
}

void KtFrameMotionEndEffector::parseRotationValues(const KtEditingValues& values, std::size_t first,
                                                   Kt::Orientation& rotation) {
  KtReal angle = 0.0;
  Kt::Vector axis;
  rotation.getAngleAxis(angle, axis);
  KtReal newAngle = angle;
  Kt::Vector newAxis = axis;
  parseEditingReal(values[first].second, newAngle);
  for (std::size_t k = 0; k < 3; ++k) parseEditingReal(values[first + 1 + k].second, newAxis[k]);
  // The texts are exact, so values as read back leave the rotation untouched rather than
  // rebuilt with new rounding.
  if (newAngle == angle && newAxis == axis) return;
  rotation.setFromAngleAxis(newAngle, newAxis.unitVector());
}

void KtFrameMotionEndEffector::appendFilterValues(KtEditingValues& values) const {
  values.emplace_back("filter_threshold", editingText(m_motionFilter.threshold()));
  values.emplace_back("is_hard_constraint", editingText(isHardConstraint()));
}

void KtFrameMotionEndEffector::parseFilterValues(const KtEditingValues& values, std::size_t first) {
  KtReal threshold = m_motionFilter.threshold();
  parseEditingReal(values[first].second, threshold);
  m_motionFilter.setThreshold(threshold);
  setIsHardConstraint(parseEditingFlag(values[first + 1].second));
}

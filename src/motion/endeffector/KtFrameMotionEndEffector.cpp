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

}  // namespace

template <typename Store>
void KtFrameMotionEndEffector::walkRows(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                                        const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                                        KtManipulatorActiveState& state, const Kt::ReArray& matrix,
                                        const RowWalkTexts& texts, Store&& store) const {
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, matrix, texts, walk)) return;
  const Kt::coordinateSystemTransformation frame = walk.link->primaryFrameInSystem(state) * linkOffset();
  forEachColumn(manipulator, state, *walk.link, walk.relative, walk.reference, !isFixedBase,
                frame * rowPoint(), [&](std::size_t column, const KtJointColumn& motion) {
                  const std::array<KtReal, 6> rows =
                      selectedComponents(frame.orientation(), motion.linear, motion.angular);
                  for (std::size_t r = 0; r < rowCount(); ++r) store(firstRow + r, column, rows[r]);
                });
}

void KtFrameMotionEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                                       std::size_t firstRow,
                                                       const KtEndEffectorRelativeLinkData& relative,
                                                       bool isFixedBase, KtManipulatorActiveState& state,
                                                       Kt::ReArray& jacobian) const {
  const RowWalkTexts texts{layout().jacobianOperation, "KtFrameEndEffector::insertJacobianComponent()",
                           kBadFrameLabel, kBadReferenceLink};
  walkRows(manipulator, firstRow, relative, isFixedBase, state, jacobian, texts,
           [&](std::size_t row, std::size_t column, KtReal value) { jacobian[row][column] = value; });
}

void KtFrameMotionEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                                       std::size_t firstRow,
                                                       const KtEndEffectorRelativeLinkData& relative,
                                                       bool isFixedBase, KtManipulatorActiveState& state,
                                                       Kt::ReArray& sparsity) const {
  const RowWalkTexts texts{layout().sparsityOperation, "KtPointEndEffector::insertSparsityComponent()",
                           kBadPointLabel, kBadReferencePLink};
  walkRows(manipulator, firstRow, relative, isFixedBase, state, sparsity, texts,
           [&](std::size_t row, std::size_t column, KtReal) { sparsity[row][column] = 1.0; });
}

std::array<KtReal, 6> KtFrameMotionEndEffector::selectedComponents(const Kt::Orientation& frame,
                                                                   const Kt::Vector& linear,
                                                                   const Kt::Vector& angular) const {
  const Layout& rows = layout();
  Kt::Vector l = linear, a = angular;
  if (rows.axes == RowAxes::endEffectorFrame) frame.inverse().transform(linear, l, angular, a);
  std::array<KtReal, 6> selected{};
  for (std::size_t r = 0; r < rows.rowCount; ++r) selected[r] = motionComponent(l, a, rows.components[r]);
  return selected;
}

std::array<KtReal, 6> KtFrameMotionEndEffector::keptComponents(const Kt::Orientation& frame,
                                                               const Kt::Vector& linear,
                                                               const Kt::Vector& angular) const {
  return selectedComponents(frame, linear + angular.cross(frame * rowPoint()), angular);
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
  placement = link->primaryFrameInSystem(state) * linkOffset();
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

void KtFrameMotionEndEffector::filterEndEffectorVelocity(const Kt::coordinateSystemTransformation& actual,
                                                         const Kt::coordinateSystemTransformation& desired,
                                                         const KtEndEffectorVelocityEntries& feedForward,
                                                         KtReal dt,
                                                         KtEndEffectorVelocityEntries& commanded) const {
  Kt::Vector linear, angular;
  if (!feedForwardMotion(feedForward, linear, angular)) return;
  m_motionFilter.filterVelocity(actual, desired, linear, angular, dt, linear, angular);
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

#include "motion/endeffector/KtXyEndEffector.h"

#include <array>
#include <cmath>

#include "foundation/MathUtil.h"
#include "motion/endeffector/KtFeedForward.h"
#include "xml/KtXmlNamespaces.h"

namespace {

const KtLinkPointOperations kOperations = {
    "KtXyEndEffector::insertJacobianComponent()", "KtXyEndEffector::insertSparsityComponent()",
    "KtXyEndEffector::calculate2DPointPlacement()", "KtXyEndEffector::calculatePlacement()",
    "KtXyEndEffector::filterEndEffectorVelocity"};

constexpr std::array<const char*, 8> kLabels = {"trans_x", "trans_y", "trans_z", "angle",
                                                "axis_x",  "axis_y",  "axis_z",  "filter_threshold"};

}  // namespace

KtXyEndEffector::KtXyEndEffector()
    : KtXmlCloneable(kOperations, {kLabels[0], kLabels[1], kLabels[2], kLabels[3], kLabels[4], kLabels[5],
                                   kLabels[6], kLabels[7]}) {}

const KtToken& KtXyEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "xyEndEffector");
  return token;
}

void KtXyEndEffector::registerComponents() {
  KtLinkPointEndEffector::registerComponents();
  static const KtToken orientation(ktNamespaceCt, "xyOrientation");
  registerComponent(orientation, m_xyOrientation);
  registerErrorWeight();
}

KtPlanarVector KtXyEndEffector::planeCoordinates(const Kt::Vector& v) const {
  const Kt::Orientation& plane = m_xyOrientation.value();
  return {plane.xAxis().dot(v), plane.yAxis().dot(v)};
}

void KtXyEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                              std::size_t firstRow,
                                              const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                                              KtManipulatorActiveState& state, Kt::ReArray& jacobian) const {
  forEachPointColumn(false, manipulator, firstRow, relative, isFixedBase, state, jacobian,
                     [&](std::size_t column, const Kt::Vector& linear) {
                       const KtPlanarVector rows = planeCoordinates(linear);
                       for (std::size_t k = 0; k < 2; ++k) jacobian[firstRow + k][column] = rows[k];
                     });
}

void KtXyEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                              std::size_t firstRow,
                                              const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                                              KtManipulatorActiveState& state, Kt::ReArray& sparsity) const {
  forEachPointColumn(true, manipulator, firstRow, relative, isFixedBase, state, sparsity,
                     [&](std::size_t column, const Kt::Vector&) {
                       for (std::size_t k = 0; k < 2; ++k) sparsity[firstRow + k][column] = 1.0;
                     });
}

bool KtXyEndEffector::calculate2DPointPlacement(const KtIndividualManipulator& manipulator,
                                                KtManipulatorActiveState& state,
                                                KtPlanarVector& coordinates) const {
  Kt::Vector point;
  if (!systemPoint(manipulator, state, point)) return false;
  coordinates = planeCoordinates(point);
  return true;
}

KtReal KtXyEndEffector::linearDistance(const Kt::coordinateSystemTransformation& first,
                                       const Kt::coordinateSystemTransformation& second) const {
  const KtPlanarVector d = planeCoordinates(second.translation() - first.translation());
  return std::hypot(d[0], d[1]);
}

KtReal KtXyEndEffector::normalizedDistance(const Kt::coordinateSystemTransformation& first,
                                           const Kt::coordinateSystemTransformation& second) const {
  return linearDistance(first, second) / ktGuardPositive(motionThreshold());
}

KtEditingValues KtXyEndEffector::editingValues() const {
  KtReal angle = 0.0;
  Kt::Vector axis;
  m_xyOrientation.value().getAngleAxis(angle, axis);
  const std::array<std::string, 8> texts = {editingText(point().x()), editingText(point().y()),
                                            editingText(point().z()), editingText(angle),
                                            editingText(axis.x()),    editingText(axis.y()),
                                            editingText(axis.z()),    editingText(motionThreshold())};
  KtEditingValues values;
  for (std::size_t i = 0; i < kLabels.size(); ++i) values.emplace_back(kLabels[i], texts[i]);
  return values;
}

void KtXyEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != kLabels.size()) return;
  Kt::Vector p = point();
  KtReal angle = 0.0;
  Kt::Vector axis;
  m_xyOrientation.value().getAngleAxis(angle, axis);
  KtReal threshold = motionThreshold();
  for (std::size_t k = 0; k < 3; ++k) {
    parseEditingReal(values[k].second, p[k]);
    parseEditingReal(values[4 + k].second, axis[k]);
  }
  parseEditingReal(values[3].second, angle);
  parseEditingReal(values[7].second, threshold);
  Kt::Orientation orientation;
  if (axis.magSquared() > 0.0) {
    axis.normalize();
    orientation.setFromAngleAxis(angle, axis);
  }
  setPoint(p);
  setXyOrientation(orientation);
  setMotionThreshold(threshold);
}

void KtXyEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                             const Kt::coordinateSystemTransformation& desired,
                                             const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                                             KtEndEffectorVelocityEntries& commanded, KtReal& scale) const {
  scale = 1.0;
  KtPlanarVector forward, velocity;
  if (!ktFeedForwardEntries(feedForward, 2, kOperations.filter, forward)) return;
  scale = pointMotionFilter().filterPlanarVelocity(
      planeCoordinates(actual.translation()), planeCoordinates(desired.translation()), forward, dt, velocity);
  commanded.resize(2);
  for (std::size_t k = 0; k < 2; ++k) commanded[k] = velocity[k];
}

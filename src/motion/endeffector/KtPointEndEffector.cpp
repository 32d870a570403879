#include "motion/endeffector/KtPointEndEffector.h"

#include <array>

#include "foundation/MathUtil.h"
#include "motion/endeffector/KtFeedForward.h"
#include "xml/KtXmlNamespaces.h"

namespace {

const KtLinkPointOperations kOperations = {
    "KtPointEndEffector::insertJacobianComponent()", "KtPointEndEffector::insertSparsityComponent()",
    "KtPointEndEffector::calculatePointPlacement()", "KtPointEndEffector::calculatePlacement()",
    "KtPointEndEffector::filterEndEffectorVelocity"};

constexpr std::array<const char*, 5> kLabels = {"trans_x", "trans_y", "trans_z", "filter_threshold",
                                                "is_hard_constraint"};

}  // namespace

KtPointEndEffector::KtPointEndEffector()
    : KtXmlCloneable(kOperations, {kLabels[0], kLabels[1], kLabels[2], kLabels[3], kLabels[4]}) {}

const KtToken& KtPointEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "pointEndEffector");
  return token;
}

void KtPointEndEffector::registerComponents() {
  KtLinkPointEndEffector::registerComponents();
  registerErrorWeight();
}

void KtPointEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                                 std::size_t firstRow,
                                                 const KtEndEffectorRelativeLinkData& relative,
                                                 bool isFixedBase, KtManipulatorActiveState& state,
                                                 Kt::ReArray& jacobian) const {
  forEachPointColumn(false, manipulator, firstRow, relative, isFixedBase, state, jacobian,
                     [&](std::size_t column, const Kt::Vector& linear) {
                       for (std::size_t k = 0; k < 3; ++k) jacobian[firstRow + k][column] = linear[k];
                     });
}

void KtPointEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                                 std::size_t firstRow,
                                                 const KtEndEffectorRelativeLinkData& relative,
                                                 bool isFixedBase, KtManipulatorActiveState& state,
                                                 Kt::ReArray& sparsity) const {
  forEachPointColumn(true, manipulator, firstRow, relative, isFixedBase, state, sparsity,
                     [&](std::size_t column, const Kt::Vector&) {
                       for (std::size_t k = 0; k < 3; ++k) sparsity[firstRow + k][column] = 1.0;
                     });
}

KtReal KtPointEndEffector::linearDistance(const Kt::coordinateSystemTransformation& first,
                                          const Kt::coordinateSystemTransformation& second) const {
  return (first.inverse() * second).translation().mag();
}

KtReal KtPointEndEffector::normalizedDistance(const Kt::coordinateSystemTransformation& first,
                                              const Kt::coordinateSystemTransformation& second) const {
  return linearDistance(first, second) / ktGuardPositive(motionThreshold());
}

KtEditingValues KtPointEndEffector::editingValues() const {
  const std::array<std::string, 5> texts = {editingText(point().x()), editingText(point().y()),
                                            editingText(point().z()), editingText(motionThreshold()),
                                            editingText(isHardConstraint())};
  KtEditingValues values;
  for (std::size_t i = 0; i < kLabels.size(); ++i) values.emplace_back(kLabels[i], texts[i]);
  return values;
}

void KtPointEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != kLabels.size()) return;
  Kt::Vector p = point();
  for (std::size_t k = 0; k < 3; ++k) parseEditingReal(values[k].second, p[k]);
  KtReal threshold = motionThreshold();
  parseEditingReal(values[3].second, threshold);
  setPoint(p);
  setMotionThreshold(threshold);
  setIsHardConstraint(parseEditingFlag(values[4].second));
}

void KtPointEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                                const Kt::coordinateSystemTransformation& desired,
                                                const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                                                KtEndEffectorVelocityEntries& commanded,
                                                KtReal& scale) const {
  scale = 1.0;
  Kt::Vector forward, velocity;
  if (!ktFeedForwardEntries(feedForward, 3, kOperations.filter, forward)) return;
  scale =
      pointMotionFilter().filterVelocity(actual.translation(), desired.translation(), forward, dt, velocity);
  commanded.resize(3);
  for (std::size_t k = 0; k < 3; ++k) commanded[k] = velocity[k];
}

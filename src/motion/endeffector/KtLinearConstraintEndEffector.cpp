#include "motion/endeffector/KtLinearConstraintEndEffector.h"

#include <array>
#include <cmath>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"
#include "manipulator/KtModelRevision.h"
#include "motion/KtMotionGain.h"
#include "motion/endeffector/KtFeedForward.h"
#include "xml/KtXmlNamespaces.h"

namespace {

constexpr std::array<const char*, 4> kLabels = {"link", "joint_value", "gain", "threshold"};

}  // namespace

KtLinearConstraintEndEffector::KtLinearConstraintEndEffector()
    : KtXmlCloneable({kLabels[0], kLabels[1], kLabels[2], kLabels[3]}) {}

const KtToken& KtLinearConstraintEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "linearConstraintEndEffector");
  return token;
}

void KtLinearConstraintEndEffector::registerComponents() {
  KtEndEffector::registerComponents();
  static const KtToken labels(ktNamespaceCt, "jointLabels"), weights(ktNamespaceCt, "jointWeights"),
      sum(ktNamespaceCt, "weightedSum"), gain(ktNamespaceCt, "gain"), threshold(ktNamespaceCt, "threshold"),
      interactive(ktNamespaceCt, "isInteractive"), errorWeight(ktNamespaceCt, "errorWeight");
  registerComponent(labels, m_jointLabels);
  registerComponent(weights, m_jointWeights);
  registerComponent(sum, m_weightedSum);
  registerComponent(gain, m_gain);
  registerComponent(threshold, m_threshold);
  registerComponent(interactive, m_isInteractive);
  registerComponent(errorWeight, m_errorWeight);
}

void KtLinearConstraintEndEffector::setLinkIndices(const KtIndividualManipulator& manipulator) const {
  if (m_joints.manipulator == &manipulator && m_joints.revision == KtModelRevision::current() &&
      m_joints.labels == m_jointLabels.value())
    return;
  m_joints.manipulator = &manipulator;
  m_joints.revision = KtModelRevision::current();
  m_joints.labels = m_jointLabels.value();
  m_joints.indices.assign(m_jointLabels.size(), KtManipulatorLink::kNoIndex);
  for (std::size_t i = 0; i < m_jointLabels.size(); ++i) {
    const KtManipulatorLink* link = manipulator.findLink(m_jointLabels[i]);
    if (link == nullptr)
      ktPrint(KtSeverity::Error, "KtLinearConstraintEndEffector::setLinkIndices(): bad label: %s.\n",
              m_jointLabels[i].c_str());
    else if (link->linkIndex() < 0)
      ktPrint(KtSeverity::Error,
              "KtLinearConstraintEndEffector::setLinkIndices(): error: label is for base link\n");
    else
      m_joints.indices[i] = link->linkIndex();
  }
}

void KtLinearConstraintEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                                            std::size_t firstRow,
                                                            const KtEndEffectorRelativeLinkData&,
                                                            bool isFixedBase, KtManipulatorActiveState&,
                                                            Kt::ReArray& jacobian) const {
  if (!rowFits(manipulator, firstRow, isFixedBase, jacobian,
               "KtLinearConstraintEndEffector::insertJacobianComponent()"))
    return;
  std::vector<KtReal>& row = jacobian[firstRow];
  // Cleared first, so that a joint named twice gets the sum of its weights.
  forEachJoint(manipulator, [&row](std::size_t joint, KtReal) { row[joint] = 0.0; });
  forEachJoint(manipulator, [&row](std::size_t joint, KtReal weight) { row[joint] += weight; });
}

void KtLinearConstraintEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                                            std::size_t firstRow,
                                                            const KtEndEffectorRelativeLinkData&,
                                                            bool isFixedBase, KtManipulatorActiveState&,
                                                            Kt::ReArray& sparsity) const {
  if (!rowFits(manipulator, firstRow, isFixedBase, sparsity,
               "KtLinearConstraintEndEffector::insertSparsityComponent()"))
    return;
  std::vector<KtReal>& row = sparsity[firstRow];
  forEachJoint(manipulator, [&row](std::size_t joint, KtReal) { row[joint] = 1.0; });
}

bool KtLinearConstraintEndEffector::calculateAbsolutePlacement(
    const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
    Kt::coordinateSystemTransformation& placement) const {
  KtReal sum = 0.0;
  const KtManipulatorActivePositionState& positions = state.activePositionState();
  forEachJoint(manipulator,
               [&](std::size_t joint, KtReal weight) { sum += weight * positions.jointPosition(joint); });
  placement = Kt::coordinateSystemTransformation(Kt::Vector(sum, 0.0, 0.0));
  return true;
}

bool KtLinearConstraintEndEffector::calculateVelocity(const KtIndividualManipulator& manipulator,
                                                      KtManipulatorActiveState& state,
                                                      KtGeneralMotion& velocity) const {
  const std::vector<KtReal>& rates = state.velocityState().jointVelocities();
  KtReal sum = 0.0;
  forEachJoint(manipulator, [&](std::size_t joint, KtReal weight) {
    if (joint < rates.size()) sum += weight * rates[joint];
  });
  velocity.setLinear(Kt::Vector(sum, 0.0, 0.0));
  velocity.setAngular(Kt::Vector());
  return true;
}

bool KtLinearConstraintEndEffector::calculateAcceleration(const KtIndividualManipulator&,
                                                          KtManipulatorActiveState&,
                                                          KtGeneralMotion& acceleration) const {
  acceleration.setLinear(Kt::Vector());
  acceleration.setAngular(Kt::Vector());
  return true;
}

KtReal KtLinearConstraintEndEffector::linearDistance(const Kt::coordinateSystemTransformation& first,
                                                     const Kt::coordinateSystemTransformation& second) const {
  return std::abs(second.translation().x() - first.translation().x());
}

KtReal KtLinearConstraintEndEffector::normalizedDistance(
    const Kt::coordinateSystemTransformation& first, const Kt::coordinateSystemTransformation& second) const {
  return linearDistance(first, second) / ktGuardPositive(m_threshold);
}

KtEditingValues KtLinearConstraintEndEffector::editingValues() const {
  const std::array<std::string, 4> texts = {m_jointLabels.empty() ? std::string() : m_jointLabels[0],
                                            editingText(m_weightedSum.value()), editingText(m_gain.value()),
                                            editingText(m_threshold.value())};
  KtEditingValues values;
  for (std::size_t i = 0; i < kLabels.size(); ++i) values.emplace_back(kLabels[i], texts[i]);
  return values;
}

void KtLinearConstraintEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != kLabels.size()) return;
  const std::string& label = values[0].second;
  if (!label.empty() && m_jointLabels.empty()) m_jointLabels.push_back(label);
  if (!label.empty()) m_jointLabels[0] = label;
  KtReal sum = m_weightedSum, gain = m_gain, threshold = m_threshold;
  parseEditingReal(values[1].second, sum);
  parseEditingReal(values[2].second, gain);
  parseEditingReal(values[3].second, threshold);
  m_weightedSum = sum;
  m_gain = gain;
  m_threshold = threshold;
}

void KtLinearConstraintEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                                           const Kt::coordinateSystemTransformation& desired,
                                                           const KtEndEffectorVelocityEntries& feedForward,
                                                           KtReal dt, KtEndEffectorVelocityEntries& commanded,
                                                           KtReal& scale) const {
  scale = 1.0;
  std::array<KtReal, 1> forward, velocity;
  if (!ktFeedForwardEntries(feedForward, 1, "KtLinearConstraintEndEffector::filterEndEffectorVelocity",
                            forward))
    return;
  scale = ktFilterPointError<1>(m_gain, m_threshold, std::array<KtReal, 1>{actual.translation().x()},
                                std::array<KtReal, 1>{desired.translation().x()}, forward, dt, velocity);
  commanded.assign(1, velocity[0]);
}

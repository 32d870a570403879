#include "motion/endeffector/KtCenterOfMassEndEffector.h"

#include "foundation/MathUtil.h"
#include "foundation/Print.h"
#include "motion/endeffector/KtFeedForward.h"
#include "motion/endeffector/KtMassDistribution.h"
#include "xml/KtXmlNamespaces.h"

KtCenterOfMassEndEffector::KtCenterOfMassEndEffector() : KtXmlCloneable({"filter_threshold"}) {}

const KtToken& KtCenterOfMassEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "centerOfMassEndEffector");
  return token;
}

void KtCenterOfMassEndEffector::registerComponents() {
  KtEndEffector::registerComponents();
  static const KtToken filter(ktNamespaceCt, "pointMotionFilter"), weight(ktNamespaceCt, "errorWeight");
  registerComponent(filter, m_motionFilter);
  registerComponent(weight, m_errorWeight);
}

bool KtCenterOfMassEndEffector::hasMass(const KtIndividualManipulator& manipulator, KtReal mass,
                                        const char* operation) {
  if (mass > 0.0) return true;
  ktPrint(KtSeverity::Error, "KtCenterOfMassEndEffector::%s(): manipulator %s has no mass.\n", operation,
          manipulator.identifier().c_str());
  return false;
}

void KtCenterOfMassEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                                        std::size_t firstRow,
                                                        const KtEndEffectorRelativeLinkData& relative,
                                                        bool isFixedBase, KtManipulatorActiveState& state,
                                                        Kt::ReArray& jacobian) const {
  const char* operation = "KtCenterOfMassEndEffector::insertJacobianComponent()";
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, jacobian,
                   {operation, operation, nullptr, kBadReferenceLink}, walk))
    return;
  Kt::Vector center;
  const KtReal total = KtMassDistribution::centerOfMass(manipulator, state, center);
  if (!hasMass(manipulator, total, "insertJacobianComponent")) return;
  const bool freeBase = !isFixedBase && !walk.relative;
  KtMassDistribution::clearBlock(jacobian, firstRow, 3, manipulator.jointDof() + (freeBase ? 6 : 0));
  KtMassDistribution::forEachBody(
      manipulator, state, [&](const KtManipulatorLink& link, const Kt::Vector& c) {
        const KtReal share = link.massProperties().mass() / total;
        forEachColumn(manipulator, state, link, walk.relative, walk.reference, freeBase, c,
                      [&](std::size_t column, const KtJointColumn& motion) {
                        for (std::size_t k = 0; k < 3; ++k)
                          jacobian[firstRow + k][column] += share * motion.linear[k];
                      });
      });
}

void KtCenterOfMassEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                                        std::size_t firstRow,
                                                        const KtEndEffectorRelativeLinkData& relative,
                                                        bool isFixedBase, KtManipulatorActiveState& state,
                                                        Kt::ReArray& sparsity) const {
  const char* operation = "KtCenterOfMassEndEffector::insertSparsityComponent()";
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, sparsity,
                   {operation, operation, nullptr, kBadReferenceLink}, walk))
    return;
  KtMassDistribution::forEachBody(
      manipulator, state, [&](const KtManipulatorLink& link, const Kt::Vector& c) {
        forEachColumn(manipulator, state, link, walk.relative, walk.reference, !isFixedBase, c,
                      [&](std::size_t column, const KtJointColumn&) {
                        for (std::size_t k = 0; k < 3; ++k) sparsity[firstRow + k][column] = 1.0;
                      });
      });
}

bool KtCenterOfMassEndEffector::calculateAbsolutePlacement(
    const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
    Kt::coordinateSystemTransformation& placement) const {
  Kt::Vector center;
  if (!hasMass(manipulator, KtMassDistribution::centerOfMass(manipulator, state, center),
               "calculatePlacement"))
    return false;
  placement = Kt::coordinateSystemTransformation(center);
  return true;
}

bool KtCenterOfMassEndEffector::calculatePlacement(const KtIndividualManipulator& manipulator,
                                                   KtManipulatorActiveState& state,
                                                   Kt::coordinateSystemTransformation& placement) const {
  Kt::coordinateSystemTransformation center;
  if (!calculateAbsolutePlacement(manipulator, state, center)) return false;
  if (!makeRelative(manipulator, state, center)) {
    ktPrint(KtSeverity::Error,
            "KtCenterOfMassEndEffector::calculatePlacement(): bad index on relative link: %d.\n",
            KtManipulatorLink::kNoIndex);
    return false;
  }
  placement = center;
  return true;
}

bool KtCenterOfMassEndEffector::centerOfMassMotion(const KtIndividualManipulator& manipulator,
                                                   KtManipulatorActiveState& state, const char* operation,
                                                   Kt::Vector& velocity, Kt::Vector& acceleration) const {
  const KtManipulatorLink* referenced =
      resolvedReference(manipulator, relativeLinkData(), operation,
                        "KtCenterOfMassEndEffector::%s(): bad index on relative link: %d.\n");
  if (relativeLinkData().isRelativeLink() && referenced == nullptr) return false;
  if (KtMassDistribution::centerOfMassMotion(manipulator, state, referenced, velocity, acceleration))
    return true;
  return hasMass(manipulator, 0.0, operation);  // reports the missing mass
}

bool KtCenterOfMassEndEffector::calculateVelocity(const KtIndividualManipulator& manipulator,
                                                  KtManipulatorActiveState& state,
                                                  KtGeneralMotion& velocity) const {
  Kt::Vector linear, acceleration;
  if (!centerOfMassMotion(manipulator, state, "calculateVelocity", linear, acceleration)) return false;
  velocity = KtGeneralMotion(linear, Kt::Vector());
  return true;
}

bool KtCenterOfMassEndEffector::calculateAcceleration(const KtIndividualManipulator& manipulator,
                                                      KtManipulatorActiveState& state,
                                                      KtGeneralMotion& acceleration) const {
  Kt::Vector velocity, linear;
  if (!centerOfMassMotion(manipulator, state, "calculateAcceleration", velocity, linear)) return false;
  acceleration = KtGeneralMotion(linear, Kt::Vector());
  return true;
}

KtReal KtCenterOfMassEndEffector::linearDistance(const Kt::coordinateSystemTransformation& first,
                                                 const Kt::coordinateSystemTransformation& second) const {
  return (first.inverse() * second).translation().mag();
}

KtReal KtCenterOfMassEndEffector::normalizedDistance(const Kt::coordinateSystemTransformation& first,
                                                     const Kt::coordinateSystemTransformation& second) const {
  return linearDistance(first, second) / ktGuardPositive(m_motionFilter.threshold());
}

KtEditingValues KtCenterOfMassEndEffector::editingValues() const {
  return {{"filter_threshold", editingText(m_motionFilter.threshold())}};
}

void KtCenterOfMassEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != editingLabelCount()) return;
  KtReal threshold = m_motionFilter.threshold();
  parseEditingReal(values[0].second, threshold);
  m_motionFilter.setThreshold(threshold);
}

void KtCenterOfMassEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                                       const Kt::coordinateSystemTransformation& desired,
                                                       const KtEndEffectorVelocityEntries& feedForward,
                                                       KtReal dt, KtEndEffectorVelocityEntries& commanded,
                                                       KtReal& scale) const {
  scale = 1.0;
  Kt::Vector forward;
  if (!ktFeedForwardEntries(feedForward, 3, "KtCenterOfMassEndEffector::filterEndEffectorVelocity", forward))
    return;
  Kt::Vector velocity;
  scale = m_motionFilter.filterVelocity(actual.translation(), desired.translation(), forward, dt, velocity);
  commanded.resize(3);
  for (std::size_t k = 0; k < 3; ++k) commanded[k] = velocity[k];
}

#include "motion/endeffector/KtSpatialMomentumEndEffector.h"

#include "foundation/Print.h"
#include "motion/endeffector/KtMassDistribution.h"
#include "xml/KtXmlNamespaces.h"

KtSpatialMomentumEndEffector::KtSpatialMomentumEndEffector()
    : KtXmlCloneable({"linear_x", "linear_y", "linear_z", "angular_x", "angular_y", "angular_z"}) {}

const KtToken& KtSpatialMomentumEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "spatialMomentumEndEffector");
  return token;
}

void KtSpatialMomentumEndEffector::registerComponents() {
  KtEndEffector::registerComponents();
  static const KtToken weight(ktNamespaceCt, "errorWeight"), linear(ktNamespaceCt, "desiredLinearMomentum"),
      angular(ktNamespaceCt, "desiredAngularMomentum"), include(ktNamespaceCt, "includeAngular");
  registerComponent(weight, m_errorWeight);
  registerComponent(linear, m_desiredLinearMomentum);
  registerComponent(angular, m_desiredAngularMomentum);
  registerComponent(include, m_includeAngular);
}

void KtSpatialMomentumEndEffector::insertJacobianComponent(const KtIndividualManipulator& manipulator,
                                                           std::size_t firstRow,
                                                           const KtEndEffectorRelativeLinkData& relative,
                                                           bool isFixedBase, KtManipulatorActiveState& state,
                                                           Kt::ReArray& jacobian) const {
  const char* operation = "KtSpatialMomentumEndEffector::insertJacobianComponent()";
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, jacobian,
                   {operation, operation, nullptr, kBadReferenceLink}, walk))
    return;
  const bool freeBase = !isFixedBase && !walk.relative;
  KtMassDistribution::clearBlock(jacobian, firstRow, rowCount(), manipulator.jointDof() + (freeBase ? 6 : 0));
  Kt::Vector center;
  KtMassDistribution::centerOfMass(manipulator, state, center);
  const bool angularRows = m_includeAngular;
  KtMassDistribution::forEachBody(
      manipulator, state, [&](const KtManipulatorLink& link, const Kt::Vector& c) {
        const KtReal mass = link.massProperties().mass();
        const KtSymmetricTensor inertia = link.massProperties().inertiaAboutCenterOfMass();
        const Kt::Orientation& axes = link.primaryFrameInSystem(state).orientation();
        const Kt::Orientation toBody = axes.inverse();
        const Kt::Vector arm = c - center;
        forEachColumn(manipulator, state, link, walk.relative, walk.reference, freeBase, c,
                      [&](std::size_t column, const KtJointColumn& motion) {
                        const Kt::Vector momentum = motion.linear * mass;
                        for (std::size_t k = 0; k < 3; ++k) jacobian[firstRow + k][column] += momentum[k];
                        if (!angularRows) return;
                        const Kt::Vector spin =
                            arm.cross(momentum) + axes * (inertia * (toBody * motion.angular));
                        for (std::size_t k = 0; k < 3; ++k) jacobian[firstRow + 3 + k][column] += spin[k];
                      });
      });
}

void KtSpatialMomentumEndEffector::insertSparsityComponent(const KtIndividualManipulator& manipulator,
                                                           std::size_t firstRow,
                                                           const KtEndEffectorRelativeLinkData& relative,
                                                           bool isFixedBase, KtManipulatorActiveState& state,
                                                           Kt::ReArray& sparsity) const {
  const char* operation = "KtSpatialMomentumEndEffector::insertSparsityComponent()";
  RowWalk walk;
  if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, sparsity,
                   {operation, operation, nullptr, kBadReferenceLink}, walk))
    return;
  const std::size_t rows = rowCount();
  KtMassDistribution::forEachBody(
      manipulator, state, [&](const KtManipulatorLink& link, const Kt::Vector& c) {
        forEachColumn(manipulator, state, link, walk.relative, walk.reference, !isFixedBase, c,
                      [&](std::size_t column, const KtJointColumn&) {
                        for (std::size_t k = 0; k < rows; ++k) sparsity[firstRow + k][column] = 1.0;
                      });
      });
}

bool KtSpatialMomentumEndEffector::calculateAbsolutePlacement(
    const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
    Kt::coordinateSystemTransformation& placement) const {
  Kt::Vector center;
  KtMassDistribution::centerOfMass(manipulator, state, center);
  placement = Kt::coordinateSystemTransformation(center);
  return true;
}

bool KtSpatialMomentumEndEffector::calculatePlacement(const KtIndividualManipulator& manipulator,
                                                      KtManipulatorActiveState& state,
                                                      Kt::coordinateSystemTransformation& placement) const {
  Kt::coordinateSystemTransformation center;
  calculateAbsolutePlacement(manipulator, state, center);
  if (!makeRelative(manipulator, state, center)) {
    ktPrint(KtSeverity::Error,
            "KtSpatialMomentumEndEffector::calculatePlacement(): bad index on relative link: %d.\n",
            KtManipulatorLink::kNoIndex);
    return false;
  }
  placement = center;
  return true;
}

bool KtSpatialMomentumEndEffector::centerMotion(const KtIndividualManipulator& manipulator,
                                                KtManipulatorActiveState& state, const char* operation,
                                                Kt::Vector& velocity, Kt::Vector& acceleration) const {
  const KtManipulatorLink* referenced =
      resolvedReference(manipulator, relativeLinkData(), operation,
                        "KtSpatialMomentumEndEffector::%s(): bad index on relative link: %d.\n");
  if (relativeLinkData().isRelativeLink() && referenced == nullptr) return false;
  if (!KtMassDistribution::centerOfMassMotion(manipulator, state, referenced, velocity, acceleration)) {
    velocity = Kt::Vector();  // the placement stays at the system origin
    acceleration = Kt::Vector();
  }
  return true;
}

bool KtSpatialMomentumEndEffector::calculateVelocity(const KtIndividualManipulator& manipulator,
                                                     KtManipulatorActiveState& state,
                                                     KtGeneralMotion& velocity) const {
  Kt::Vector linear, acceleration;
  if (!centerMotion(manipulator, state, "calculateVelocity", linear, acceleration)) return false;
  velocity = KtGeneralMotion(linear, Kt::Vector());
  return true;
}

bool KtSpatialMomentumEndEffector::calculateAcceleration(const KtIndividualManipulator& manipulator,
                                                         KtManipulatorActiveState& state,
                                                         KtGeneralMotion& acceleration) const {
  Kt::Vector velocity, linear;
  if (!centerMotion(manipulator, state, "calculateAcceleration", velocity, linear)) return false;
  acceleration = KtGeneralMotion(linear, Kt::Vector());
  return true;
}

KtEditingValues KtSpatialMomentumEndEffector::editingValues() const {
  const Kt::Vector &linear = desiredLinearMomentum(), &angular = desiredAngularMomentum();
  return {{"linear_x", editingText(linear.x())},   {"linear_y", editingText(linear.y())},
          {"linear_z", editingText(linear.z())},   {"angular_x", editingText(angular.x())},
          {"angular_y", editingText(angular.y())}, {"angular_z", editingText(angular.z())}};
}

void KtSpatialMomentumEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != editingLabelCount()) return;
  Kt::Vector linear = desiredLinearMomentum(), angular = desiredAngularMomentum();
  for (std::size_t k = 0; k < 3; ++k) {
    parseEditingReal(values[k].second, linear[k]);
    parseEditingReal(values[k + 3].second, angular[k]);
  }
  setDesiredLinearMomentum(linear);
  setDesiredAngularMomentum(angular);
}

void KtSpatialMomentumEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation&,
                                                          const Kt::coordinateSystemTransformation&,
                                                          const KtEndEffectorVelocityEntries& feedForward,
                                                          KtReal, KtEndEffectorVelocityEntries& commanded,
                                                          KtReal& scale) const {
  scale = 1.0;
  const std::size_t rows = rowCount();
  if (!feedForward.empty() && feedForward.size() != rows) {
    ktPrint(KtSeverity::Error,
            "KtSpatialMomentumEndEffector::filterEndEffectorVelocity input velocity size wrong.");
    return;
  }
  commanded.resize(rows);
  for (std::size_t k = 0; k < rows; ++k) {
    const KtReal desired = k < 3 ? desiredLinearMomentum()[k] : desiredAngularMomentum()[k - 3];
    commanded[k] = desired + (feedForward.empty() ? 0.0 : feedForward[k]);
  }
}

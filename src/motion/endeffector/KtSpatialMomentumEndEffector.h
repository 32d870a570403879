#pragma once

#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVector.h"

// The momentum of a whole manipulator (its base and all its links) as an end effector: three
// rows of linear momentum, and three more of angular momentum about the centre of mass while
// includeAngular is set, in system axes. The rows are the centroidal momentum matrix:
//   linear  Σ mᵢ J_v(cᵢ),   angular  Σ [mᵢ (cᵢ − c) × J_v(cᵢ) + Iᵢ J_ω],
// over the bodies with mass, cᵢ a body's centre of mass, c the manipulator's, Iᵢ the body's
// inertia about cᵢ in system axes and J_v, J_ω the point and angular columns of its chain (free
// base included). The rows are written in full: every joint column, and the base columns
// unless the base is fixed or the end effector relative; a relative one gives the momentum of
// the motion relative to its reference link. Without mass the rows are zero.
//
// A momentum has no placement of its own: the placement carries the centre of mass (the
// system origin without mass) with the identity orientation, the motion queries give that
// point's motion, and both distances are always 0. There is no motion filter: the commanded
// value is the desired momentum (linear, then angular when included) plus the feed-forward, and
// the motion threshold reads 0 and cannot be set.
class KtSpatialMomentumEndEffector : public KtXmlCloneable<KtSpatialMomentumEndEffector, KtEndEffector> {
 public:
  KtSpatialMomentumEndEffector();
  const KtToken& elementToken() const override;

  std::size_t rowCount() const override { return m_includeAngular ? 6 : 3; }
  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override;
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override;
  bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Kt::coordinateSystemTransformation& placement) const override;
  bool calculateVelocity(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                         KtGeneralMotion& velocity) const override;
  bool calculateAcceleration(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                             KtGeneralMotion& acceleration) const override;
  KtReal normalizedDistance(const Kt::coordinateSystemTransformation&,
                            const Kt::coordinateSystemTransformation&) const override {
    return 0.0;
  }
  KtReal linearDistance(const Kt::coordinateSystemTransformation&,
                        const Kt::coordinateSystemTransformation&) const override {
    return 0.0;
  }
  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;
  KtReal motionThreshold() const override { return 0.0; }
  void setMotionThreshold(KtReal) override {}
  KtReal errorWeight() const override { return m_errorWeight; }
  void setErrorWeight(KtReal weight) override { m_errorWeight = weight; }
  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

  const Kt::Vector& desiredLinearMomentum() const { return m_desiredLinearMomentum.value(); }
  void setDesiredLinearMomentum(const Kt::Vector& momentum) { m_desiredLinearMomentum = momentum; }
  const Kt::Vector& desiredAngularMomentum() const { return m_desiredAngularMomentum.value(); }
  void setDesiredAngularMomentum(const Kt::Vector& momentum) { m_desiredAngularMomentum = momentum; }
  bool includeAngular() const { return m_includeAngular; }
  void setIncludeAngular(bool include) { m_includeAngular = include; }

 protected:
  void registerComponents() override;
  bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const override;

 private:
  // The motion of the placement's origin; zero without mass.
  bool centerMotion(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                    const char* operation, Kt::Vector& velocity, Kt::Vector& acceleration) const;

  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_errorWeight{1.0};
  KtXmlDefaulted<KtXmlVector> m_desiredLinearMomentum;
  KtXmlDefaulted<KtXmlVector> m_desiredAngularMomentum;
  KtXmlDefaulted<KtXmlBasicType<bool>> m_includeAngular{false};
};

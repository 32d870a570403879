#pragma once

#include "motion/KtPointMotionFilter.h"
#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlDefaulted.h"

// The centre of mass of a whole manipulator (its base and all its links, weighted by their
// masses) as an end effector: three rows, its velocity in system axes. The link identifier is
// not used; a relative one measures the centre of mass against its reference link as a point
// end effector would.
//
// Placement: the centre of mass in system coordinates with the identity orientation. Rows:
// Σ mᵢ J(cᵢ) / Σ mᵢ, J(cᵢ) the point columns of link i's chain at its centre cᵢ (free-base
// columns included). The rows are written in full: every joint column, and the base columns
// unless the base is fixed or the end effector relative. A manipulator without mass has no
// centre: the placement, rows and motion queries print "manipulator <label> has no mass" and
// leave their outputs as they were. The motion filter is the point filter.
class KtCenterOfMassEndEffector : public KtXmlCloneable<KtCenterOfMassEndEffector, KtEndEffector> {
 public:
  KtCenterOfMassEndEffector();
  const KtToken& elementToken() const override;

  std::size_t rowCount() const override { return 3; }
  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override;
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override;
  bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Kt::coordinateSystemTransformation& placement) const override;
  // The linear part is the centre of mass's; the angular part is zero.
  bool calculateVelocity(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                         KtGeneralMotion& velocity) const override;
  bool calculateAcceleration(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                             KtGeneralMotion& acceleration) const override;
  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override;
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override;
  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;
  KtReal motionThreshold() const override { return m_motionFilter.threshold(); }
  void setMotionThreshold(KtReal threshold) override { m_motionFilter.setThreshold(threshold); }
  KtReal errorWeight() const override { return m_errorWeight; }
  void setErrorWeight(KtReal weight) override { m_errorWeight = weight; }
  const KtPointMotionFilter& motionFilter() const { return m_motionFilter; }
  void setMotionFilter(const KtPointMotionFilter& filter) { m_motionFilter = filter; }
  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

 protected:
  void registerComponents() override;
  bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const override;

 private:
  // Whether the total mass is positive; prints the operation's no-mass message otherwise.
  static bool hasMass(const KtIndividualManipulator& manipulator, KtReal mass, const char* operation);
  // Shared by the two motion queries: the centre of mass's motion, relative when asked.
  bool centerOfMassMotion(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          const char* operation, Kt::Vector& velocity, Kt::Vector& acceleration) const;

  KtPointMotionFilter m_motionFilter;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_errorWeight{1.0};
};

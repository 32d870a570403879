#pragma once

#include "motion/endeffector/KtLinkPointEndEffector.h"

// A point rigidly fixed to a link, constrained in all three directions. Its three rows are the
// point's velocity in system axes (relative to the point fixed to the reference link at the
// same place while relative); its placement is the point with the identity orientation.
//
// Editing labels: trans_x, trans_y, trans_z (the point), filter_threshold, is_hard_constraint.
class KtPointEndEffector : public KtXmlCloneable<KtPointEndEffector, KtLinkPointEndEffector> {
 public:
  KtPointEndEffector();
  const KtToken& elementToken() const override;

  std::size_t rowCount() const override { return 3; }

  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override;
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override;

  // The point in system coordinates; false (point unchanged) when the link label is bad.
  bool calculatePointPlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                               Kt::Vector& point) const {
    return systemPoint(manipulator, state, point);
  }

  // The length of the translation of first⁻¹·second, and that over the filter's threshold.
  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override;
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override;

  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;

  // The point filter on the placements' translations; the feed-forward has 3 entries or none.
  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

 protected:
  void registerComponents() override;
};

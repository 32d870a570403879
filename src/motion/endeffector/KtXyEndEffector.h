#pragma once

#include "motion/endeffector/KtLinkPointEndEffector.h"
#include "xml/KtXmlOrientation.h"

// A point rigidly fixed to a link, constrained only within a plane: its two rows are the
// point's velocity (system axes, relative while relative, as for the point end effector)
// along the x and y axes of the plane whose orientation in system coordinates is
// `xyOrientation`; motion along the plane's normal is left free.
//
// The placement is the point with the identity orientation, as for the point end effector;
// the plane coordinates of a placement are its translation's components along the plane's x
// and y axes. The filter is the point filter on the plane coordinates of the actual and
// desired placements, the feed-forward has 2 entries or none; the distances are those of the
// plane coordinates.
//
// Editing labels: trans_x, trans_y, trans_z (the point), angle, axis_x, axis_y, axis_z (the
// plane's orientation as an angle in radians about a unit axis; a zero axis means the
// identity), filter_threshold.
class KtXyEndEffector : public KtXmlCloneable<KtXyEndEffector, KtLinkPointEndEffector> {
 public:
  KtXyEndEffector();
  const KtToken& elementToken() const override;

  const Kt::Orientation& xyOrientation() const { return m_xyOrientation; }
  void setXyOrientation(const Kt::Orientation& orientation) { m_xyOrientation = orientation; }

  std::size_t rowCount() const override { return 2; }

  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override;
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override;

  // The plane coordinates of the point in system coordinates; false (coordinates unchanged)
  // when the link label is bad.
  bool calculate2DPointPlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                 KtPlanarVector& coordinates) const;
  // The components of `v` along the plane's x and y axes.
  KtPlanarVector planeCoordinates(const Kt::Vector& v) const;

  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override;
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override;

  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;

  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlOrientation> m_xyOrientation;
};

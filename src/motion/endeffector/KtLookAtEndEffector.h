#pragma once

#include "motion/endeffector/KtFramedEndEffector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// A frame fixed to a link whose z axis is to point at a target: the translation of the desired
// placement (its orientation plays no part). The focus point is the point at `focusDistance`
// on the frame's z axis; the two rows are its velocity along the frame's x and y axes (in those
// axes at the current state), the motion that turns the line of sight.
//
// Filter: the desired focus point is the point at `focusDistance` from the frame's origin toward
// the target; the error between it and the actual focus point, taken along the frame's x and y
// axes, is turned into a velocity with the general filter's linear gain (limited per step) and
// limited to its threshold in speed. A feed-forward is the six-entry general velocity of the
// frame (system axes) or none; it adds the focus point's velocity along x and y after the limit.
// A target at the frame's origin gives no correction.
//
// A shift of the frame across the line of sight moves the focus point as much as a turn does
// but changes the aim by only focusDistance/range as much, so the rows steer the aim exactly
// only for a target at the focus distance. A look-at is meant to be combined with end effectors
// that hold the frame's position; alone, with a target much nearer than its focus distance, a
// full-gain step can overshoot.
//
// Distances: linear = the gap between the two focus points (2·focusDistance·sin(φ/2) for an
// aiming error φ), normalised = that gap over the threshold, the quantity the filter corrects.
//
// Components after the base ones: `frame`, `linearErrorWeight` (0.1), `motionFilter`,
// `focusDistance` (1.0); editing labels: the nine frame labels, then "focal_length"
// (focusDistance). Messages are those of the frame end effector.
class KtLookAtEndEffector : public KtXmlCloneable<KtLookAtEndEffector, KtFramedEndEffector> {
 public:
  KtLookAtEndEffector();
  const KtToken& elementToken() const override;

  KtReal focusDistance() const { return m_focusDistance; }
  void setFocusDistance(KtReal distance) { m_focusDistance = distance; }

  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;

  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override;
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override;

  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

 protected:
  void registerComponents() override;
  const Layout& layout() const override;
  Kt::Vector rowPoint() const override { return Kt::Vector(0.0, 0.0, m_focusDistance); }

 private:
  // The desired focus point minus the actual one, for a frame and a target (system coordinates).
  Kt::Vector focusError(const Kt::coordinateSystemTransformation& frame, const Kt::Vector& target) const;

  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_focusDistance{1.0};
};

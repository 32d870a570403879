#pragma once

#include "manipulator/KtCoordinateSystemTransformation.h"
#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// Reduces the motion of a free base to what a tracked vehicle on flat ground can do (element
// planarTracksFilter). The six base rates of `unfilteredRates` (velocity of the base origin
// along, and angular velocity about, the system axes) are re-expressed as the motion of the
// vehicle frame, `baseFilterFrameInPrimary` placed on the base's primary frame: its x axis
// points forward and its z axis up. In that frame the forward velocity is kept, sideways (y)
// and vertical (z) velocity and the roll and pitch rates become zero, and the yaw rate is
// multiplied by `angularRateFactor` (default 1.0; below 1 the tracks turn more sluggishly than
// asked). The result goes back to base-origin velocities in system axes. Joint rates pass
// unchanged, and so does everything when the base is fixed (no base columns). Without a state
// it prints "KtControlExpressionPlanarTracksFilter::evaluate(): NULL position state.\n".
class KtControlExpressionPlanarTracksFilter
    : public KtXmlCloneable<KtControlExpressionPlanarTracksFilter, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtControlExpressionContainer& unfilteredRates() { return m_unfilteredRates; }
  KtReal angularRateFactor() const { return m_angularRateFactor; }
  void setAngularRateFactor(KtReal factor) { m_angularRateFactor = factor; }
  const Kt::coordinateSystemTransformation& baseFilterFrameInPrimary() const {
    return m_baseFilterFrameInPrimary;
  }
  void setBaseFilterFrameInPrimary(const Kt::coordinateSystemTransformation& frame) {
    m_baseFilterFrameInPrimary = frame;
  }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_angularRateFactor{1.0};
  KtControlExpressionContainer m_unfilteredRates;
  KtCoordinateSystemTransformation m_baseFilterFrameInPrimary;
};

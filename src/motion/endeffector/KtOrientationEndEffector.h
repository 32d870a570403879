#pragma once

#include "motion/endeffector/KtFrameMotionEndEffector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlOrientation.h"

// The orientation of a frame fixed to a link, its position left free: three rows, the frame's
// angular velocity in system axes. The placement is the link's primary frame turned by
// `orientation` (its origin is the primary frame's). Components after the base ones:
// `orientation` and `errorWeight` (0.2). The general motion filter it runs is not persisted: it
// keeps its defaults unless set through setMotionFilter. Editing labels: "angle", "axis_x",
// "axis_y", "axis_z", "filter_threshold", "is_hard_constraint".
//
// Messages are those of the frame end effector (a bad label names a frame end effector).
class KtOrientationEndEffector : public KtXmlCloneable<KtOrientationEndEffector, KtFrameMotionEndEffector> {
 public:
  KtOrientationEndEffector();
  const KtToken& elementToken() const override;

  const Kt::Orientation& orientation() const { return m_orientation; }
  void setOrientation(const Kt::Orientation& orientation) { m_orientation = orientation; }

  KtReal errorWeight() const override { return m_errorWeight; }
  void setErrorWeight(KtReal weight) override { m_errorWeight = weight; }

  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;

  // The desired placement's translation is replaced by the actual one, so that a position
  // error, which this end effector does not constrain, takes no share of the speed limit.
  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

 protected:
  void registerComponents() override;
  const Layout& layout() const override;
  Kt::coordinateSystemTransformation linkOffset() const override {
    return Kt::coordinateSystemTransformation(m_orientation.value());
  }

 private:
  KtXmlOrientation m_orientation;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_errorWeight{0.2};
};

#pragma once

#include <initializer_list>

#include "manipulator/KtCoordinateSystemTransformation.h"
#include "motion/endeffector/KtFrameMotionEndEffector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// A frame-motion end effector whose offset on the link is a whole frame. It persists, after the
// base components, `frame` (the end-effector frame in the link's primary frame),
// `linearErrorWeight` and `motionFilter`; a class adds its own components after these.
//
// Its first nine editing labels are "trans_x", "trans_y", "trans_z" (the frame's translation),
// "angle", "axis_x", "axis_y", "axis_z" (its orientation), "filter_threshold" and
// "is_hard_constraint"; a list of another length than the class's label count is ignored.
//
// The error weight is the linear error weight.
class KtFramedEndEffector : public KtFrameMotionEndEffector {
 public:
  const Kt::coordinateSystemTransformation& frame() const { return m_frame; }
  void setFrame(const Kt::coordinateSystemTransformation& frame) { m_frame = frame; }
  KtReal linearErrorWeight() const { return m_linearErrorWeight; }
  void setLinearErrorWeight(KtReal weight) { m_linearErrorWeight = weight; }

  KtReal errorWeight() const override { return m_linearErrorWeight; }
  void setErrorWeight(KtReal weight) override { m_linearErrorWeight = weight; }

  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;

 protected:
  KtFramedEndEffector(std::initializer_list<const char*> editingLabels, KtReal linearErrorWeight)
      : KtFrameMotionEndEffector(editingLabels), m_linearErrorWeight(linearErrorWeight) {}
  void registerComponents() override;

  Kt::coordinateSystemTransformation linkOffset() const override { return m_frame; }

  // Parses the nine frame entries (the caller has checked the count).
  void parseFrameValues(const KtEditingValues& values);

 private:
  KtCoordinateSystemTransformation m_frame;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_linearErrorWeight;
};

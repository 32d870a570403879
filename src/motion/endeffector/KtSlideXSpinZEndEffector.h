#pragma once

#include "motion/endeffector/KtFrameEndEffector.h"

// A frame that may slide along its own x axis and spin about its own z axis, everything else
// constrained: four rows, linear y, linear z, angular x and angular y, in the axes of the
// end-effector frame at the current state (the link's primary frame times `frame`).
//
// It has the frame end effector's data, editing labels and Jacobian construction (and prints the
// frame's Jacobian messages). Its filter runs the general filter on six entries (feed-forward six
// entries in system axes, or none) and keeps the same components in the axes of the actual
// placement; any other feed-forward size prints
// "KtSlideXSpinZEndEffector::filterEndEffectorVelocity input velocity size wrong."
class KtSlideXSpinZEndEffector : public KtXmlCloneable<KtSlideXSpinZEndEffector, KtFrameEndEffector> {
 public:
  const KtToken& elementToken() const override;

 protected:
  const Layout& layout() const override;
};

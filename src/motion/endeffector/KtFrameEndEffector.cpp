#include "motion/endeffector/KtFrameEndEffector.h"

#include "xml/KtXmlNamespaces.h"

KtFrameEndEffector::KtFrameEndEffector()
    : KtXmlCloneable({"trans_x", "trans_y", "trans_z", "angle", "axis_x", "axis_y", "axis_z",
                      "filter_threshold", "is_hard_constraint"},
                     1.0) {}

const KtToken& KtFrameEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "frameEndEffector");
  return token;
}

void KtFrameEndEffector::registerComponents() {
  KtFramedEndEffector::registerComponents();
  static const KtToken angularErrorWeight(ktNamespaceCt, "angularErrorWeight");
  registerComponent(angularErrorWeight, m_angularErrorWeight);
}

const KtFrameMotionEndEffector::Layout& KtFrameEndEffector::layout() const {
  static constexpr Layout rows{RowAxes::system,
                               6,
                               {0, 1, 2, 3, 4, 5},
                               "KtFrameEndEffector::insertJacobianComponent()",
                               "KtFrameEndEffector::insertSparsityComponent()",
                               "KtFrameEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

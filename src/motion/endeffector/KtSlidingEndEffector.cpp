#include "motion/endeffector/KtSlidingEndEffector.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtSlidingEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "slidingEndEffector");
  return token;
}

const KtFrameMotionEndEffector::Layout& KtSlidingEndEffector::layout() const {
  static constexpr Layout rows{RowAxes::endEffectorFrame,
                               5,
                               {1, 2, 3, 4, 5},
                               "KtSlidingEndEffector::insertJacobianComponent()",
                               "KtSlidingEndEffector::insertSparsityComponent()",
                               "KtSlidingEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

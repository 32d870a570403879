#include "motion/endeffector/KtSlideXSpinZEndEffector.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtSlideXSpinZEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "slideXSpinZEndEffector");
  return token;
}

const KtFrameMotionEndEffector::Layout& KtSlideXSpinZEndEffector::layout() const {
  static constexpr Layout rows{
      RowAxes::endEffectorFrame,
      4,
      {1, 2, 3, 4},
      "KtSlideXSpinZEndEffector::insertJacobianComponent()",
      "KtSlideXSpinZEndEffector::insertSparsityComponent()",
      "KtSlideXSpinZEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

#include "motion/endeffector/KtFreeSpinInZEndEffector.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtFreeSpinInZEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "freeSpinInZEndEffector");
  return token;
}

const KtFrameMotionEndEffector::Layout& KtFreeSpinInZEndEffector::layout() const {
  static constexpr Layout rows{
      RowAxes::endEffectorFrame,
      5,
      {0, 1, 2, 3, 4},
      "KtFreeSpinInZEndEffector::insertJacobianComponent()",
      "KtFreeSpinInZEndEffector::insertSparsityComponent()",
      "KtFreeSpinInZEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

#include "motion/endeffector/KtPlanarEndEffector.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtPlanarEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "planarEndEffector");
  return token;
}

const KtFrameMotionEndEffector::Layout& KtPlanarEndEffector::layout() const {
  static constexpr Layout rows{RowAxes::endEffectorFrame,
                               3,
                               {2, 3, 4},
                               "KtPlanarEndEffector::insertJacobianComponent()",
                               "KtPlanarEndEffector::insertSparsityComponent()",
                               "KtPlanarEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

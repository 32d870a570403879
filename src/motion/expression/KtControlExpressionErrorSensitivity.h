#pragma once

#include <string>
#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtLinkFrameJacobian.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlVectorType.h"

// A weighting matrix that penalises joint rates by how much they move one link (element
// errorSensitivity, components `linkIdentifier` and `endEffectorWeights`, six entries: linear
// x, y, z, angular x, y, z; empty means all ones):
//   W = Jₗᵀ·diag(w)·Jₗ,
// with Jₗ the 6 x n frame Jacobian of the named link at its primary frame's origin, in system
// axes, over the joint-space columns. q̇ᵀ·W·q̇ is then the weighted square of the link's velocity,
// so a core with this `matrix` spends its freedom on motions to which that link is least
// sensitive. The label is resolved when the tree is prepared; one that names no link fails there.
class KtControlExpressionErrorSensitivity
    : public KtXmlCloneable<KtControlExpressionErrorSensitivity, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  const std::string& linkIdentifier() const { return m_linkIdentifier; }
  void setLinkIdentifier(const std::string& label);
  const std::vector<KtReal>& endEffectorWeights() const { return m_weights; }
  void setEndEffectorWeights(const std::vector<KtReal>& weights);

  // Fails with a message when there is no manipulator, no link has the label, or the weights
  // are neither empty nor six.
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlBasicType<std::string> m_linkIdentifier;
  KtXmlVectorType<KtReal> m_weights;
  // Working data, sized in prepare().
  KtLinkFrameJacobian m_jacobian;
};

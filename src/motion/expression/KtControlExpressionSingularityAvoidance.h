#pragma once

#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtLinkFrameJacobian.h"
#include "xml/KtXmlVectorType.h"

// A gradient column that steers the arm away from singular poses (element
// singularityAvoidance, components `inputWeights` and `outputWeights`).
//
// J is the 6 x n frame Jacobian of the manipulator's distal link (the highest link index) at
// its primary frame's origin, in system axes, over the joint-space columns; Wi = diag(input
// weights, n entries) and Wo = diag(output weights, 6 entries: linear x, y, z, angular x, y, z),
// each all ones when left empty. The cost −log det(M), M = Wo·J·Wi·Jᵀ·Wo, grows without bound
// as the pose nears a singularity. F is its gradient, computed analytically:
//   F_k = −2·tr(M⁻¹·Wo·∂_k J·Wi·Jᵀ·Wo),
// with the rates of change ∂_k J of the columns from KtLinkFrameJacobian.
//
// Sign: F is the gradient of the cost, so α > 0 in a core moves away from the singularity.
// At a singular pose (M not invertible to working precision, which includes fewer than six
// columns) the cost has no gradient and the column is zero: never a NaN.
class KtControlExpressionSingularityAvoidance
    : public KtXmlCloneable<KtControlExpressionSingularityAvoidance, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  const std::vector<KtReal>& inputWeights() const { return m_inputWeights; }
  void setInputWeights(const std::vector<KtReal>& weights);
  const std::vector<KtReal>& outputWeights() const { return m_outputWeights; }
  void setOutputWeights(const std::vector<KtReal>& weights);

  // Fails with a message when there is no manipulator, it has no links, or a weight list is
  // neither empty nor of its size.
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtReal inputWeight(std::size_t c) const { return m_inputWeights.empty() ? 1.0 : m_inputWeights[c]; }
  KtReal outputWeight(std::size_t r) const { return m_outputWeights.empty() ? 1.0 : m_outputWeights[r]; }

  KtXmlVectorType<KtReal> m_inputWeights;
  KtXmlVectorType<KtReal> m_outputWeights;

  // Working data: the Jacobian, and Wi·Jᵀ·Wo·M⁻¹·Wo (n x 6), sized in prepare().
  KtLinkFrameJacobian m_jacobian;
  Kt::ReArray m_sensitivity;
};

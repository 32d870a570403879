#pragma once

#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtLinkFrameJacobian.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVectorType.h"

// A gradient column that seeks poses in which the arm holds a given load with the least
// effort (element strengthOptimization, components `strengthOptimizationOrder` p, default 2,
// and `strengthOptimizationForces` f, six entries: force then moment, applied at the origin of
// the distal link's primary frame, in system axes; empty means no load).
//
// With J the 6 x n frame Jacobian of the distal link (highest link index) at that point, the
// joint-space torques (and forces) that hold the load are τ = Jᵀ·f, and the cost is their
// p-norm ‖τ‖_p. F is its gradient, analytic:
//   F_k = ‖τ‖_p^(1−p) · Σ_c |τ_c|^(p−1)·sign(τ_c) · ⟨∂_k J_c, f⟩,
// with the rates of change ∂_k J of the columns from KtLinkFrameJacobian. Sign: α > 0 in a core
// lowers the torques. Where τ = 0 the norm has no gradient and the column is zero.
class KtControlExpressionStrengthOptimization
    : public KtXmlCloneable<KtControlExpressionStrengthOptimization, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtReal order() const { return m_order; }
  // The order and the forces are checked when the tree is prepared, so setting them asks for
  // that again.
  void setOrder(KtReal order) {
    m_order = order;
    noteTreeChanged();
  }
  const std::vector<KtReal>& forces() const { return m_forces; }
  void setForces(const std::vector<KtReal>& forces);

  // Fails with a message when there is no manipulator, it has no links, the order is below 1
  // or the forces are neither empty nor six.
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_order{2.0};
  KtXmlVectorType<KtReal> m_forces;

  // Working data, sized in prepare(): the Jacobian, and per column |τ_c|^(p−1)·sign(τ_c).
  KtLinkFrameJacobian m_jacobian;
  std::vector<KtReal> m_weights;
};

#pragma once

#include "math/ReArray.h"
#include "motion/expression/KtControlExpression.h"
#include "xml/KtReArray.h"

// A weighting matrix that penalises joint rates by the end-effector motion they cause
// (element errorReduction, components `errorReductionConstantMatrix` C, n x n over the
// joint-space columns, and `errorReductionCovarianceMatrix` K, m x m over the rows of the
// description's end-effector set; either may be left empty, meaning zero):
//   W = C + Jᵀ·K·J,
// with J the set's stacked Jacobian, so that q̇ᵀ·W·q̇ = q̇ᵀ·C·q̇ + (J·q̇)ᵀ·K·(J·q̇). Used as a core's
// `matrix`, it makes the secondary goals prefer motions that move the end effectors little
// (weighted by K), on top of the fixed cost C.
class KtControlExpressionErrorReduction
    : public KtXmlCloneable<KtControlExpressionErrorReduction, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  const Kt::ReArray& constantMatrix() const { return m_constant; }
  void setConstantMatrix(const Kt::ReArray& matrix);
  const Kt::ReArray& covarianceMatrix() const { return m_covariance; }
  void setCovarianceMatrix(const Kt::ReArray& matrix);

  // Fails with a message when a matrix is neither empty nor of its size.
  bool prepare(const KtControlContext& context) override;
  // Fails with a message when the context has no Jacobian.
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtReArray m_constant;
  KtReArray m_covariance;
  // Working data: K·J (m x n), sized in prepare().
  Kt::ReArray m_weightedJacobian;
};

#pragma once

#include "motion/expression/KtControlExpressionDynamics.h"

// The manipulator's joint-space mass matrix M (n x n, kg, kg m, kg m²) at the current state:
// as the weighting W of a core, the rates minimise the kinetic energy ½q̇ᵀMq̇ among those that
// meet the end-effector rows, so heavy links are moved less.
class KtControlExpressionMassMatrix
    : public KtXmlCloneable<KtControlExpressionMassMatrix, KtControlExpressionDynamics> {
 public:
  const KtToken& elementToken() const override;
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  virtual const char* className() const { return "KtControlExpressionMassMatrix"; }
};

// The mass matrix as the pair (M, 0) of the (A, b) family: the kinetic energy ½q̇ᵀMq̇.
class KtControlExpressionMassMatrixAb
    : public KtXmlCloneable<KtControlExpressionMassMatrixAb, KtControlExpressionMassMatrix> {
 public:
  const KtToken& elementToken() const override;
  bool prepare(const KtControlContext& context) override;

 protected:
  const char* className() const override { return "KtControlExpressionMassMatrixAb"; }
};

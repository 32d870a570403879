#pragma once

#include <cstddef>
#include <vector>

#include "math/ReArray.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "motion/velocity/KtCoreVelocityControlTool.h"
#include "motion/velocity/KtWlsSoftConstraintHandler.h"
#include "xml/KtXmlVariableVectorType.h"

// The root of a control description's tree: its value is the joint rates q̇ (one per
// joint-space column) that meet the hard end-effector rows exactly, J·q̇ = V, and spend the
// remaining freedom on minimising ½·q̇ᵀ·W·q̇ + α·Fᵀ·q̇.
//
// W comes from the `matrix` container (n x n; the identity when empty), F from `vector`
// (n entries; zero when empty) and α from `scalar` (0 when empty). The rows of end effectors
// that are not hard constraints leave the exact rows and enter the cost through the first
// soft-constraint handler (a default one, weight 1, when none is given; see
// KtWlsSoftConstraintHandler). The rates of the secondary goals alone (the solve with V = 0)
// are kept beside the full rates.
class KtControlExpressionCore : public KtXmlCloneable<KtControlExpressionCore, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtControlExpressionContainer& matrix() { return m_matrix; }
  KtControlExpressionContainer& vector() { return m_vector; }
  KtControlExpressionContainer& scalar() { return m_scalar; }
  KtXmlVariableVectorType<KtWlsSoftConstraintHandler>& softConstraintHandler() { return m_handlers; }

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

  // The last solve's rates: all of them, and those of the secondary goals alone.
  const std::vector<KtReal>& jointRates() const { return m_value.column(); }
  const std::vector<KtReal>& nullSpaceRates() const { return m_tool.nullSpaceRates(); }
  const KtCoreVelocityControlTool& tool() const { return m_tool; }

 protected:
  void registerComponents() override;
  // The class name that messages start with.
  virtual const char* className() const { return "KtControlExpressionCore"; }
  // Prepares the matrix, vector and scalar containers and checks their shapes.
  virtual bool prepareCostOperands(const KtControlContext& context);
  // Evaluates them (or takes their defaults) into the weighting W of this step (see
  // m_costWeighting) and the gradient term α·F.
  virtual bool evaluateCost(const KtControlContext& context);
  // Prepares an operand that may be left out, and checks that it gives a value of that kind and size.
  bool prepareOperand(KtControlExpressionContainer& operand, const KtControlContext& context,
                      const char* name, KtExpressionValue::Kind kind, std::size_t rows,
                      std::size_t columns) const;

  KtControlExpressionContainer m_matrix;
  KtControlExpressionContainer m_vector;
  KtControlExpressionContainer m_scalar;
  // Working W, for a cost that sums terms or takes the soft rows in.
  Kt::ReArray m_weighting;
  // The W of this step, owned by an operand or m_weighting; nullptr stands for the identity,
  // which is then never built.
  const Kt::ReArray* m_costWeighting = nullptr;
  std::vector<KtReal> m_gradient;

 private:
  // Copies the hard rows of J and V into the working hard-row storage; false if all are hard.
  bool separateSoftRows(const KtControlContext& context);
  static std::size_t hardRowCount(const KtEndEffectorSet& set);
  const KtWlsSoftConstraintHandler& handler() const;

  KtXmlVariableVectorType<KtWlsSoftConstraintHandler> m_handlers;

  // Working data, sized in prepare().
  KtCoreVelocityControlTool m_tool;
  Kt::ReArray m_hardJacobian;
  std::vector<KtReal> m_hardVelocities;
};

#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "math/ReArray.h"
#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/expression/KtControlContext.h"
#include "motion/expression/KtControlExpression.h"
#include "motion/velocity/VelocityTestSupport.h"
#include "support/Random.h"

// What the control-expression tests share: a leaf that yields any given value, builders of
// operator nodes, random values of every kind, comparisons of values, the context a description
// would build for the sample arm, and central differences of a cost over the joint-space columns.
namespace expression_test {

using Node = std::unique_ptr<KtControlExpression>;

// A leaf whose value is whatever the test gives it (a pair included, which no constant class makes).
inline Node given(const KtExpressionValue& value) { return std::make_unique<velocity_test::Literal>(value); }

// An operator node over one or two operands.
template <typename Operator>
Node op(Node operand) {
  auto node = std::make_unique<Operator>();
  node->operand().setExpression(std::move(operand));
  return node;
}
template <typename Operator>
Node op(Node first, Node second) {
  auto node = std::make_unique<Operator>();
  node->firstOperand().setExpression(std::move(first));
  node->secondOperand().setExpression(std::move(second));
  return node;
}

inline KtExpressionValue scalar(double x) {
  KtExpressionValue value;
  value.shapeAsScalar();
  value.scalar() = x;
  return value;
}
inline KtExpressionValue column(const std::vector<double>& entries) {
  KtExpressionValue value;
  value.shapeAsColumn(entries.size());
  value.column() = entries;
  return value;
}

// Entries uniform in [low, high]: a column of n, an r x c matrix, a pair of size n.
inline KtExpressionValue randomValue(TestRandom& rng, KtExpressionValue::Kind kind, std::size_t rows,
                                     std::size_t columns, double low = -2.0, double high = 2.0) {
  KtExpressionValue value;
  switch (kind) {
    case KtExpressionValue::Kind::column:
      value.shapeAsColumn(rows);
      break;
    case KtExpressionValue::Kind::matrix:
      value.shapeAsMatrix(rows, columns);
      break;
    case KtExpressionValue::Kind::ab:
      value.shapeAsAb(rows);
      break;
    default:
      value.shapeAsScalar();
  }
  value.forEachEntry([&](double& entry) { entry = rng.uniform(low, high); });
  return value;
}

// The value of a tree, prepared and evaluated for the context.
inline KtExpressionValue evaluated(Node tree, const KtControlContext& context = {}) {
  EXPECT_TRUE(tree->prepare(context));
  EXPECT_TRUE(tree->evaluate(context));
  return tree->value();
}

// Every entry in the order of KtExpressionValue::forEachEntry.
inline std::vector<double> entries(KtExpressionValue value) {
  std::vector<double> all;
  value.forEachEntry([&](double entry) { all.push_back(entry); });
  return all;
}

inline void expectSame(const KtExpressionValue& actual, const KtExpressionValue& expected, double tolerance,
                       const std::string& what) {
  ASSERT_TRUE(actual.sameShape(expected))
      << what << ": " << actual.kindName() << " " << actual.rows() << " x " << actual.columns() << " for "
      << expected.kindName() << " " << expected.rows() << " x " << expected.columns();
  const std::vector<double> a = entries(actual), e = entries(expected);
  for (std::size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], e[i], tolerance) << what << ", entry " << i;
}

// The context of manipulator 0 of the arm in its current state, with the flange set's rows,
// over its joints and, when the base is free, six base columns.
inline KtControlContext contextFor(velocity_test::FlangeControl& arm, bool fixedBase) {
  KtControlContext context;
  context.stated = &arm.stated;
  context.manipulator = &arm.stated.system().manipulator(0);
  context.state = arm.stated.activeState(0);
  context.endEffectorSet = arm.control.endEffectorSet(0);
  context.isFixedBase = fixedBase;
  context.columnCount = context.manipulator->jointDof() + (fixedBase ? 0 : 6);
  context.rowCount = context.endEffectorSet->totalRowCount();
  context.jacobian = &context.endEffectorSet->jacobian(*context.manipulator, fixedBase, *context.state);
  return context;
}

// Central differences of cost(active state) over each of `columns` joint-space columns of
// manipulator 0 (joints, then base translations and rotations); the state is restored.
template <typename Cost>
std::vector<double> costGradient(KtStatedSystem& stated, std::size_t columns, Cost&& cost,
                                 double step = 1e-6) {
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const KtPositionState original = stated.state().positionStates()[0];
  std::vector<double> gradient(columns);
  for (std::size_t c = 0; c < columns; ++c) {
    stated.setIndividualState(0, endeffector_test::movedPosition(arm, original, c, step));
    const double after = cost(*stated.activeState(0));
    stated.setIndividualState(0, endeffector_test::movedPosition(arm, original, c, -step));
    const double before = cost(*stated.activeState(0));
    gradient[c] = (after - before) / (2 * step);
  }
  stated.setIndividualState(0, original);
  stated.activeState(0);
  return gradient;
}

}  // namespace expression_test

#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "math/ReArray.h"
#include "motion/expression/KtControlExpression.h"
#include "support/Random.h"

// What the control-expression tests share: a leaf that yields any given value, builders of
// operator nodes, random values of every kind, and comparisons of values.
namespace expression_test {

// A leaf whose value is whatever the test gives it (a pair included, which no literal makes).
class Given : public KtXmlCloneable<Given, KtControlExpression> {
 public:
  explicit Given(KtExpressionValue value = {}) : m_given(std::move(value)) {}
  bool prepare(const KtControlContext&) override {
    m_value.shapeLike(m_given);
    return true;
  }
  bool evaluate(const KtControlContext&) override {
    m_value = m_given;
    return true;
  }

 private:
  KtExpressionValue m_given;
};

using Node = std::unique_ptr<KtControlExpression>;

inline Node given(KtExpressionValue value) { return std::make_unique<Given>(std::move(value)); }

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

}  // namespace expression_test

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "ExpressionTestSupport.h"
#include "motion/expression/KtControlExpressionAnd.h"
#include "motion/expression/KtControlExpressionColumnTableFunction.h"
#include "motion/expression/KtControlExpressionCosine.h"
#include "motion/expression/KtControlExpressionElementInverse.h"
#include "motion/expression/KtControlExpressionElementLog.h"
#include "motion/expression/KtControlExpressionElementLogN.h"
#include "motion/expression/KtControlExpressionElementPow.h"
#include "motion/expression/KtControlExpressionElementRoot.h"
#include "motion/expression/KtControlExpressionGreaterThan.h"
#include "motion/expression/KtControlExpressionGreaterThanOrEqualTo.h"
#include "motion/expression/KtControlExpressionLessThan.h"
#include "motion/expression/KtControlExpressionLessThanOrEqualTo.h"
#include "motion/expression/KtControlExpressionMatrixToAb.h"
#include "motion/expression/KtControlExpressionMinus.h"
#include "motion/expression/KtControlExpressionNegative.h"
#include "motion/expression/KtControlExpressionPlus.h"
#include "motion/expression/KtControlExpressionSine.h"
#include "motion/expression/KtControlExpressionTimes.h"
#include "motion/expression/KtControlExpressionTranspose.h"
#include "motion/expression/KtControlExpressionVectorToAb.h"

namespace {

using namespace expression_test;
using Kind = KtExpressionValue::Kind;

// Sums and differences undo each other and commute, for every kind, with a scalar spread over
// the other operand; a scalar times a value is the value added to itself, for pairs too.
TEST(KtControlExpressionAlgebraTest, SumsDifferencesAndScaling) {
  TestRandom rng(1);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const Kind kinds[] = {Kind::scalar, Kind::column, Kind::matrix, Kind::ab};
    const Kind kind = kinds[rng.integer(0, 3)];
    const std::size_t rows = rng.integer(1, 5), columns = rng.integer(1, 5);
    const KtExpressionValue a = randomValue(rng, kind, rows, columns),
                            b = randomValue(rng, kind, rows, columns);
    expectSame(
        evaluated(op<KtControlExpressionPlus>(op<KtControlExpressionMinus>(given(a), given(b)), given(b))), a,
        1e-12, "a - b + b");
    expectSame(evaluated(op<KtControlExpressionPlus>(given(a), given(b))),
               evaluated(op<KtControlExpressionPlus>(given(b), given(a))), 0.0, "a + b = b + a");
    expectSame(evaluated(op<KtControlExpressionPlus>(given(a), op<KtControlExpressionNegative>(given(a)))),
               evaluated(op<KtControlExpressionMinus>(given(a), given(a))), 0.0, "a + -a = a - a");
    expectSame(evaluated(op<KtControlExpressionTimes>(given(scalar(2.0)), given(a))),
               evaluated(op<KtControlExpressionPlus>(given(a), given(a))), 1e-12, "2 a = a + a");
    if (kind == Kind::ab) continue;
    const double s = rng.uniform(-2, 2);
    expectSame(evaluated(op<KtControlExpressionMinus>(op<KtControlExpressionPlus>(given(scalar(s)), given(a)),
                                                      given(scalar(s)))),
               a, 1e-12, "(s + a) - s");
    expectSame(evaluated(op<KtControlExpressionTimes>(given(a), given(scalar(s)))),
               evaluated(op<KtControlExpressionTimes>(given(scalar(s)), given(a))), 0.0, "a s = s a");
  }
}

// Matrix products against transposes: (A·B)ᵀ = Bᵀ·Aᵀ, and (A·x)ᵀ = xᵀ·Aᵀ for a column x.
TEST(KtControlExpressionAlgebraTest, ProductsTranspose) {
  TestRandom rng(2);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const std::size_t r = rng.integer(1, 5), k = rng.integer(1, 5), c = rng.integer(1, 5);
    const KtExpressionValue A = randomValue(rng, Kind::matrix, r, k),
                            B = randomValue(rng, Kind::matrix, k, c),
                            x = randomValue(rng, Kind::column, k, 1);
    using T = KtControlExpressionTranspose;
    expectSame(evaluated(op<T>(op<KtControlExpressionTimes>(given(A), given(B)))),
               evaluated(op<KtControlExpressionTimes>(op<T>(given(B)), op<T>(given(A)))), 1e-12, "(AB)'");
    expectSame(evaluated(op<T>(op<KtControlExpressionTimes>(given(A), given(x)))),
               evaluated(op<KtControlExpressionTimes>(op<T>(given(x)), op<T>(given(A)))), 1e-12, "(Ax)'");
  }
}

// The element functions against their inverses and identities.
TEST(KtControlExpressionAlgebraTest, ElementFunctionsInvertEachOther) {
  TestRandom rng(3);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const std::size_t n = rng.integer(1, 6);
    const KtExpressionValue x = randomValue(rng, Kind::column, n, 1, 0.1, 5.0);
    const KtExpressionValue ones = column(std::vector<double>(n, 1.0));
    const double p = rng.uniform(0.3, 3.0), base = rng.uniform(1.5, 10.0);
    expectSame(evaluated(op<KtControlExpressionElementRoot>(
                   op<KtControlExpressionElementPow>(given(x), given(scalar(p))), given(scalar(p)))),
               x, 1e-12, "root(pow(x, p), p)");
    KtExpressionValue logs = x;
    logs.forEachEntry([&](double& entry) { entry = std::log(entry) / std::log(base); });
    expectSame(evaluated(op<KtControlExpressionElementLogN>(given(x), given(scalar(base)))), logs, 1e-12,
               "log_b x");
    expectSame(evaluated(op<KtControlExpressionElementLog>(given(x))),
               evaluated(op<KtControlExpressionElementLogN>(given(x), given(scalar(std::exp(1.0))))), 1e-12,
               "log x");
    expectSame(
        evaluated(op<KtControlExpressionTimes>(given(x), op<KtControlExpressionElementInverse>(given(x)))),
        ones, 1e-12, "x / x");
    using Square = KtControlExpressionElementPow;
    expectSame(evaluated(op<KtControlExpressionPlus>(
                   op<Square>(op<KtControlExpressionSine>(given(x)), given(scalar(2))),
                   op<Square>(op<KtControlExpressionCosine>(given(x)), given(scalar(2))))),
               ones, 1e-12, "sin² + cos²");
  }
}

// On values with many ties, > and <= (also < and >=) partition every entry, the equality that
// >= and <= make together completes > and <, and `and` is true exactly where both are non-zero.
TEST(KtControlExpressionAlgebraTest, ComparisonsPartition) {
  TestRandom rng(4);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const std::size_t rows = rng.integer(1, 4), columns = rng.integer(1, 4);
    KtExpressionValue x = randomValue(rng, Kind::matrix, rows, columns), y = x;
    x.forEachEntry([&](double& entry) { entry = rng.integer(0, 2); });
    y.forEachEntry([&](double& entry) { entry = rng.integer(0, 2); });
    const auto compare = [&](auto comparison) { return entries(evaluated(std::move(comparison))); };
    const auto gt = compare(op<KtControlExpressionGreaterThan>(given(x), given(y)));
    const auto ge = compare(op<KtControlExpressionGreaterThanOrEqualTo>(given(x), given(y)));
    const auto lt = compare(op<KtControlExpressionLessThan>(given(x), given(y)));
    const auto le = compare(op<KtControlExpressionLessThanOrEqualTo>(given(x), given(y)));
    const auto equal =
        compare(op<KtControlExpressionAnd>(op<KtControlExpressionGreaterThanOrEqualTo>(given(x), given(y)),
                                           op<KtControlExpressionLessThanOrEqualTo>(given(x), given(y))));
    const auto both = compare(op<KtControlExpressionAnd>(given(x), given(y)));
    const auto xs = entries(x), ys = entries(y);
    for (std::size_t k = 0; k < xs.size(); ++k) {
      EXPECT_EQ(gt[k] + le[k], 1.0);
      EXPECT_EQ(lt[k] + ge[k], 1.0);
      EXPECT_EQ(gt[k] + lt[k] + equal[k], 1.0);
      EXPECT_EQ(equal[k], xs[k] == ys[k] ? 1.0 : 0.0);
      EXPECT_EQ(both[k], xs[k] != 0 && ys[k] != 0 ? 1.0 : 0.0);
    }
  }
}

// A random table reproduces its breakpoints, is linear between them (the midpoint gives the
// mean) and holds its end values beyond the ends.
TEST(KtControlExpressionAlgebraTest, TableFunctionInterpolates) {
  TestRandom rng(5);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const std::size_t k = rng.integer(1, 6);
    Kt::ReArray table(2, k);
    double x = rng.uniform(-3, 0);
    for (std::size_t c = 0; c < k; ++c, x += rng.uniform(0.01, 2.0)) {
      table[0][c] = x;
      table[1][c] = rng.uniform(-5, 5);
    }
    std::vector<double> inputs = table[0], expected = table[1];
    for (std::size_t c = 0; c + 1 < k; ++c) {
      inputs.push_back((table[0][c] + table[0][c + 1]) / 2);
      expected.push_back((table[1][c] + table[1][c + 1]) / 2);
    }
    inputs.insert(inputs.end(), {table[0][0] - 1.0, table[0][k - 1] + 1.0});
    expected.insert(expected.end(), {table[1][0], table[1][k - 1]});
    auto function = std::make_unique<KtControlExpressionColumnTableFunction>();
    function->setTableFunction(table);
    function->operand().setExpression(given(column(inputs)));
    expectSame(evaluated(std::move(function)), column(expected), 1e-12, "table");
  }
}

// ½·q̇ᵀ·A·q̇ − bᵀ·q̇, the cost a pair stands for.
double cost(const KtExpressionValue& pair, const std::vector<double>& rates) {
  double total = 0.0;
  for (std::size_t i = 0; i < rates.size(); ++i) {
    total -= pair.column()[i] * rates[i];
    for (std::size_t j = 0; j < rates.size(); ++j) total += 0.5 * rates[i] * pair.matrix()[i][j] * rates[j];
  }
  return total;
}

// The converted pairs give the costs of W and F (½·q̇ᵀ·W·q̇ and Fᵀ·q̇), and pair arithmetic
// is arithmetic on costs: sums add, differences subtract, negation and scaling act on the cost.
TEST(KtControlExpressionAlgebraTest, PairsCarryTheirCosts) {
  TestRandom rng(6);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const std::size_t n = rng.integer(1, 7);
    const KtExpressionValue W = randomValue(rng, Kind::matrix, n, n),
                            F = randomValue(rng, Kind::column, n, 1);
    const std::vector<double> rates = entries(randomValue(rng, Kind::column, n, 1));
    double quadratic = 0.0, linear = 0.0;
    for (std::size_t r = 0; r < n; ++r) {
      linear += F.column()[r] * rates[r];
      for (std::size_t c = 0; c < n; ++c) quadratic += 0.5 * rates[r] * W.matrix()[r][c] * rates[c];
    }
    const auto fromW = [&] { return op<KtControlExpressionMatrixToAb>(given(W)); };
    const auto fromF = [&] { return op<KtControlExpressionVectorToAb>(given(F)); };
    const double s = rng.uniform(-3, 3);
    EXPECT_NEAR(cost(evaluated(fromW()), rates), quadratic, 1e-12);
    EXPECT_NEAR(cost(evaluated(fromF()), rates), linear, 1e-12);
    EXPECT_NEAR(cost(evaluated(op<KtControlExpressionPlus>(fromW(), fromF())), rates), quadratic + linear,
                1e-12);
    EXPECT_NEAR(cost(evaluated(op<KtControlExpressionMinus>(fromW(), fromF())), rates), quadratic - linear,
                1e-12);
    EXPECT_NEAR(cost(evaluated(op<KtControlExpressionNegative>(fromF())), rates), -linear, 1e-12);
    EXPECT_NEAR(cost(evaluated(op<KtControlExpressionTimes>(fromW(), given(scalar(s)))), rates),
                s * quadratic, 1e-12);
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "motion/velocity/KtCoreVelocityControlTool.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

constexpr std::size_t kColumns = 7;

struct Problem {
  Kt::ReArray J, W, sparsity;
  std::vector<KtReal> F, V;
  KtReal alpha = 0.0;
};

Eigen::MatrixXd toEigen(const Kt::ReArray& a, std::size_t columns) {
  Eigen::MatrixXd result(a.rows(), columns);
  for (std::size_t r = 0; r < a.rows(); ++r)
    for (std::size_t c = 0; c < columns; ++c) result(r, c) = a[r][c];
  return result;
}

Eigen::VectorXd toEigen(const std::vector<KtReal>& v) {
  return Eigen::Map<const Eigen::VectorXd>(v.data(), static_cast<Eigen::Index>(v.size()));
}

// Well-conditioned m x n Jacobian (smallest singular value at least 0.05, drawn again until it
// is); row r starts with leadingZeros[r] structural zeros, and its sparsity row is one from
// there on. W = AᵀA + I is symmetric positive definite.
Problem randomProblem(TestRandom& rng, std::size_t m, const std::vector<std::size_t>& leadingZeros = {}) {
  Problem p;
  p.J = Kt::ReArray(m, kColumns);
  p.sparsity = Kt::ReArray(m, kColumns);
  do {
    for (std::size_t r = 0; r < m; ++r) {
      for (std::size_t c = leadingZeros.empty() ? 0 : leadingZeros[r]; c < kColumns; ++c) {
        p.J[r][c] = rng.uniform(-1.0, 1.0);
        p.sparsity[r][c] = 1.0;
      }
    }
  } while (m > 0 && toEigen(p.J, kColumns).jacobiSvd().singularValues().minCoeff() < 0.05);
  Eigen::MatrixXd A = Eigen::MatrixXd::NullaryExpr(kColumns, kColumns, [&rng] { return rng.uniform(-1, 1); });
  const Eigen::MatrixXd W = A.transpose() * A + Eigen::MatrixXd::Identity(kColumns, kColumns);
  p.W = Kt::ReArray(kColumns, kColumns);
  for (std::size_t r = 0; r < kColumns; ++r)
    for (std::size_t c = 0; c < kColumns; ++c) p.W[r][c] = W(r, c);
  for (std::size_t i = 0; i < kColumns; ++i) p.F.push_back(rng.uniform(-1.0, 1.0));
  for (std::size_t i = 0; i < m; ++i) p.V.push_back(rng.uniform(-1.0, 1.0));
  p.alpha = rng.uniform(-2.0, 2.0);
  return p;
}

// The constrained minimum from its optimality conditions [W Jᵀ; J 0]·[q; λ] = [−αF; V],
// solved with a fully pivoted factorisation.
Eigen::VectorXd kktRates(const Problem& p, const std::vector<KtReal>& V) {
  const Eigen::Index n = kColumns, m = static_cast<Eigen::Index>(p.J.rows());
  const Eigen::MatrixXd J = toEigen(p.J, kColumns);
  Eigen::MatrixXd K = Eigen::MatrixXd::Zero(n + m, n + m);
  K.topLeftCorner(n, n) = toEigen(p.W, kColumns);
  K.topRightCorner(n, m) = J.transpose();
  K.bottomLeftCorner(m, n) = J;
  Eigen::VectorXd rhs(n + m);
  rhs << -p.alpha * toEigen(p.F), toEigen(V);
  return Eigen::FullPivLU<Eigen::MatrixXd>(K).solve(rhs).head(n);
}

// Full rates achieve V and are optimal in the null space; the null-space-only rates are the
// same problem with V = 0. Both agree with the independent KKT solution.
void expectOptimalRates(const Problem& p, const KtCoreVelocityControlTool& tool) {
  const std::size_t m = p.J.rows();
  ASSERT_EQ(tool.rowCount(), m);
  ASSERT_EQ(tool.columnCount(), kColumns);
  ASSERT_EQ(tool.nullity(), kColumns - m);
  const Eigen::MatrixXd J = toEigen(p.J, kColumns), W = toEigen(p.W, kColumns);
  const Eigen::MatrixXd N = toEigen(tool.nullSpaceBasis(), kColumns - m);
  ASSERT_EQ(N.rows(), static_cast<Eigen::Index>(kColumns));
  if (m > 0) {
    EXPECT_LT((J * N).cwiseAbs().maxCoeff(), 1e-12 * (1.0 + N.cwiseAbs().maxCoeff()));
  }
  EXPECT_EQ(Eigen::FullPivLU<Eigen::MatrixXd>(N).rank(), static_cast<Eigen::Index>(kColumns - m));

  const std::vector<KtReal> noMotion(m, 0.0);
  for (const bool nullSpaceOnly : {false, true}) {
    const Eigen::VectorXd q = toEigen(nullSpaceOnly ? tool.nullSpaceRates() : tool.jointRates());
    const Eigen::VectorXd V = toEigen(nullSpaceOnly ? noMotion : p.V);
    if (m > 0) {
      EXPECT_LT((J * q - V).cwiseAbs().maxCoeff(), 1e-10);
    }
    if (m < kColumns) {
      EXPECT_LT((N.transpose() * (W * q + p.alpha * toEigen(p.F))).cwiseAbs().maxCoeff(), 1e-10);
    }
    EXPECT_LT((q - kktRates(p, nullSpaceOnly ? noMotion : p.V)).cwiseAbs().maxCoeff(), 1e-9);
  }
}

bool allFinite(const std::vector<KtReal>& v) {
  return std::all_of(v.begin(), v.end(), [](KtReal x) { return std::isfinite(x); });
}

}  // namespace

TEST(KtCoreVelocityControlTool, RatesAreTheConstrainedMinimumForDenseJacobians) {
  TestRandom rng(901);
  KtCoreVelocityControlTool tool;  // one tool, reshaped as m changes
  for (int c = 0; c < TestRandom::cases(); ++c) {
    for (const std::size_t m : {6u, 3u, 0u}) {
      const Problem p = randomProblem(rng, m);
      ASSERT_TRUE(tool.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kColumns));
      expectOptimalRates(p, tool);
    }
  }
}

TEST(KtCoreVelocityControlTool, SparsityPatternGivesTheDenseResultsExactly) {
  TestRandom rng(902);
  KtCoreVelocityControlTool dense, sparse;
  for (int c = 0; c < TestRandom::cases(); ++c) {
    // Leading zeros that keep full row rank: the i-th smallest is at most i + n − m.
    const std::size_t m = rng.integer(1, 6);
    std::vector<std::size_t> leadingZeros(m);
    for (std::size_t r = 0; r < m; ++r) leadingZeros[r] = rng.integer(0, static_cast<int>(r + kColumns - m));
    std::shuffle(leadingZeros.begin(), leadingZeros.end(), rng.engine());
    const Problem p = randomProblem(rng, m, leadingZeros);
    ASSERT_TRUE(sparse.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kColumns, &p.sparsity));
    ASSERT_TRUE(dense.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kColumns));
    expectOptimalRates(p, sparse);
    EXPECT_EQ(sparse.jointRates(), dense.jointRates());
    EXPECT_EQ(sparse.nullSpaceRates(), dense.nullSpaceRates());
  }
}

TEST(KtCoreVelocityControlTool, SquareJacobianIgnoresTheGoalsAndZeroScaleLeavesNoNullSpaceMotion) {
  TestRandom rng(903);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const Problem p = randomProblem(rng, kColumns), other = randomProblem(rng, kColumns);
    KtCoreVelocityControlTool tool, otherGoals;
    ASSERT_TRUE(tool.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kColumns));
    ASSERT_TRUE(otherGoals.calcJointRates(p.J, other.W, other.F, other.alpha, p.V, kColumns));
    EXPECT_EQ(tool.jointRates(), otherGoals.jointRates());
    const Eigen::VectorXd exact = toEigen(p.J, kColumns).fullPivLu().solve(toEigen(p.V));
    EXPECT_LT((toEigen(tool.jointRates()) - exact).cwiseAbs().maxCoeff(), 1e-9);

    const Problem redundant = randomProblem(rng, 6);
    ASSERT_TRUE(tool.calcJointRates(redundant.J, redundant.W, redundant.F, 0.0, redundant.V, kColumns));
    EXPECT_EQ(tool.nullSpaceRates(), std::vector<KtReal>(kColumns, 0.0));
  }
}

TEST(KtCoreVelocityControlTool, RefusesBadInputWithAMessageAndZeroRates) {
  TestRandom rng(904);
  const Problem p = randomProblem(rng, 6);
  Problem dependent = p;  // the last row is a combination of the first two
  for (std::size_t c = 0; c < kColumns; ++c) dependent.J[5][c] = p.J[0][c] - 2.0 * p.J[1][c];
  Problem zeroRow = p;
  zeroRow.J[2] = std::vector<KtReal>(kColumns, 0.0);
  const Kt::ReArray tall(8, kColumns), noWeight(kColumns, kColumns), shortWeight(6, 6), wrongPattern(6, 6);
  const std::vector<KtReal> shortF(6, 1.0), shortV(5, 1.0);
  struct Case {
    std::string name;
    std::function<bool(KtCoreVelocityControlTool&)> call;
    std::string message;
    bool clearsRates = true;  // a failed solve leaves no motion behind
  };
  const std::string tool = "KtCoreVelocityControlTool::";
  const std::vector<Case> cases = {
      {"more rows than columns",
       [&](auto& t) { return t.calcJointRates(tall, p.W, p.F, 1.0, p.V, kColumns); },
       tool + "calcJointRates(): n=7 is not greater than or equal to m=8\n"},
      {"short gradient", [&](auto& t) { return t.calcJointRates(p.J, p.W, shortF, 1.0, p.V, kColumns); },
       tool + "calcJointRates(): incorrectly dimensioned vector.\n"},
      {"weight of the wrong size",
       [&](auto& t) { return t.calcJointRates(p.J, shortWeight, p.F, 1.0, p.V, kColumns); },
       tool + "calcJointRates(): bad dimensions on input: W is 6x6 and V has 6 entries for m=6, n=7\n"},
      {"short velocity", [&](auto& t) { return t.calcJointRates(p.J, p.W, p.F, 1.0, shortV, kColumns); },
       tool + "calcJointRates(): bad dimensions on input: W is 7x7 and V has 5 entries for m=6, n=7\n"},
      {"sparsity of the wrong shape",
       [&](auto& t) { return t.calcJointRates(p.J, p.W, p.F, 1.0, p.V, kColumns, &wrongPattern); },
       tool + "prep(): bad dimensions on input: sparsity is 6x6, J is 6x7\n"},
      {"dependent rows", [&](auto& t) { return t.calcJointRates(dependent.J, p.W, p.F, 1.0, p.V, kColumns); },
       tool + "prep(): J is rank deficient at row 5\n"},
      {"zero row", [&](auto& t) { return t.calcJointRates(zeroRow.J, p.W, p.F, 1.0, p.V, kColumns); },
       tool + "prep(): J is rank deficient at row 2\n"},
      {"zero weight", [&](auto& t) { return t.calcJointRates(p.J, noWeight, p.F, 1.0, p.V, kColumns); },
       tool + "prep(): the core matrix is singular at row 6 (W is not definite on the null space of J)\n"},
      {"prep with mismatched J and W", [&](auto& t) { return t.prep(p.J, shortWeight); },
       tool + "prep(): bad dimensions on input: J is 6x7, W is 6x6\n", false},
      {"calc before a successful prep",
       [&](auto&) {
         KtCoreVelocityControlTool fresh;
         std::vector<KtReal> rates;
         return fresh.calc(p.F, rates);
       },
       tool + "calc(): bad dimensions on input...\n", false},
      {"calc with a short right-hand side",
       [&](auto& t) {
         std::vector<KtReal> rates;
         return t.prep(p.J, p.W) && t.calc(shortF, rates);
       },
       tool + "calc(): bad dimensions on input...\n", false},
  };
  for (const Case& c : cases) {
    KtCoreVelocityControlTool solver;
    // A good solve first, so that a failure must replace earlier rates.
    ASSERT_TRUE(solver.calcJointRates(p.J, p.W, p.F, 1.0, p.V, kColumns));
    PrintCapture capture;
    EXPECT_FALSE(c.call(solver)) << c.name;
    EXPECT_EQ(capture.text(), c.message) << c.name;
    EXPECT_TRUE(allFinite(solver.jointRates()) && allFinite(solver.nullSpaceRates())) << c.name;
    if (c.clearsRates) {
      EXPECT_EQ(solver.jointRates(), std::vector<KtReal>(kColumns, 0.0)) << c.name;
      EXPECT_EQ(solver.nullSpaceRates(), std::vector<KtReal>(kColumns, 0.0)) << c.name;
    }
  }
}

TEST(KtCoreVelocityControlTool, WarmSolvesDoNotAllocate) {
  TestRandom rng(905);
  const Problem first = randomProblem(rng, 6, {0, 1, 0, 2, 1, 0}),
                next = randomProblem(rng, 6, {0, 1, 0, 2, 1, 0});
  for (const Kt::ReArray* sparsity : {static_cast<const Kt::ReArray*>(nullptr), &first.sparsity}) {
    KtCoreVelocityControlTool tool;
    ASSERT_TRUE(tool.calcJointRates(first.J, first.W, first.F, first.alpha, first.V, kColumns, sparsity));
    NoAllocationGuard guard;
    EXPECT_TRUE(tool.calcJointRates(next.J, next.W, next.F, next.alpha, next.V, kColumns, sparsity));
  }
}

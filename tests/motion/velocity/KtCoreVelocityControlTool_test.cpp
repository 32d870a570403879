#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "motion/velocity/KtCoreVelocityControlTool.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

using Eigen::MatrixXd;
using Eigen::VectorXd;

namespace {

constexpr std::size_t kN = 7;
using Rates = std::vector<KtReal>;

MatrixXd toEigen(const Kt::ReArray& a, std::size_t columns = kN) {
  MatrixXd result(a.rows(), columns);
  for (std::size_t r = 0; r < a.rows(); ++r)
    for (std::size_t c = 0; c < columns; ++c) result(r, c) = a[r][c];
  return result;
}
VectorXd toEigen(const Rates& v) { return Eigen::Map<const VectorXd>(v.data(), std::ssize(v)); }
double maxAbs(const MatrixXd& a) { return a.size() == 0 ? 0.0 : a.cwiseAbs().maxCoeff(); }

struct Problem {
  Kt::ReArray J, W, sparsity;
  Rates F, V;
  KtReal alpha;
};

// J (m x 7) has smallest singular value at least 0.05; with leading zeros, row r starts with
// zeros[r] structural zeros (the i-th smallest at most i + n − m keeps full rank) and its
// sparsity row is one from there on. W = AᵀA + I is symmetric positive definite.
Problem randomProblem(TestRandom& rng, std::size_t m, bool leadingZeros) {
  Problem p{Kt::ReArray(m, kN), Kt::ReArray(kN, kN), Kt::ReArray(m, kN), {}, {}, rng.uniform(-2, 2)};
  std::vector<std::size_t> zeros(m, 0);
  for (std::size_t r = 0; r < m && leadingZeros; ++r) zeros[r] = rng.integer(0, static_cast<int>(r + kN - m));
  std::shuffle(zeros.begin(), zeros.end(), rng.engine());
  do {
    for (std::size_t r = 0; r < m; ++r)
      for (std::size_t c = zeros[r]; c < kN; ++c) p.J[r][c] = rng.uniform(-1, 1), p.sparsity[r][c] = 1.0;
  } while (m > 0 && toEigen(p.J).jacobiSvd().singularValues().minCoeff() < 0.05);
  const MatrixXd A = MatrixXd::NullaryExpr(kN, kN, [&rng] { return rng.uniform(-1, 1); });
  const MatrixXd W = A.transpose() * A + MatrixXd::Identity(kN, kN);
  for (std::size_t r = 0; r < kN; ++r)
    for (std::size_t c = 0; c < kN; ++c) p.W[r][c] = W(r, c);
  for (std::size_t i = 0; i < kN; ++i) p.F.push_back(rng.uniform(-1, 1));
  for (std::size_t i = 0; i < m; ++i) p.V.push_back(rng.uniform(-1, 1));
  return p;
}

// The constrained minimum from its optimality conditions [W Jᵀ; J 0]·[q; λ] = [−αF; V],
// solved with a fully pivoted factorisation.
VectorXd kktRates(const Problem& p, const VectorXd& V) {
  const Eigen::Index m = V.size();
  const MatrixXd J = toEigen(p.J);
  MatrixXd K = MatrixXd::Zero(kN + m, kN + m);
  K.topLeftCorner(kN, kN) = toEigen(p.W);
  K.topRightCorner(kN, m) = J.transpose();
  K.bottomLeftCorner(m, kN) = J;
  VectorXd rhs(kN + m);
  rhs << -p.alpha * toEigen(p.F), V;
  return Eigen::FullPivLU<MatrixXd>(K).solve(rhs).head(kN);
}

// The basis spans J's null space; the full rates achieve V, the null-space-only rates achieve
// zero, both are optimal in the null space and equal the KKT solution.
void expectOptimalRates(const Problem& p, const KtCoreVelocityControlTool& tool) {
  const std::size_t m = p.J.rows();
  ASSERT_TRUE(tool.rowCount() == m && tool.columnCount() == kN && tool.nullity() == kN - m);
  const MatrixXd J = toEigen(p.J), N = toEigen(tool.nullSpaceBasis(), kN - m);
  ASSERT_EQ(N.rows(), static_cast<Eigen::Index>(kN));
  EXPECT_LT(maxAbs(J * N), 1e-12 * (1.0 + maxAbs(N)));
  EXPECT_TRUE(N.cols() == 0 || Eigen::FullPivLU<MatrixXd>(N).rank() == N.cols());
  for (const bool nullSpaceOnly : {false, true}) {
    const VectorXd q = toEigen(nullSpaceOnly ? tool.nullSpaceRates() : tool.jointRates());
    const VectorXd V = nullSpaceOnly ? VectorXd::Zero(m) : toEigen(p.V);
    EXPECT_LT(maxAbs(J * q - V), 1e-10);
    EXPECT_LT(maxAbs(N.transpose() * (toEigen(p.W) * q + p.alpha * toEigen(p.F))), 1e-10);
    EXPECT_LT(maxAbs(q - kktRates(p, V)), 1e-9);
  }
}

}  // namespace

TEST(KtCoreVelocityControlTool, RatesAreTheConstrainedMinimumAndSparsityChangesNothing) {
  TestRandom rng(901);
  KtCoreVelocityControlTool dense, sparse, other, unit;  // reused: reshaped as m changes
  for (int c = 0; c < TestRandom::cases(); ++c) {
    for (const std::size_t m : {6u, 3u, 0u, 7u}) {
      const Problem p = randomProblem(rng, m, c % 2 == 1), goals = randomProblem(rng, 0, false);
      ASSERT_TRUE(dense.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kN));
      ASSERT_TRUE(sparse.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kN, &p.sparsity));
      expectOptimalRates(p, dense);
      // W left out stands for the identity (a single free direction is projected out directly).
      Problem identity = p;
      identity.W.setToIdentity(kN, kN);
      ASSERT_TRUE(unit.calcJointRates(p.J, p.F, p.alpha, p.V, kN, c % 2 == 1 ? &p.sparsity : nullptr));
      expectOptimalRates(identity, unit);
      // calc() solves with the core matrix [J; Nᵀ] that this solve factored.
      const Rates rhs = goals.F;
      Rates x;
      ASSERT_TRUE(unit.calc(rhs, x));
      const MatrixXd core =
          (MatrixXd(kN, kN) << toEigen(p.J), toEigen(unit.nullSpaceBasis(), kN - m).transpose()).finished();
      EXPECT_LT(maxAbs(core * toEigen(x) - toEigen(rhs)), 1e-9 * (1.0 + maxAbs(toEigen(x))));
      EXPECT_TRUE(sparse.jointRates() == dense.jointRates() &&
                  sparse.nullSpaceRates() == dense.nullSpaceRates());
      // Without a gradient scale the null space carries no motion; with m = n the goals and
      // the weighting do not matter at all.
      ASSERT_TRUE(other.calcJointRates(p.J, goals.W, goals.F, 0.0, p.V, kN));
      EXPECT_EQ(other.nullSpaceRates(), Rates(kN, 0.0));
      EXPECT_TRUE(m < kN || other.jointRates() == dense.jointRates());
    }
  }
}

TEST(KtCoreVelocityControlTool, RefusesBadInputWithAMessageAndNoMotion) {
  TestRandom rng(904);
  const Problem p = randomProblem(rng, 6, false);
  Kt::ReArray dependent = p.J, zeroRow = p.J;
  for (std::size_t c = 0; c < kN; ++c) dependent[5][c] = p.J[0][c] - 2.0 * p.J[1][c];
  zeroRow[2] = Rates(kN, 0.0);
  const Kt::ReArray tall(8, kN), zeroW(kN, kN), smallW(6, 6);
  const Rates six(6, 1.0), five(5, 1.0);
  Rates rates;
  const std::string prefix = "KtCoreVelocityControlTool::";
  using Call = std::function<bool(KtCoreVelocityControlTool&)>;
  // A failed solve leaves no motion behind; prep and calc alone leave the last rates alone.
  enum After { cleared, kept };
  const std::vector<std::tuple<Call, std::string, After>> cases = {
      {[&](auto& t) { return t.calcJointRates(tall, p.W, p.F, 1, p.V, kN); },
       "calcJointRates(): n=7 is not greater than or equal to m=8\n", cleared},
      {[&](auto& t) { return t.calcJointRates(p.J, p.W, six, 1, p.V, kN); },
       "calcJointRates(): incorrectly dimensioned vector.\n", cleared},
      {[&](auto& t) { return t.calcJointRates(p.J, smallW, p.F, 1, p.V, kN); },
       "calcJointRates(): bad dimensions on input: W is 6x6 and V has 6 entries for m=6, n=7\n", cleared},
      {[&](auto& t) { return t.calcJointRates(p.J, p.W, p.F, 1, five, kN); },
       "calcJointRates(): bad dimensions on input: W is 7x7 and V has 5 entries for m=6, n=7\n", cleared},
      {[&](auto& t) { return t.calcJointRates(p.J, p.W, p.F, 1, p.V, kN, &smallW); },
       "prep(): bad dimensions on input: sparsity is 6x6, J is 6x7\n", cleared},
      {[&](auto& t) { return t.calcJointRates(dependent, p.W, p.F, 1, p.V, kN); },
       "prep(): J is rank deficient at row 5\n", cleared},
      {[&](auto& t) { return t.calcJointRates(zeroRow, p.W, p.F, 1, p.V, kN); },
       "prep(): J is rank deficient at row 2\n", cleared},
      {[&](auto& t) { return t.calcJointRates(p.J, zeroW, p.F, 1, p.V, kN); },
       "prep(): the core matrix is singular at row 6 (W is not definite on the null space of J)\n", cleared},
      {[&](auto& t) { return t.prep(p.J, smallW); }, "prep(): bad dimensions on input: J is 6x7, W is 6x6\n",
       kept},
      {[&](auto&) { return KtCoreVelocityControlTool().calc(p.F, rates); },
       "calc(): bad dimensions on input...\n", kept},
      {[&](auto& t) { return t.calc(six, rates); }, "calc(): bad dimensions on input...\n", kept},
  };
  for (const auto& [call, message, after] : cases) {
    KtCoreVelocityControlTool tool;
    ASSERT_TRUE(tool.calcJointRates(p.J, p.W, p.F, 1, p.V, kN));
    const Rates before = tool.jointRates(), none(kN, 0.0);
    PrintCapture capture;
    EXPECT_FALSE(call(tool));
    EXPECT_EQ(capture.text(), prefix + message);
    EXPECT_EQ(tool.jointRates(), after == kept ? before : none) << message;
    EXPECT_TRUE(after == kept || tool.nullSpaceRates() == none) << message;
  }
}

TEST(KtCoreVelocityControlTool, WarmSolvesDoNotAllocate) {
  TestRandom rng(905);
  const Problem p = randomProblem(rng, 6, true);
  for (const Kt::ReArray* sparsity : {static_cast<const Kt::ReArray*>(nullptr), &p.sparsity}) {
    KtCoreVelocityControlTool tool;
    ASSERT_TRUE(tool.calcJointRates(p.J, p.W, p.F, p.alpha, p.V, kN, sparsity));
    NoAllocationGuard guard;
    EXPECT_TRUE(tool.calcJointRates(p.J, p.W, p.F, -p.alpha, p.V, kN, sparsity));
  }
}

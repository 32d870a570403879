#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "math/MatrixOracle.h"
#include "math/ReArray.h"
#include "support/AllocationCounter.h"

using Kt::ReArray;
using namespace matrix_oracle;

TEST(ReArrayLU, FactorsReproduceTheColumnExchangedMatrixWithBoundedMultipliers) {
  TestRandom rng(301);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t n = rng.integer(1, 8), width = n + rng.integer(0, 2);
    const Matrix a = random(rng, n, width);
    ReArray lu = toReArray(a);
    ReArray::Pivots pivots;
    ASSERT_TRUE(lu.LUDecomposition(0, pivots));
    Matrix exchanged = a, lower(n, std::vector<double>(n, 0.0)), upper(n, std::vector<double>(width, 0.0));
    for (std::size_t k = 0; k < n; ++k) {
      ASSERT_GE(pivots[k], k);
      for (auto& row : exchanged) std::swap(row[k], row[pivots[k]]);
      for (std::size_t j = 0; j < width; ++j) (j < k ? lower[k][j] : upper[k][j]) = lu[k][j];
      lower[k][k] = 1.0;
      // Each pivot is the largest entry of its row of U.
      for (std::size_t j = k + 1; j < width; ++j) EXPECT_LE(std::fabs(upper[k][j]), std::fabs(upper[k][k]));
    }
    EXPECT_LT(maxDifference(multiply(lower, upper), exchanged), 1e-12 * n);
  }
}

TEST(ReArrayLU, SolvesInvertsAndReportsTheDeterminant) {
  TestRandom rng(302);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t n = rng.integer(1, 10);
    const Matrix a = random(rng, n, n), b = random(rng, 1, n);
    ReArray inverse = toReArray(a), unit;
    std::vector<double> x;
    double scalar = 0.0;
    ASSERT_TRUE(inverse.solve(b[0], x, &scalar));
    EXPECT_LT(maxDifference(times(a, {x}), b), 1e-13 * n * (maxAbs({x}) + 1.0));
    EXPECT_EQ(scalar, inverse.determinant());
    if (n <= 6) {  // Hadamard's bound, the product of the row lengths, scales the rounding error
      const Matrix gram = multiply(a, transposed(a));
      double bound = 1.0;
      for (std::size_t i = 0; i < n; ++i) bound *= std::sqrt(gram[i][i]);
      EXPECT_NEAR(scalar, laplaceDeterminant(a), 1e-13 * bound);
    }

    EXPECT_EQ(entries(inverse), a);  // untouched by solve
    ASSERT_TRUE(inverse.invertSquareMatrix());
    unit.setToIdentity(n, n);
    const double size = maxAbs(entries(inverse)) + 1.0;
    EXPECT_LT(maxDifference(multiply(entries(inverse), a), entries(unit)), 1e-12 * n * size);
    if (n == 3) {
      ReArray closedForm = toReArray(a);
      ASSERT_TRUE(closedForm.inv3(closedForm));  // into itself
      EXPECT_TRUE(closedForm.approxEq(inverse, 1e-12 * size * size));
    }
  }
}

TEST(ReArrayLU, SingularAndTiedPivotsFollowTheFixedRules) {
  ReArray zero(2, 2);
  ReArray::Pivots pivots;
  ASSERT_TRUE(zero.LUDecomposition(0, pivots));
  EXPECT_EQ(entries(zero), (Matrix{{1e-300, 0.0}, {0.0, 1e-300}}));
  EXPECT_EQ(pivots, (ReArray::Pivots{0, 1}));
  ReArray tied = toReArray({{0.0, -3.0, 3.0}, {1.0, 2.0, 4.0}});  // the earlier column is kept
  ASSERT_TRUE(tied.LUDecomposition(0, pivots));
  EXPECT_EQ(pivots[0], 1u);
  EXPECT_LT(std::fabs(toReArray({{1.0, 2.0}, {2.0, 4.0}}).determinant()), 1e-290);
}

TEST(ReArrayLU, ControlCycleOperationsDoNotAllocateOnceSized) {
  TestRandom rng(304);
  const ReArray square = toReArray(random(rng, 7, 7)), jacobian = toReArray(random(rng, 6, 7));
  const Matrix b = random(rng, 1, 7);
  ReArray lu, factored, basis, rowNormal, columnNormal;
  ReArray::Pivots pivots;
  std::vector<double> x, velocity;
  auto cycle = [&] {
    lu.copyEntriesOf(square);
    lu.LUDecomposition(0, pivots);
    square.solve(b[0], x);
    square.determinant();
    factored.copyEntriesOf(jacobian);
    factored.nullSpace(basis, 0, pivots);
    jacobian.underconstrainedNormal(rowNormal);
    jacobian.overconstrainedNormal(columnNormal);
    jacobian.transform(b[0], velocity);
  };
  cycle();
  NoAllocationGuard guard;
  cycle();
}

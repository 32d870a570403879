#include <gtest/gtest.h>

#include <algorithm>

#include "math/MatrixOracle.h"
#include "math/ReArray.h"

using Kt::ReArray;
using namespace matrix_oracle;

namespace {

// The basis must be annihilated by the first n rows and span a space of the right dimension.
void expectNullSpaceBasis(const Matrix& a, std::size_t n, const ReArray& basis) {
  ASSERT_EQ(basis.rows(), a[0].size());
  ASSERT_EQ(basis.columns(), a[0].size() - n);
  const Matrix rows(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(n));
  EXPECT_LT(maxAbs(multiply(rows, entries(basis))), 1e-11 * (maxAbs(entries(basis)) + 1.0));
  EXPECT_TRUE(independentColumns(entries(basis)));
}

}  // namespace

// Null-space bases are annihilated by the rows they are for (the first n, or all for n = 0) and
// of full rank. Rows with leading zeros (full row rank kept: the i-th smallest zero start is at
// most i + width - rows) give their zero starts, and the sparse variants then give exactly what
// the dense ones give.
TEST(ReArrayNullSpace, BasesAreAnnihilatedOfFullRankAndSparseMatchesDenseExactly) {
  TestRandom rng(402);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t denseRows = rng.integer(1, 6), n = rng.integer(0, static_cast<int>(denseRows));
    const Matrix any = random(rng, denseRows, denseRows + rng.integer(1, 4));
    ReArray factored = toReArray(any), anyBasis;
    ReArray::Pivots pivots;
    ASSERT_TRUE(factored.nullSpace(anyBasis, n, pivots));
    expectNullSpaceBasis(any, n == 0 ? denseRows : n, anyBasis);

    const std::size_t rows = rng.integer(1, 7), width = rows + rng.integer(1, 4);
    ReArray::Indices expectedStart(rows), zeroStart, working(rows);
    for (std::size_t r = 0; r < rows; ++r)
      expectedStart[r] = rng.integer(0, static_cast<int>(r + width - rows));
    std::shuffle(expectedStart.begin(), expectedStart.end(), rng.engine());
    Matrix a = random(rng, rows, width);
    for (std::size_t r = 0; r < rows; ++r) {
      std::fill_n(a[r].begin(), expectedStart[r], 0.0);
      a[r][expectedStart[r]] = rng.uniform(0.5, 1.0);
    }
    const ReArray matrix = toReArray(a);
    matrix.calculateZeroStartIndices(zeroStart);
    ASSERT_EQ(zeroStart, expectedStart);

    ReArray dense = matrix, sparse = matrix, denseBasis, sparseBasis;
    ReArray::Pivots densePivots, sparsePivots;
    ASSERT_TRUE(dense.LUDecomposition(0, densePivots));
    ASSERT_TRUE(sparse.LUDecompositionSparse(0, sparsePivots, zeroStart, working));
    EXPECT_EQ(sparsePivots, densePivots);
    EXPECT_TRUE(sparse == dense);
    dense = matrix;
    sparse = matrix;
    ASSERT_TRUE(dense.nullSpace(denseBasis, 0, densePivots));
    ASSERT_TRUE(sparse.nullSpaceSparse(sparseBasis, 0, sparsePivots, zeroStart, working));
    EXPECT_TRUE(sparseBasis == denseBasis);
    expectNullSpaceBasis(a, rows, sparseBasis);
  }
  // Combined zero starts are the elementwise minimum, also into one of the inputs.
  ReArray::Indices first = {3, 0, 5}, second = {1, 2, 5, 4}, combined;
  ReArray().combineIndices(first, second, combined);
  EXPECT_EQ(combined, (ReArray::Indices{1, 0, 5, 4}));
  ReArray().combineIndices(first, second, first);  // into one of its inputs
  EXPECT_EQ(first, combined);
}

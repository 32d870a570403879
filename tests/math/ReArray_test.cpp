#include "math/ReArray.h"

#include <gtest/gtest.h>

#include "math/MatrixOracle.h"
#include "support/PrintCapture.h"

using Kt::ReArray;
using namespace matrix_oracle;

TEST(ReArray, ProductsAndNormalFormsAgreeWithTheTextbookProduct) {
  TestRandom rng(501);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t m = rng.integer(1, 6), n = rng.integer(1, 6), p = rng.integer(1, 6);
    const Matrix a = random(rng, m, n), b = random(rng, n, p), left = random(rng, m, p);
    const Matrix v = random(rng, 1, n), w = random(rng, 1, m);
    const ReArray matrix = toReArray(a);
    ReArray result;
    std::vector<double> vector;
    EXPECT_LT(maxDifference(entries(matrix * toReArray(b)), multiply(a, b)), 1e-14);
    ASSERT_TRUE(matrix.transform(v[0], result));
    EXPECT_LT(maxDifference(transposed(entries(result)), times(a, v)), 1e-14);
    ASSERT_TRUE(matrix.transposeTransform(w[0], vector));
    EXPECT_LT(maxDifference({vector}, times(transposed(a), w)), 1e-14);
    ASSERT_TRUE(matrix.leftTransposeTransform(w[0], result));
    EXPECT_LT(maxDifference(entries(result), {vector}), 1e-14);
    ASSERT_TRUE(matrix.leftTransposeTransform(toReArray(left), result));
    EXPECT_LT(maxDifference(entries(result), multiply(transposed(left), a)), 1e-14);
    EXPECT_EQ(entries(matrix.transpose()), transposed(a));
    ReArray under(1, 1), over;  // the normal forms are exactly symmetric
    ASSERT_TRUE(matrix.underconstrainedNormal(under) && matrix.overconstrainedNormal(over));
    EXPECT_TRUE(under == under.transpose() && over == over.transpose());
    EXPECT_LT(maxDifference(entries(under), multiply(a, transposed(a))), 1e-14);
    EXPECT_LT(maxDifference(entries(over), multiply(transposed(a), a)), 1e-14);

    ReArray dyads = toReArray(random(rng, n, n)),
            expected = dyads + toReArray(multiply(transposed(v), v)) * 3.0;
    ASSERT_TRUE(dyads.addWeightedSelfOuterProduct(v[0], 2.0) && dyads.addSelfOuterProduct(v[0]));
    EXPECT_TRUE(dyads.approxEq(expected, 1e-14));
  }
}

TEST(ReArray, CholeskySolvesSymmetricPositiveDefiniteSystems) {
  TestRandom rng(503);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t n = rng.integer(1, 8);
    const Matrix root = random(rng, n, n), b = random(rng, 1, n);
    Matrix a = multiply(root, transposed(root));
    for (std::size_t i = 0; i < n; ++i) a[i][i] += 0.1;
    ReArray factor;
    ASSERT_TRUE(toReArray(a).choleskyDecomposition(factor));
    const Matrix l = entries(factor);  // its upper triangle must be zero for this product
    EXPECT_LT(maxDifference(multiply(l, transposed(l)), a), 1e-12 * maxAbs(a));

    std::vector<double> x, fromTranspose, y, yFromTranspose;
    ASSERT_TRUE(factor.choleskyBackSubstitution(b[0], x));
    ASSERT_TRUE(factor.transpose().choleskyBackSubstitutionOnTranspose(b[0], fromTranspose));
    ASSERT_TRUE(factor.lowerTriangularForwardSubstitution(b[0], y));
    ASSERT_TRUE(factor.transpose().lowerTriangularForwardSubstitutionOnTranspose(b[0], yFromTranspose));
    EXPECT_LT(maxDifference(times(a, {x}), b), 1e-10 * (maxAbs({x}) + 1.0) * maxAbs(a));
    EXPECT_LT(maxDifference({fromTranspose}, {x}), 1e-10 * (maxAbs({x}) + 1.0));
    EXPECT_LT(maxDifference(times(l, {y}), b), 1e-12 * (maxAbs({y}) + 1.0));
    EXPECT_EQ(yFromTranspose, y);
  }
}

namespace {

// Stands in for a derived class that reports under its own name.
class RenamedArray : public ReArray {
  using ReArray::ReArray;
  const char* className() const override { return "KtReArray"; }
};

}  // namespace

// Shapes that do not fit, indefinite matrices, zero diagonals and index vectors of the wrong
// size are reported under the class name and change nothing; too few rows to remove from a
// null space mean all of them. The built-in self test passes silently.
TEST(ReArray, ReportsBadInputUnderTheClassName) {
  PrintCapture capture;
  ReArray wide(2, 3), result, factor, unchanged(2, 2), basis, matrix(2, 4);
  ReArray::Pivots pivots;
  ReArray::Indices zeroStart = {0, 0}, working(2), tooShort(1);
  std::vector<double> x;
  double scalar = 0.0;
  EXPECT_EQ(wide.determinant(), 0.0);
  EXPECT_EQ(RenamedArray(2, 3).determinant(), 0.0);
  EXPECT_FALSE(wide.inv3(result));
  EXPECT_TRUE(wide.LUDecomposition(3, pivots));
  EXPECT_FALSE(ReArray(2, 2).forwardAndBackSub({0, 1}, {1.0, 2.0, 3.0}, x, scalar));
  EXPECT_FALSE(ReArray(2, 3).solve({1.0, 2.0}, x));
  EXPECT_FALSE(toReArray({{1.0, 2.0}, {2.0, 1.0}}).choleskyDecomposition(factor));
  EXPECT_FALSE(toReArray({{1.0, 0.0}, {3.0, 1e-301}}).choleskyBackSubstitution({1.0, 1.0}, x));
  unchanged += ReArray(3, 2);
  EXPECT_EQ(unchanged, ReArray(2, 2));
  EXPECT_TRUE(matrix.nullSpace(basis, 3, pivots));
  EXPECT_EQ(basis.columns(), 2u);
  EXPECT_TRUE(matrix.nullSpaceSparse(basis, 3, pivots, zeroStart, working));
  EXPECT_FALSE(matrix.LUDecompositionSparse(0, pivots, tooShort, working));
  EXPECT_FALSE(matrix.LUDecompositionSparse(0, pivots, zeroStart, tooShort));
  EXPECT_FALSE(ReArray(3, 2).nullSpace(basis, 0, pivots));
  EXPECT_TRUE(ReArray().selfTest());
  EXPECT_EQ(capture.text(),
            "ReArray::determinant: Not a square matrix."
            "KtReArray::determinant: Not a square matrix."
            "ReArray::inv3(): not a 3x3 matrix\n"
            "ReArray::LUDecomposition(): the matrix does not have enough rows\n"
            "ReArray::forwardAndBackSub(): bad dimensions on input\n"
            "ReArray::forwardAndBackSub(): bad dimensions on input\n"
            "ReArray::choleskyDecomposition(): the matrix is not positive definite\n"
            "ReArray::choleskyBackSubstitution(): zero on the diagonal\n"
            "ReArray::operator+=(): dimensions do not match\n"
            "ReArray::nullSpace(): the matrix does not have enough rows\n"
            "ReArray::nullSpace(): this matrix does not have enough rows\n"
            "ReArray::LUDecompositionSparse(): zero start wrong size\n"
            "ReArray::LUDecompositionSparse(): sparse indices wrong size\n"
            "ReArray::LUDecomposition(): the matrix has more rows than columns\n");
}

TEST(ReArray, HomogeneousMatrixMapsPoints) {
  const ReArray pose = toReArray({{0.0, -1.0, 0.0, 1.0}, {1.0, 0.0, 0.0, 2.0}, {0.0, 0.0, 1.0, 3.0}});
  EXPECT_EQ(pose * Kt::Vector(1.0, -2.0, 0.5), Kt::Vector(3.0, 3.0, 3.5));
}

TEST(ReArrayDeathTest, RowIndexOutsideTheMatrixEndsTheProgram) {
  const ReArray matrix(2, 2);
  EXPECT_DEATH((void)matrix[2], "ReArray::operator\\[\\]\\(\\): index 2 is out of range, there are 2");
}

// The fixed test matrices and the self test that runs the main operations on them.
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <vector>

#include "foundation/Print.h"
#include "math/ReArray.h"

namespace Kt {

namespace {

constexpr KtReal kTolerance = 1e-9;

ReArray fromRows(std::initializer_list<std::initializer_list<KtReal>> rows) {
  ReArray matrix(rows.size(), rows.begin()->size());
  std::size_t r = 0;
  for (const auto& row : rows) matrix[r++] = row;
  return matrix;
}

bool isZero(const ReArray& matrix) { return matrix.infinityNorm() <= kTolerance; }

bool close(const std::vector<KtReal>& a, const std::vector<KtReal>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!(std::fabs(a[i] - b[i]) <= kTolerance)) return false;
  }
  return true;
}

ReArray identity(std::size_t size) {
  ReArray matrix;
  matrix.setToIdentity(size, size);
  return matrix;
}

}  // namespace

ReArray ReArray::testObject() { return fromRows({{4.0, -2.0, 1.0}, {3.0, 6.0, -4.0}, {2.0, 1.0, 8.0}}); }

ReArray ReArray::testObject2() {
  return fromRows({{4.0, 1.0, 0.0, 1.0}, {1.0, 5.0, 2.0, 0.0}, {0.0, 2.0, 6.0, 1.0}, {1.0, 0.0, 1.0, 3.0}});
}

ReArray ReArray::testObject3() {
  return fromRows({{1.0, 2.0, 0.0, -1.0, 3.0}, {0.0, 0.0, 2.0, 1.0, -1.0}, {0.0, 0.0, 0.0, 3.0, 2.0}});
}

bool ReArray::selfTest() {
  bool passed = true;
  auto check = [this, &passed](bool ok, const char* what) {
    if (!ok) ktPrint(KtSeverity::Error, "%s::selfTest(): %s failed\n", className(), what);
    passed = passed && ok;
  };

  const ReArray square = testObject();
  check(std::fabs(square.determinant() - 263.0) <= kTolerance * 263.0, "determinant");
  const std::vector<KtReal> expected = {1.0, 2.0, 3.0};
  std::vector<KtReal> solution;
  check(square.solve(square * expected, solution) && close(solution, expected), "solve");
  ReArray inverse = square;
  ReArray closedFormInverse;
  check(inverse.invertSquareMatrix() && (inverse * square).approxEq(identity(3), kTolerance),
        "invertSquareMatrix");
  check(square.inv3(closedFormInverse) && closedFormInverse.approxEq(inverse, kTolerance), "inv3");

  const ReArray positiveDefinite = testObject2();
  ReArray factor;
  ReArray product;
  check(positiveDefinite.choleskyDecomposition(factor) && factor.underconstrainedNormal(product) &&
            product.approxEq(positiveDefinite, kTolerance),
        "choleskyDecomposition");
  const std::vector<KtReal> rightHandSide = {1.0, -2.0, 0.5, 3.0};
  check(factor.choleskyBackSubstitution(rightHandSide, solution) &&
            close(positiveDefinite * solution, rightHandSide),
        "choleskyBackSubstitution");

  const ReArray wide = testObject3();
  ReArray dense = wide;
  ReArray sparse = wide;
  ReArray denseBasis;
  ReArray sparseBasis;
  Pivots pivots;
  Indices zeroStart;
  wide.calculateZeroStartIndices(zeroStart);
  Indices working(zeroStart.size());
  check(dense.nullSpace(denseBasis, 0, pivots) && denseBasis.columns() == 2 && isZero(wide * denseBasis),
        "nullSpace");
  check(sparse.nullSpaceSparse(sparseBasis, 0, pivots, zeroStart, working) && sparseBasis == denseBasis,
        "nullSpaceSparse");

  ReArray normal;
  ReArray transposedProduct;
  check(wide.overconstrainedNormal(normal) && wide.leftTransposeTransform(wide, transposedProduct) &&
            normal.approxEq(transposedProduct, kTolerance) && normal == normal.transpose(),
        "overconstrainedNormal");
  return passed;
}

}  // namespace Kt

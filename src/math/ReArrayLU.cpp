// LU factorisation with column pivoting and what is built on it: substitution, solve,
// determinant and inverses.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

#include "foundation/Print.h"
#include "math/ReArray.h"
#include "math/ReArrayShape.h"

namespace Kt {

namespace {

// What a zero pivot is replaced by: factoring then never fails, and a singular matrix shows
// up as huge entries in what is solved with its factors.
constexpr KtReal kZeroPivotReplacement = 1e-300;

// Working storage of the const operations that factor a copy of the matrix. It lives per
// thread and keeps its capacity, so repeated solves of one size do not allocate.
struct FactorScratch {
  ReArray lu;
  ReArray::Pivots pivots;
  std::vector<KtReal> column;
};

FactorScratch& factorScratch() {
  thread_local FactorScratch scratch;
  return scratch;
}

// Product of the first n pivots of a factored matrix, negated once per column exchange.
KtReal determinantOfFactors(const ReArray& lu, const ReArray::Pivots& pivots, std::size_t n) {
  KtReal product = 1.0;
  for (std::size_t k = 0; k < n; ++k) {
    product *= lu[k][k];
    if (pivots[k] != k) product = -product;
  }
  return product;
}

}  // namespace

bool ReArray::LUDecomposition(std::size_t n, Pivots& pivots) {
  return factor(n, pivots, nullptr, "LUDecomposition");
}

bool ReArray::LUDecompositionSparse(std::size_t n, Pivots& pivots, const Indices& zeroStart,
                                    Indices& sparseIndices) {
  if (zeroStart.size() != rows()) {
    ktPrint(KtSeverity::Error, "%s::LUDecompositionSparse(): zero start wrong size\n", className());
    return false;
  }
  if (sparseIndices.size() != rows()) {
    ktPrint(KtSeverity::Error, "%s::LUDecompositionSparse(): sparse indices wrong size\n", className());
    return false;
  }
  std::copy(zeroStart.begin(), zeroStart.end(), sparseIndices.begin());
  return factor(n, pivots, &sparseIndices, "LUDecompositionSparse");
}

// Crout factorisation by rows: step k first completes row k of U and picks the pivot column
// in it, then completes column k of L below it. Storage is by rows, so exchanging columns and
// the update of row k both run along contiguous rows.
//
// leadingZeros (optional) holds per row how many of its leading entries, in the current
// column order, are known to be zero; the multipliers there are zero too, so their terms
// are skipped. An exchange that moves a possibly non-zero column into that part shortens it.
bool ReArray::factor(std::size_t n, Pivots& pivots, Indices* leadingZeros, const char* operation) {
  if (n == 0) n = rows();
  if (n > rows()) {
    ktPrint(KtSeverity::Error, "%s::%s(): the matrix does not have enough rows\n", className(), operation);
    n = rows();
  }
  const std::size_t columnCount = columns();
  if (n > columnCount) {
    ktPrint(KtSeverity::Error, "%s::%s(): the matrix has more rows than columns\n", className(), operation);
    return false;
  }
  pivots.resize(columnCount);
  std::iota(pivots.begin(), pivots.end(), std::size_t{0});
  auto zerosOf = [leadingZeros](std::size_t row) { return leadingZeros ? (*leadingZeros)[row] : 0; };

  for (std::size_t k = 0; k < n; ++k) {
    Row& rowK = array_[k];
    for (std::size_t i = zerosOf(k); i < k; ++i) {
      const KtReal multiplier = rowK[i];
      const Row& rowI = array_[i];
      for (std::size_t j = k; j < columnCount; ++j) rowK[j] -= rowI[j] * multiplier;
    }
    // The first of equally large candidates is kept.
    std::size_t pivot = k;
    for (std::size_t j = k + 1; j < columnCount; ++j) {
      if (std::fabs(rowK[j]) > std::fabs(rowK[pivot])) pivot = j;
    }
    if (pivot != k) {
      for (Row& row : array_) std::swap(row[k], row[pivot]);
      pivots[k] = pivot;
      if (leadingZeros) {
        for (std::size_t r = k + 1; r < n; ++r) {
          std::size_t& zeros = (*leadingZeros)[r];
          if (k < zeros && pivot >= zeros) zeros = k;
        }
      }
    }
    if (rowK[k] == 0.0) rowK[k] = kZeroPivotReplacement;
    if (k + 1 == n) break;

    const KtReal reciprocal = 1.0 / rowK[k];
    for (std::size_t r = k + 1; r < n; ++r) {
      const std::size_t zeros = zerosOf(r);
      if (k < zeros) continue;  // inside the zero leading part: the multiplier stays zero
      Row& rowR = array_[r];
      KtReal entry = rowR[k];
      for (std::size_t i = zeros; i < k; ++i) entry -= rowR[i] * array_[i][k];
      rowR[k] = entry * reciprocal;
    }
  }
  return true;
}

bool ReArray::forwardAndBackSub(const Pivots& pivots, const std::vector<KtReal>& b, std::vector<KtReal>& x,
                                KtReal& scalar) const {
  const std::size_t n = rows();
  const bool pivotsValid = std::all_of(pivots.begin(), pivots.end(), [n](std::size_t p) { return p < n; });
  if (n != columns() || pivots.size() != n || b.size() != n || !pivotsValid) {
    ktPrint(KtSeverity::Error, "%s::forwardAndBackSub(): bad dimensions on input\n", className());
    return false;
  }
  x = b;
  for (std::size_t i = 0; i < n; ++i) {
    const Row& row = array_[i];
    for (std::size_t k = 0; k < i; ++k) x[i] -= row[k] * x[k];
  }
  for (std::size_t i = n; i-- > 0;) {
    const Row& row = array_[i];
    for (std::size_t k = i + 1; k < n; ++k) x[i] -= row[k] * x[k];
    x[i] /= row[i];
  }
  // The factors solve for the exchanged unknowns; undo the exchanges, last one first.
  for (std::size_t k = n; k-- > 0;) std::swap(x[k], x[pivots[k]]);
  scalar = determinantOfFactors(*this, pivots, n);
  return true;
}

bool ReArray::solve(const std::vector<KtReal>& b, std::vector<KtReal>& x, KtReal* scalar) const {
  if (rows() != columns() || b.size() != rows()) {
    ktPrint(KtSeverity::Error, "%s::forwardAndBackSub(): bad dimensions on input\n", className());
    return false;
  }
  FactorScratch& scratch = factorScratch();
  scratch.lu.copyEntriesOf(*this);
  scratch.lu.factor(0, scratch.pivots, nullptr, "solve");
  KtReal determinantOfThis = 0.0;
  if (!scratch.lu.forwardAndBackSub(scratch.pivots, b, x, determinantOfThis)) return false;
  if (scalar) *scalar = determinantOfThis;
  return true;
}

KtReal ReArray::determinant() const {
  if (rows() != columns()) {
    ktPrint(KtSeverity::Error, "%s::determinant: Not a square matrix.", className());
    return 0.0;
  }
  FactorScratch& scratch = factorScratch();
  scratch.lu.copyEntriesOf(*this);
  scratch.lu.factor(0, scratch.pivots, nullptr, "determinant");
  return determinantOfFactors(scratch.lu, scratch.pivots, rows());
}

bool ReArray::invertSquareMatrix() {
  if (rows() != columns()) {
    ktPrint(KtSeverity::Error, "%s::invertSquareMatrix(): not a square matrix\n", className());
    return false;
  }
  FactorScratch& scratch = factorScratch();
  scratch.lu.copyEntriesOf(*this);
  scratch.lu.factor(0, scratch.pivots, nullptr, "invertSquareMatrix");
  // Column c of the inverse solves A·x = e_c.
  KtReal unused = 0.0;
  for (std::size_t c = 0; c < columns(); ++c) {
    scratch.column.assign(rows(), 0.0);
    scratch.column[c] = 1.0;
    scratch.lu.forwardAndBackSub(scratch.pivots, scratch.column, scratch.column, unused);
    for (std::size_t r = 0; r < rows(); ++r) array_[r][c] = scratch.column[r];
  }
  return true;
}

bool ReArray::inv3(ReArray& inverse) const {
  if (rows() != 3 || columns() != 3) {
    ktPrint(KtSeverity::Error, "%s::inv3(): not a 3x3 matrix\n", className());
    return false;
  }
  const Row& a = array_[0];
  const Row& b = array_[1];
  const Row& c = array_[2];
  // Transposed cofactors (the adjugate), row by row.
  const KtReal adjugate[3][3] = {
      {b[1] * c[2] - b[2] * c[1], a[2] * c[1] - a[1] * c[2], a[1] * b[2] - a[2] * b[1]},
      {b[2] * c[0] - b[0] * c[2], a[0] * c[2] - a[2] * c[0], a[2] * b[0] - a[0] * b[2]},
      {b[0] * c[1] - b[1] * c[0], a[1] * c[0] - a[0] * c[1], a[0] * b[1] - a[1] * b[0]}};
  const KtReal det = a[0] * adjugate[0][0] + a[1] * adjugate[1][0] + a[2] * adjugate[2][0];
  if (det == 0.0) {
    ktPrint(KtSeverity::Error, "%s::inv3(): the matrix is singular\n", className());
    return false;
  }
  ensureShape(inverse, 3, 3);
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t col = 0; col < 3; ++col) inverse.array_[r][col] = adjugate[r][col] / det;
  }
  return true;
}

}  // namespace Kt

// Null-space bases from the LU factors, dense and skipping known leading zeros, and the
// zero-start indices that describe those zeros.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "foundation/Print.h"
#include "math/ReArray.h"
#include "math/ReArrayShape.h"

namespace Kt {

bool ReArray::nullSpace(ReArray& N, std::size_t n, Pivots& pivots) {
  n = factoredRowCount(n, "the matrix does not have enough rows");
  if (!LUDecomposition(n, pivots)) return false;
  return nullSpaceFromFactors(N, n, pivots);
}

bool ReArray::nullSpaceSparse(ReArray& N, std::size_t n, Pivots& pivots, const Indices& zeroStart,
                              Indices& sparseIndices) {
  n = factoredRowCount(n, "this matrix does not have enough rows");
  if (!LUDecompositionSparse(n, pivots, zeroStart, sparseIndices)) return false;
  return nullSpaceFromFactors(N, n, pivots);
}

std::size_t ReArray::factoredRowCount(std::size_t n, const char* tooManyText) const {
  if (n > rows()) {
    ktPrint(KtSeverity::Error, "%s::nullSpace(): %s\n", className(), tooManyText);
    return rows();
  }
  return n == 0 ? rows() : n;
}

// With U = [U11 U12] the first n factored rows, basis vector j is (U11⁻¹·U12·e_j, −e_j),
// which U annihilates; its upper part comes from back substitution. The rows of N are then
// put back into the matrix's own column order.
bool ReArray::nullSpaceFromFactors(ReArray& N, std::size_t n, const Pivots& pivots) {
  const std::size_t columnCount = columns();
  const std::size_t basisSize = columnCount - n;
  ensureShape(N, columnCount, basisSize);
  if (n > 0 && array_[n - 1][n - 1] == 0.0) array_[n - 1][n - 1] = 1e-300;
  for (std::size_t j = 0; j < basisSize; ++j) {
    for (std::size_t r = n; r < columnCount; ++r) N.array_[r][j] = r == n + j ? -1.0 : 0.0;
    for (std::size_t i = n; i-- > 0;) {
      const Row& row = array_[i];
      KtReal sum = row[n + j];
      for (std::size_t m = i + 1; m < n; ++m) sum -= row[m] * N.array_[m][j];
      N.array_[i][j] = sum / row[i];
    }
  }
  for (std::size_t k = n; k-- > 0;) std::swap(N.array_[k], N.array_[pivots[k]]);
  return true;
}

void ReArray::calculateZeroStartIndices(Indices& zeroStart) const {
  zeroStart.resize(rows());
  for (std::size_t r = 0; r < rows(); ++r) {
    const Row& row = array_[r];
    zeroStart[r] = static_cast<std::size_t>(
        std::find_if(row.begin(), row.end(), [](KtReal entry) { return entry != 0.0; }) - row.begin());
  }
}

void ReArray::combineIndices(const Indices& first, const Indices& second, Indices& combined) const {
  // Sizes are taken before combined (which may be one of the inputs) is resized.
  const std::size_t firstSize = first.size();
  const std::size_t secondSize = second.size();
  constexpr std::size_t kAbsent = std::numeric_limits<std::size_t>::max();
  combined.resize(std::max(firstSize, secondSize));
  for (std::size_t i = 0; i < combined.size(); ++i) {
    const std::size_t a = i < firstSize ? first[i] : kAbsent;
    const std::size_t b = i < secondSize ? second[i] : kAbsent;
    combined[i] = std::min(a, b);
  }
}

}  // namespace Kt

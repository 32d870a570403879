#include "motion/velocity/KtCoreVelocityControlTool.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "foundation/Print.h"
#include "math/ReArrayShape.h"

namespace {

// A pivot at most this fraction of its row's largest entry marks the row as dependent on the
// rows above it. Rounding leaves about 1e-15 of a dependent row of a small Jacobian; a pose
// merely near a singularity has small pivots far above this mark, and its large rates are for
// the caller to limit.
constexpr KtReal kNegligiblePivot = 1e-12;

KtReal largestMagnitude(const std::vector<KtReal>& row) {
  KtReal largest = 0.0;
  for (KtReal entry : row) largest = std::max(largest, std::fabs(entry));
  return largest;
}

// The first of rows [first, last) of the factors whose pivot is negligible against the row's
// scale (or not a number), or last when there is none.
std::size_t firstDependentRow(const Kt::ReArray& factors, const std::vector<KtReal>& scales,
                              std::size_t first, std::size_t last) {
  for (std::size_t k = first; k < last; ++k) {
    const bool independent = scales[k] > 0.0 && std::fabs(factors[k][k]) > kNegligiblePivot * scales[k];
    if (!independent) return k;
  }
  return last;
}

}  // namespace

bool KtCoreVelocityControlTool::calcJointRates(const Kt::ReArray& J, const Kt::ReArray& W,
                                               const std::vector<KtReal>& F, KtReal alpha,
                                               const std::vector<KtReal>& V, std::size_t n,
                                               const Kt::ReArray* sparsity) {
  const std::size_t m = J.rows();
  m_rowCount = m;
  m_columnCount = n;
  if (n < m) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::calcJointRates(): n=%d is not greater than or equal to m=%d\n",
            static_cast<int>(n), static_cast<int>(m));
    m_nullity = 0;
    clearRates();
    return false;
  }
  m_nullity = n - m;
  if (F.size() < n) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::calcJointRates(): incorrectly dimensioned vector.\n");
    clearRates();
    return false;
  }
  if (W.rows() != n || V.size() != m) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::calcJointRates(): bad dimensions on input: W is %dx%d and V has %d "
            "entries for m=%d, n=%d\n",
            static_cast<int>(W.rows()), static_cast<int>(W.columns()), static_cast<int>(V.size()),
            static_cast<int>(m), static_cast<int>(n));
    clearRates();
    return false;
  }
  if (!prep(J, W, sparsity)) {
    clearRates();
    return false;
  }

  // Right-hand side: the commanded velocities, then the gradient projected on the null space.
  m_rhs.resize(n);
  std::copy(V.begin(), V.end(), m_rhs.begin());
  std::fill(m_rhs.begin() + static_cast<std::ptrdiff_t>(m), m_rhs.end(), 0.0);
  for (std::size_t j = 0; j < n; ++j) {
    const std::vector<KtReal>& basisRow = m_nullSpace[j];
    for (std::size_t k = 0; k < m_nullity; ++k) m_rhs[m + k] -= basisRow[k] * F[j];
  }
  for (std::size_t k = m; k < n; ++k) m_rhs[k] *= alpha;

  if (!calc(m_rhs, m_jointRates)) return false;
  // Without the commanded motion, what is left is the secondary goals' own contribution.
  std::fill_n(m_rhs.begin(), m, 0.0);
  return calc(m_rhs, m_nullSpaceRates);
}

bool KtCoreVelocityControlTool::prep(const Kt::ReArray& J, const Kt::ReArray& W,
                                     const Kt::ReArray* sparsity) {
  m_factored = false;
  const std::size_t m = J.rows();
  const std::size_t n = W.rows();
  if (W.columns() != n || m > n || (m > 0 && J.columns() != n)) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::prep(): bad dimensions on input: J is %dx%d, W is %dx%d\n",
            static_cast<int>(m), static_cast<int>(J.columns()), static_cast<int>(n),
            static_cast<int>(W.columns()));
    return false;
  }
  if (sparsity && (sparsity->rows() != m || sparsity->columns() != J.columns())) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::prep(): bad dimensions on input: sparsity is %dx%d, J is %dx%d\n",
            static_cast<int>(sparsity->rows()), static_cast<int>(sparsity->columns()), static_cast<int>(m),
            static_cast<int>(J.columns()));
    return false;
  }
  m_rowCount = m;
  m_columnCount = n;
  m_nullity = n - m;
  m_rowScales.resize(n);
  if (!factorJacobian(J, sparsity)) return false;
  for (std::size_t k = 0; k < m_nullity; ++k) {
    bool zero = true;
    for (std::size_t j = 0; j < n && zero; ++j) zero = m_nullSpace[j][k] == 0.0;
    if (zero) {
      ktPrint(KtSeverity::Error, "KtCoreVelocityControlTool::prep(): M.nj has zero column\n");
      return false;
    }
  }
  formCore(J, W);
  m_factored = factorCore(sparsity != nullptr);
  return m_factored;
}

bool KtCoreVelocityControlTool::calc(const std::vector<KtReal>& rhs, std::vector<KtReal>& rates) const {
  if (!m_factored || rhs.size() != m_columnCount) {
    ktPrint(KtSeverity::Error, "KtCoreVelocityControlTool::calc(): bad dimensions on input...\n");
    return false;
  }
  KtReal determinant = 0.0;
  return m_core.forwardAndBackSub(m_corePivots, rhs, rates, determinant);
}

void KtCoreVelocityControlTool::clearRates() {
  m_jointRates.assign(m_columnCount, 0.0);
  m_nullSpaceRates.assign(m_columnCount, 0.0);
}

// The basis comes from the pivoted factorisation of J; the factors are then checked for rows
// that depend on the rows above them.
bool KtCoreVelocityControlTool::factorJacobian(const Kt::ReArray& J, const Kt::ReArray* sparsity) {
  const std::size_t m = m_rowCount;
  const std::size_t n = m_columnCount;
  if (m == 0) {
    // No constraint: every direction is free, and the core matrix is W itself.
    Kt::ensureShape(m_nullSpace, n, n);
    for (std::size_t r = 0; r < n; ++r) {
      for (std::size_t c = 0; c < n; ++c) m_nullSpace[r][c] = r == c ? 1.0 : 0.0;
    }
    return true;
  }
  m_factoredJacobian.copyEntriesOf(J);
  for (std::size_t r = 0; r < m; ++r) m_rowScales[r] = largestMagnitude(J[r]);
  bool factored = false;
  if (sparsity) {
    sparsity->calculateZeroStartIndices(m_zeroStart);
    m_sparseIndices.resize(m);
    factored =
        m_factoredJacobian.nullSpaceSparse(m_nullSpace, 0, m_jacobianPivots, m_zeroStart, m_sparseIndices);
  } else {
    factored = m_factoredJacobian.nullSpace(m_nullSpace, 0, m_jacobianPivots);
  }
  if (!factored) return false;
  const std::size_t dependent = firstDependentRow(m_factoredJacobian, m_rowScales, 0, m);
  if (dependent < m) {
    ktPrint(KtSeverity::Error, "KtCoreVelocityControlTool::prep(): J is rank deficient at row %d\n",
            static_cast<int>(dependent));
    return false;
  }
  return true;
}

// Rows 0..m−1 of the core matrix are J, rows m..n−1 are Nᵀ·W. The basis holds many exact
// zeros (each column is a negated unit vector outside the pivot columns), which are skipped.
void KtCoreVelocityControlTool::formCore(const Kt::ReArray& J, const Kt::ReArray& W) {
  const std::size_t m = m_rowCount;
  const std::size_t n = m_columnCount;
  Kt::ensureShape(m_core, n, n);
  for (std::size_t r = 0; r < m; ++r) std::copy(J[r].begin(), J[r].end(), m_core[r].begin());
  for (std::size_t k = 0; k < m_nullity; ++k) {
    std::vector<KtReal>& coreRow = m_core[m + k];
    std::fill(coreRow.begin(), coreRow.end(), 0.0);
    for (std::size_t j = 0; j < n; ++j) {
      const KtReal basisEntry = m_nullSpace[j][k];
      if (basisEntry == 0.0) continue;
      const std::vector<KtReal>& weightRow = W[j];
      for (std::size_t c = 0; c < n; ++c) coreRow[c] += basisEntry * weightRow[c];
    }
    m_rowScales[m + k] = largestMagnitude(coreRow);
  }
}

// Rows 0..m−1 factor exactly as J did (row k of the factors depends only on rows 0..k), so
// only the null-space rows are checked here.
bool KtCoreVelocityControlTool::factorCore(bool sparse) {
  const std::size_t m = m_rowCount;
  const std::size_t n = m_columnCount;
  bool factored = false;
  if (sparse) {
    // J's rows keep their leading zeros; the null-space rows are taken as dense.
    m_coreZeroStart.resize(n);
    std::copy(m_zeroStart.begin(), m_zeroStart.begin() + static_cast<std::ptrdiff_t>(m),
              m_coreZeroStart.begin());
    std::fill(m_coreZeroStart.begin() + static_cast<std::ptrdiff_t>(m), m_coreZeroStart.end(), 0);
    m_coreSparseIndices.resize(n);
    factored = m_core.LUDecompositionSparse(0, m_corePivots, m_coreZeroStart, m_coreSparseIndices);
  } else {
    factored = m_core.LUDecomposition(0, m_corePivots);
  }
  if (!factored) return false;
  const std::size_t dependent = firstDependentRow(m_core, m_rowScales, m, n);
  if (dependent < n) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::prep(): the core matrix is singular at row %d (W is not definite on "
            "the null space of J)\n",
            static_cast<int>(dependent));
    return false;
  }
  return true;
}

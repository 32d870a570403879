#include "motion/velocity/KtCoreVelocityControlTool.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "foundation/Print.h"
#include "math/ReArrayShape.h"

namespace {

// A pivot at most this fraction of its row's largest entry marks the row as dependent on the
// rows above it. Rounding leaves about 1e-15 of a dependent row of a small Jacobian; a pose
// merely near a singularity has small pivots far above this mark, and its large rates are for
// the caller to limit.
constexpr KtReal kNegligiblePivot = 1e-12;
// An exactly zero pivot is replaced so that factoring can go on; the dependency test then
// reports its row.
constexpr KtReal kZeroPivotReplacement = 1e-300;

// target[j] −= factor·source[j] for j < count; the two never overlap.
template <typename Columns>
void subtractMultiple(KtReal* __restrict target, const KtReal* __restrict source, KtReal factor,
                      Columns count) {
  for (std::size_t j = 0; j < count; ++j) target[j] -= source[j] * factor;
}

// The largest column count that withColumnCount makes a constant.
constexpr std::size_t kLargestConstantColumns = 7;

// Calls kernel with the column count n, as a constant known when compiled for the joint counts
// of common arms (so that the short loops over a row unroll), else as a run-time value.
template <typename Kernel>
decltype(auto) withColumnCount(std::size_t n, Kernel&& kernel) {
  switch (n) {
    case 6:
      return kernel(std::integral_constant<std::size_t, 6>{});
    case 7:
      return kernel(std::integral_constant<std::size_t, 7>{});
    default:
      return kernel(n);
  }
}

// Rows of the factors lie this many entries apart: seven columns are padded to eight, so that a
// row is two whole 256-bit lanes (or four two-lane ones). A row's padding is set to zero when
// the row is written; whole-row subtractions keep it zero (or make it not a number, should a
// multiplier be infinite), so that a row's largest magnitude may take it in.
constexpr std::size_t paddedLength(std::size_t n) { return n == 7 ? 8 : n; }

template <typename Columns>
auto strideOf(Columns n) {
  if constexpr (std::is_same_v<Columns, std::size_t>) {
    return paddedLength(n);
  } else {
    return std::integral_constant<std::size_t, paddedLength(Columns::value)>{};
  }
}

template <typename Columns>
constexpr bool rowsOfTwoLanes() {
  if constexpr (std::is_same_v<Columns, std::size_t>) {
    return false;
  } else {
    return paddedLength(Columns::value) == 8;
  }
}

template <typename Columns>
constexpr bool rowsOfWholeLanes() {
  if constexpr (std::is_same_v<Columns, std::size_t>) {
    return false;
  } else {
    return paddedLength(Columns::value) % 4 == 0;
  }
}

bool wideLanesAvailable() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}

// Four entries of a row, as numbers and as their bits.
using Lanes = KtReal __attribute__((vector_size(32)));
using LaneBits = std::uint64_t __attribute__((vector_size(32)));
// All bits but the sign's.
constexpr LaneBits kMagnitudeBits = ~LaneBits{} >> 1;

// The largest magnitude among a row's n entries, entries that are not a number passed over as
// std::max passes them. A padded row is taken four entries at a time (its padding is zero, so it
// cannot be the largest); the maximum is exact, so the order of the comparisons does not matter.
template <typename Columns>
KtReal largestMagnitude(const KtReal* entries, Columns columns) {
  if constexpr (rowsOfWholeLanes<Columns>()) {
    constexpr std::size_t stride = paddedLength(Columns::value);
    Lanes largest{};
    for (std::size_t i = 0; i < stride; i += 4) {
      LaneBits bits;
      std::memcpy(&bits, entries + i, sizeof bits);
      const Lanes magnitudes = (Lanes)(bits & kMagnitudeBits);
      largest = magnitudes > largest ? magnitudes : largest;
    }
    return std::max(std::max(largest[0], largest[1]), std::max(largest[2], largest[3]));
  } else {
    KtReal largest = 0.0;
    for (std::size_t i = 0; i < columns; ++i) largest = std::max(largest, std::fabs(entries[i]));
    return largest;
  }
}

// Copies a row of n entries into a padded row of the factors, its padding zero. Seven entries
// go as two whole four-entry stores (the last four of the source, moved down one place, with a
// zero after them), which later whole-lane loads of the row can take straight from the stores;
// other lengths as a loop of constant length, a few moves where copy_n calls memcpy.
template <typename Columns>
void copyPaddedRow(const KtReal* source, KtReal* target, Columns columns) {
  if constexpr (std::is_same_v<Columns, std::integral_constant<std::size_t, 7>>) {
    Lanes head, tail;
    std::memcpy(&head, source, sizeof head);
    std::memcpy(&tail, source + 3, sizeof tail);
    const Lanes shifted = __builtin_shufflevector(tail, Lanes{}, 1, 2, 3, 4);
    std::memcpy(target, &head, sizeof head);
    std::memcpy(target + 4, &shifted, sizeof shifted);
  } else {
    const std::size_t n = columns;
    for (std::size_t c = 0; c < strideOf(columns); ++c) target[c] = c < n ? source[c] : 0.0;
  }
}

// Row k of the factors less the multiples of the factored rows [zeros, k) above it that clear
// its entries there, the multipliers kept in lower. A row of two whole lanes is held in two
// registers meanwhile: in memory, each subtraction would store it for the next multiplier's load.
template <typename Row, typename Zeros, typename Columns>
void eliminate(KtReal* entries, KtReal* lower, const KtReal* factors, const KtReal* reciprocalPivots, Row row,
               Zeros leadingZeros, Columns columns) {
  const std::size_t k = row, zeros = leadingZeros;
  const auto stride = strideOf(columns);
  if constexpr (rowsOfTwoLanes<Columns>()) {
    Lanes head, tail;
    std::memcpy(&head, entries, sizeof head);
    std::memcpy(&tail, entries + 4, sizeof tail);
    for (std::size_t i = zeros; i < k; ++i) {
      const KtReal multiplier = (i < 4 ? head[i] : tail[i - 4]) * reciprocalPivots[i];
      lower[i] = multiplier;
      Lanes aboveHead, aboveTail;
      std::memcpy(&aboveHead, factors + i * stride, sizeof aboveHead);
      std::memcpy(&aboveTail, factors + i * stride + 4, sizeof aboveTail);
      head -= aboveHead * multiplier;
      tail -= aboveTail * multiplier;
    }
    std::memcpy(entries, &head, sizeof head);
    std::memcpy(entries + 4, &tail, sizeof tail);
  } else {
    for (std::size_t i = zeros; i < k; ++i) {
      const KtReal multiplier = entries[i] * reciprocalPivots[i];
      lower[i] = multiplier;
      subtractMultiple(entries, factors + i * stride, multiplier, stride);
    }
  }
}

}  // namespace

bool KtCoreVelocityControlTool::calcJointRates(const Kt::ReArray& J, const Kt::ReArray& W,
                                               const std::vector<KtReal>& F, KtReal alpha,
                                               const std::vector<KtReal>& V, std::size_t n,
                                               const Kt::ReArray* sparsity) {
  return solve(J, &W, F, alpha, V, n, sparsity);
}

bool KtCoreVelocityControlTool::calcJointRates(const Kt::ReArray& J, const std::vector<KtReal>& F,
                                               KtReal alpha, const std::vector<KtReal>& V, std::size_t n,
                                               const Kt::ReArray* sparsity) {
  return solve(J, nullptr, F, alpha, V, n, sparsity);
}

bool KtCoreVelocityControlTool::solve(const Kt::ReArray& J, const Kt::ReArray* W,
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
  const std::size_t weightRows = W ? W->rows() : n;
  if (weightRows != n || V.size() != m) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::calcJointRates(): bad dimensions on input: W is %dx%d and V has %d "
            "entries for m=%d, n=%d\n",
            static_cast<int>(weightRows), static_cast<int>(W ? W->columns() : n), static_cast<int>(V.size()),
            static_cast<int>(m), static_cast<int>(n));
    clearRates();
    return false;
  }
  if (!factor(J, W, n, sparsity)) {
    clearRates();
    return false;
  }

  if (W == nullptr && m_nullity == 1) {
    withColumnCount(n, [&](auto columns) { projectOnNullDirection(F, alpha, V, columns); });
    return true;
  }
  // Right-hand sides: the commanded velocities (or none), then the gradient projected on the
  // null space, −alpha·Nᵀ·F, with the basis in the exchanged column order.
  std::copy(V.begin(), V.end(), m_jointRates.begin());
  std::fill_n(m_nullSpaceRates.begin(), m, 0.0);
  for (std::size_t j = 0; j < m_nullity; ++j) {
    const KtReal* basis = m_basis.data() + j * m;
    KtReal projection = F[m_basisOrder[m + j]];
    for (std::size_t k = 0; k < m; ++k) projection += basis[k] * F[m_basisOrder[k]];
    m_jointRates[m + j] = m_nullSpaceRates[m + j] = -alpha * projection;
  }
  const std::array<KtReal*, 2> solutions{m_jointRates.data(), m_nullSpaceRates.data()};
  withColumnCount(n, [&](auto columns) { substitute(solutions, columns); });
  return true;
}

// With W the identity and one free direction u = (b, 1) (exchanged order), the minimum is the
// particular solution z of J·z = V whose free entry is zero, less its part along u together with
// alpha·F's: q = z − u·uᵀ(z + alpha·F)/uᵀu. That needs J's factors only, where solving the core
// matrix takes the full substitution of both right-hand sides.
template <typename Columns>
void KtCoreVelocityControlTool::projectOnNullDirection(const std::vector<KtReal>& F, KtReal alpha,
                                                       const std::vector<KtReal>& V, Columns columns) {
  const std::size_t n = columns, m = n - 1, stride = strideOf(columns);
  // With a constant column count z is a local array, which the compiler keeps in registers: in
  // the member storage (which could alias the factors) every entry would be stored and read
  // back, two at a time, straight after its two single stores.
  std::array<KtReal, kLargestConstantColumns> local;
  KtReal* z = std::is_same_v<Columns, std::size_t> ? m_exchanged.data() : local.data();
  for (std::size_t r = 0; r < m; ++r) {
    const KtReal* lower = m_lower.data() + r * stride;
    KtReal sum = V[r];
    for (std::size_t i = 0; i < r; ++i) sum -= lower[i] * z[i];
    z[r] = sum;
  }
  for (std::size_t r = m; r-- > 0;) {
    const KtReal* upper = m_factors.data() + r * stride;
    KtReal sum = z[r];
    for (std::size_t t = r + 1; t < m; ++t) sum -= upper[t] * z[t];
    z[r] = sum * m_reciprocalPivots[r];
  }
  z[m] = 0.0;
  const KtReal* basis = m_basis.data();
  KtReal length = 1.0, alongZ = 0.0, alongF = F[m_basisOrder[m]];
  for (std::size_t k = 0; k < m; ++k) {
    length += basis[k] * basis[k];
    alongZ += basis[k] * z[k];
    alongF += basis[k] * F[m_basisOrder[k]];
  }
  const KtReal goals = -alpha * alongF / length, total = goals - alongZ / length;
  for (std::size_t k = 0; k < n; ++k) {
    const KtReal direction = k < m ? basis[k] : 1.0;
    m_jointRates[m_basisOrder[k]] = z[k] + total * direction;
    m_nullSpaceRates[m_basisOrder[k]] = goals * direction;
  }
}

bool KtCoreVelocityControlTool::prep(const Kt::ReArray& J, const Kt::ReArray& W,
                                     const Kt::ReArray* sparsity) {
  return factor(J, &W, W.rows(), sparsity);
}

bool KtCoreVelocityControlTool::calc(const std::vector<KtReal>& rhs, std::vector<KtReal>& rates) const {
  if (!m_factored || rhs.size() != m_columnCount) {
    ktPrint(KtSeverity::Error, "KtCoreVelocityControlTool::calc(): bad dimensions on input...\n");
    return false;
  }
  if (m_identityRowPending) {
    m_identityRowPending = false;
    const std::size_t dependentRow =
        withColumnCount(m_columnCount, [&](auto columns) { return factorIdentityRow(columns); });
    if (dependentRow < m_columnCount) return reportSingularCore(dependentRow);
  }
  rates = rhs;
  const std::array<KtReal*, 1> solution{rates.data()};
  withColumnCount(m_columnCount, [&](auto columns) { substitute(solution, columns); });
  return true;
}

const Kt::ReArray& KtCoreVelocityControlTool::nullSpaceBasis() const {
  if (!m_factored) {
    m_basisInOriginalOrder.setToZeros(0, 0);
    return m_basisInOriginalOrder;
  }
  const std::size_t m = m_rowCount;
  Kt::ensureShape(m_basisInOriginalOrder, m_columnCount, m_nullity);
  for (std::size_t k = 0; k < m_columnCount; ++k) {
    std::vector<KtReal>& basisRow = m_basisInOriginalOrder[m_basisOrder[k]];
    for (std::size_t j = 0; j < m_nullity; ++j)
      basisRow[j] = k < m ? m_basis[j * m + k] : (k == m + j ? 1.0 : 0.0);
  }
  return m_basisInOriginalOrder;
}

void KtCoreVelocityControlTool::clearRates() {
  m_jointRates.assign(m_columnCount, 0.0);
  m_nullSpaceRates.assign(m_columnCount, 0.0);
}

void KtCoreVelocityControlTool::reshape(std::size_t m, std::size_t n) {
  if (m == m_storageRows && n == m_storageColumns) return;
  m_factors.resize(n * paddedLength(n));
  m_lower.resize(n * paddedLength(n));
  m_pivots.resize(n);
  m_basisOrder.resize(n);
  m_leadingZeros.resize(n);
  m_reciprocalPivots.resize(n);
  m_basis.resize(m * (n - m));
  m_weightedBasis.resize(n);
  m_exchanged.resize(n);
  m_storageRows = m;
  m_storageColumns = n;
}

bool KtCoreVelocityControlTool::factor(const Kt::ReArray& J, const Kt::ReArray* W, std::size_t n,
                                       const Kt::ReArray* sparsity) {
  m_factored = false;
  const std::size_t m = J.rows();
  const std::size_t weightColumns = W ? W->columns() : n;
  if (weightColumns != n || m > n || (m > 0 && J.columns() != n)) {
    ktPrint(KtSeverity::Error,
            "KtCoreVelocityControlTool::prep(): bad dimensions on input: J is %dx%d, W is %dx%d\n",
            static_cast<int>(m), static_cast<int>(J.columns()), static_cast<int>(n),
            static_cast<int>(weightColumns));
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
  reshape(m, n);
  m_jointRates.resize(n);
  m_nullSpaceRates.resize(n);

  return withColumnCount(n, [&](auto columns) {
    if constexpr (std::is_same_v<decltype(columns), std::size_t>) {
      return factorWith(J, W, sparsity, columns);
    } else {
      using Factoring =
          bool (KtCoreVelocityControlTool::*)(const Kt::ReArray&, const Kt::ReArray*, const Kt::ReArray*);
      static const Factoring selected = wideLanesAvailable()
                                            ? &KtCoreVelocityControlTool::factorWide<columns>
                                            : &KtCoreVelocityControlTool::factorBaseline<columns>;
      return (this->*selected)(J, W, sparsity);
    }
  });
}

// The same factoring for a constant column count, compiled once for the baseline instruction
// set and once with 256-bit lanes, which take a seven-wide row in three steps instead of four.
// Neither fuses a multiply with an add, so both give the same bits.
template <std::size_t Columns>
bool KtCoreVelocityControlTool::factorBaseline(const Kt::ReArray& J, const Kt::ReArray* W,
                                               const Kt::ReArray* sparsity) {
  return factorWith(J, W, sparsity, std::integral_constant<std::size_t, Columns>{});
}

template <std::size_t Columns>
bool KtCoreVelocityControlTool::factorWide(const Kt::ReArray& J, const Kt::ReArray* W,
                                           const Kt::ReArray* sparsity) {
  return factorWith(J, W, sparsity, std::integral_constant<std::size_t, Columns>{});
}

template <typename Columns>
bool KtCoreVelocityControlTool::factorWith(const Kt::ReArray& J, const Kt::ReArray* W,
                                           const Kt::ReArray* sparsity, Columns columns) {
  const std::size_t m = m_rowCount;
  const std::size_t n = columns;
  copyJacobian(J, sparsity, columns);
  // A single free direction with a constant column count fixes J's row count too, so that the
  // column exchanges through J's rows unroll.
  const auto factorJacobian = [&](auto rows) { return factorRows(0, m, rows, columns); };
  std::size_t dependentJacobianRow = m;
  if constexpr (std::is_same_v<Columns, std::size_t>) {
    dependentJacobianRow = factorJacobian(m);
  } else if (m_nullity != 1) {
    dependentJacobianRow = factorJacobian(m);
  } else if (m_sparse) {
    dependentJacobianRow = factorJacobian(std::integral_constant<std::size_t, Columns::value - 1>{});
  } else {
    dependentJacobianRow = factorDenseRows(std::make_index_sequence<Columns::value - 1>{}, columns);
  }
  if (dependentJacobianRow < m) {
    ktPrint(KtSeverity::Error, "KtCoreVelocityControlTool::prep(): J is rank deficient at row %d\n",
            static_cast<int>(dependentJacobianRow));
    return false;
  }
  formBasis(columns);
  // Rows 0..m−1 of the core matrix are J and are factored already; only the rows of Nᵀ·W
  // remain.
  // With W the identity and one free direction the rates need J's factors alone, so the core's
  // last row is left for calc(); its pivot is uᵀu >= 1 then, so it cannot turn out dependent.
  m_identityRowPending = W == nullptr && m_nullity == 1;
  if (!m_identityRowPending) {
    formNullSpaceRows(W, columns);
    const std::size_t dependentCoreRow = factorRows(m, n, n, columns);
    if (dependentCoreRow < n) return reportSingularCore(dependentCoreRow);
  }
  m_factored = true;
  return true;
}

bool KtCoreVelocityControlTool::reportSingularCore(std::size_t row) const {
  ktPrint(KtSeverity::Error,
          "KtCoreVelocityControlTool::prep(): the core matrix is singular at row %d (W is not definite on "
          "the null space of J)\n",
          static_cast<int>(row));
  return false;
}

// With W the identity and one free direction u = (b, 1), the last row of the core matrix is uᵀ.
// Eliminating it against J's factors needs only U's columns: the multipliers l solve
// U11ᵀ·l = b and the pivot is 1 − l·U12. This is factorRows's arithmetic for that row, in the
// same order, without forming the row or subtracting whole rows from it.
template <typename Columns>
std::size_t KtCoreVelocityControlTool::factorIdentityRow(Columns columns) const {
  const std::size_t n = columns, m = n - 1, stride = strideOf(columns);
  const KtReal* basis = m_basis.data();
  const KtReal* factors = m_factors.data();
  KtReal* lower = m_lower.data() + m * stride;
  KtReal scale = 1.0, pivot = 1.0;
  for (std::size_t i = 0; i < m; ++i) {
    KtReal entry = basis[i];
    for (std::size_t j = 0; j < i; ++j) entry -= factors[j * stride + i] * lower[j];
    lower[i] = entry * m_reciprocalPivots[i];
    pivot -= factors[i * stride + m] * lower[i];
    scale = std::max(scale, std::fabs(basis[i]));
  }
  m_pivots[m] = m;
  if (pivot == 0.0) pivot = kZeroPivotReplacement;
  m_factors[m * stride + m] = pivot;
  m_reciprocalPivots[m] = 1.0 / pivot;
  return scale > 0.0 && std::fabs(pivot) > kNegligiblePivot * scale ? n : m;
}

// J's rows enter in their own column order; each row's leading structural zeros come from
// the sparsity pattern. The rows of Nᵀ·W are dense, so no count is kept for them.
template <typename Columns>
void KtCoreVelocityControlTool::copyJacobian(const Kt::ReArray& J, const Kt::ReArray* sparsity,
                                             Columns columns) {
  const std::size_t m = m_rowCount;
  const std::size_t n = columns;
  const std::size_t stride = strideOf(columns);
  for (std::size_t r = 0; r < m; ++r) {
    copyPaddedRow(J[r].data(), m_factors.data() + r * stride, columns);
    std::size_t zeros = 0;
    if (sparsity) {
      const std::vector<KtReal>& pattern = (*sparsity)[r];
      zeros = static_cast<std::size_t>(
          std::find_if(pattern.begin(), pattern.end(), [](KtReal entry) { return entry != 0.0; }) -
          pattern.begin());
    }
    m_leadingZeros[r] = zeros;
  }
  m_sparse = sparsity != nullptr;
  // A loop of constant length again, where iota over the vector's run-time size takes a vector
  // loop with its set-up.
  for (std::size_t c = 0; c < n; ++c) m_basisOrder[c] = c;
}

// Row k becomes row k of L and U: each earlier row i removes its column from it, in order,
// with the multiplier kept in L. The pivot is the first of the largest entries from column k
// on; multipliers in the row's structurally zero leading part are zero and skipped (its
// entries there are taken into L as they are).
//
// Nothing left of U's diagonal is ever read, so row i is subtracted whole (a row of constant
// length unrolls into a few vector operations): what that leaves in the columns up to i,
// which row k has finished with, is ignored.
template <typename RowsPresent, typename Columns>
std::size_t KtCoreVelocityControlTool::factorRows(std::size_t first, std::size_t last,
                                                  RowsPresent rowsPresent, Columns columns) {
  for (std::size_t k = first; k < last; ++k) {
    const std::size_t zeros = k < m_rowCount ? m_leadingZeros[k] : 0;
    if (!factorRow(k, zeros, rowsPresent, columns)) return k;
  }
  return last;
}

// J's rows without a sparsity pattern and with a constant row count: every row's step is
// written out with its index a constant, so that its loops over earlier rows and later columns
// unroll into straight code.
template <std::size_t... Rows, typename Columns>
std::size_t KtCoreVelocityControlTool::factorDenseRows(std::index_sequence<Rows...>, Columns columns) {
  constexpr std::size_t count = sizeof...(Rows);
  using None = std::integral_constant<std::size_t, 0>;
  std::size_t dependent = count;
  (void)((factorRow(std::integral_constant<std::size_t, Rows>{}, None{},
                    std::integral_constant<std::size_t, count>{}, columns) ||
          (dependent = Rows, false)) &&
         ...);
  return dependent;
}

template <typename Row, typename Zeros, typename RowsPresent, typename Columns>
bool KtCoreVelocityControlTool::factorRow(Row row, Zeros leadingZeros, RowsPresent rowsPresent,
                                          Columns columns) {
  const std::size_t n = columns, k = row, zeros = leadingZeros;
  const auto stride = strideOf(columns);
  KtReal* factors = m_factors.data();
  KtReal* entries = factors + k * stride;
  KtReal* lower = m_lower.data() + k * stride;
  const KtReal scale = largestMagnitude(entries, columns);
  for (std::size_t i = 0; i < zeros; ++i) lower[i] = entries[i];
  eliminate(entries, lower, factors, m_reciprocalPivots.data(), k, zeros, columns);
  std::size_t pivot = k;
  KtReal largest = std::fabs(entries[k]);
  for (std::size_t j = k + 1; j < n; ++j) {
    const KtReal magnitude = std::fabs(entries[j]);
    const bool larger = magnitude > largest;
    largest = larger ? magnitude : largest;
    pivot = larger ? j : pivot;
  }
  m_pivots[k] = pivot;
  if (pivot != k) exchangeColumns(k, pivot, rowsPresent, columns);
  if (entries[k] == 0.0) entries[k] = kZeroPivotReplacement;
  m_reciprocalPivots[k] = 1.0 / entries[k];
  return scale > 0.0 && std::fabs(entries[k]) > kNegligiblePivot * scale;
}

// An exchange that moves a possibly non-zero column into a later row's zero leading part
// shortens that part.
template <typename RowsPresent, typename Columns>
void KtCoreVelocityControlTool::exchangeColumns(std::size_t k, std::size_t pivot, RowsPresent rowsPresent,
                                                Columns columns) {
  const std::size_t stride = strideOf(columns);
  KtReal* factors = m_factors.data();
  for (std::size_t r = 0; r < rowsPresent; ++r)
    std::swap(factors[r * stride + k], factors[r * stride + pivot]);
  // Exchanges among the rows of Nᵀ·W come after the basis is written and leave its order.
  if (k < m_rowCount) std::swap(m_basisOrder[k], m_basisOrder[pivot]);
  const std::size_t jacobianRows = std::min<std::size_t>(rowsPresent, m_rowCount);
  for (std::size_t r = k + 1; r < jacobianRows && m_sparse; ++r) {
    std::size_t& zeros = m_leadingZeros[r];
    if (k < zeros && pivot >= zeros) zeros = k;
  }
}

// With J's factors U = [U11 U12] (U11 the leading m x m block), (b_j, e_j) with
// U11·b_j = −U12·e_j is annihilated by U, hence by J; back substitution gives b_j.
// A single free direction with a constant column count fixes the row count too, so that the
// substitution's loops unroll.
template <typename Columns>
void KtCoreVelocityControlTool::formBasis(Columns columns) {
  if constexpr (!std::is_same_v<Columns, std::size_t>) {
    if (m_nullity == 1) return formBasis(std::integral_constant<std::size_t, Columns::value - 1>{}, columns);
  }
  formBasis(m_rowCount, columns);
}

template <typename Rows, typename Columns>
void KtCoreVelocityControlTool::formBasis(Rows rows, Columns columns) {
  const std::size_t m = rows;
  const std::size_t n = columns;
  for (std::size_t j = 0; j < n - m; ++j) {
    KtReal* basis = m_basis.data() + j * m;
    // Counted upward, so that with a constant row count both loops unroll.
#pragma GCC unroll 8
    for (std::size_t done = 0; done < m; ++done) {
      const std::size_t i = m - 1 - done;
      const KtReal* entries = m_factors.data() + i * strideOf(columns);
      KtReal sum = -entries[m + j];
#pragma GCC unroll 8
      for (std::size_t t = i + 1; t < m; ++t) sum -= entries[t] * basis[t];
      basis[i] = sum * m_reciprocalPivots[i];
    }
  }
}

// Row m + j of the core matrix is N_jᵀ·W, written in the exchanged column order. With W the
// identity that is the basis vector itself; otherwise the rows of W that the basis vector
// picks are summed in W's own order and the sum is then put in the exchanged order.
template <typename Columns>
void KtCoreVelocityControlTool::formNullSpaceRows(const Kt::ReArray* W, Columns columns) {
  const std::size_t m = m_rowCount;
  const std::size_t n = columns;
  for (std::size_t j = 0; j < m_nullity; ++j) {
    KtReal* entries = m_factors.data() + (m + j) * strideOf(columns);
    const KtReal* basis = m_basis.data() + j * m;
    if (W == nullptr) {
      for (std::size_t c = 0; c < strideOf(columns); ++c)
        entries[c] = c < m ? basis[c] : (c == m + j ? 1.0 : 0.0);
      continue;
    }
    KtReal* sum = m_weightedBasis.data();
    std::copy_n((*W)[m_basisOrder[m + j]].data(), n, sum);
    for (std::size_t k = 0; k < m; ++k) {
      const KtReal weight = basis[k];
      if (weight == 0.0) continue;
      const KtReal* weightRow = (*W)[m_basisOrder[k]].data();
      for (std::size_t c = 0; c < n; ++c) sum[c] += weight * weightRow[c];
    }
    for (std::size_t c = 0; c < n; ++c) entries[c] = sum[m_basisOrder[c]];
    std::fill(entries + n, entries + strideOf(columns), 0.0);
  }
}

// A·P = L·U: forward through the unit lower factor, back through the upper one, then the
// exchanges undone, last one first. Right-hand sides run side by side through the factors.
template <std::size_t Count, typename Columns>
void KtCoreVelocityControlTool::substitute(const std::array<KtReal*, Count>& x, Columns columns) const {
  const std::size_t n = columns;
  std::array<KtReal, Count> sums;
  for (std::size_t r = 0; r < n; ++r) {
    const KtReal* entries = m_lower.data() + r * strideOf(columns);
    for (std::size_t c = 0; c < Count; ++c) sums[c] = x[c][r];
    for (std::size_t i = 0; i < r; ++i) {
      for (std::size_t c = 0; c < Count; ++c) sums[c] -= entries[i] * x[c][i];
    }
    for (std::size_t c = 0; c < Count; ++c) x[c][r] = sums[c];
  }
  for (std::size_t r = n; r-- > 0;) {
    const KtReal* entries = m_factors.data() + r * strideOf(columns);
    for (std::size_t c = 0; c < Count; ++c) sums[c] = x[c][r];
    for (std::size_t t = r + 1; t < n; ++t) {
      for (std::size_t c = 0; c < Count; ++c) sums[c] -= entries[t] * x[c][t];
    }
    for (std::size_t c = 0; c < Count; ++c) x[c][r] = sums[c] * m_reciprocalPivots[r];
  }
  for (std::size_t k = n; k-- > 0;) {
    for (KtReal* solution : x) std::swap(solution[k], solution[m_pivots[k]]);
  }
}

#pragma once

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "foundation/Types.h"
#include "math/ReArray.h"

// Solves the velocity-control equation of one manipulator. With J the m x n stacked Jacobian,
// V the m commanded end-effector velocities, W the n x n weighting matrix, F the gradient
// column and alpha its scale, the joint rates q' satisfy
//   J·q' = V                  (the commanded motion, exactly), and
//   Nᵀ·(W·q' + alpha·F) = 0   (optimality in the null space N of J),
// so that among all rates achieving V they minimise ½·q'ᵀ·W·q' + alpha·Fᵀ·q'. Both blocks form
// the n x n core matrix [J; Nᵀ·W], which is factored once and solved for two right-hand sides
// in one pass: for the full rates, and with V set to zero for the rates that come from the
// secondary goals alone.
//
// The factorisation is by rows with column exchanges (A·P = L·U), so row k of the factors
// depends only on rows 0..k of A: J's m rows are factored once, N is read off their factors,
// and the factorisation then continues with the n − m rows of Nᵀ·W alone.
//
// Rank deficiency: a pivot that is negligible against the largest entry of its row means the
// row depends on the rows before it: J has dependent rows, or W is not definite on J's null
// space. The rates then have no unique, finite value, so the solve fails with a message
// instead of returning the huge or non-finite rates that division by a tiny pivot gives.
//
// All working storage is flat and kept between calls; it is reshaped only when m or n change,
// so that a steady control loop does not allocate.
class KtCoreVelocityControlTool {
 public:
  // Solves for the rates of n joint-space columns. sparsity (optional) has J's shape and is
  // non-zero wherever J may be; rows are then factored from their first such entry on.
  // On failure both rate vectors are n zeros, so a caller that goes on commands no motion.
  bool calcJointRates(const Kt::ReArray& J, const Kt::ReArray& W, const std::vector<KtReal>& F, KtReal alpha,
                      const std::vector<KtReal>& V, std::size_t n, const Kt::ReArray* sparsity = nullptr);
  // The same with W the identity, which is then neither built nor read.
  bool calcJointRates(const Kt::ReArray& J, const std::vector<KtReal>& F, KtReal alpha,
                      const std::vector<KtReal>& V, std::size_t n, const Kt::ReArray* sparsity = nullptr);

  // Finds the null-space basis N of J and factors the core matrix [J; Nᵀ·W]; n is W's size.
  // J must be m x n with m <= n (m = 0 leaves every direction free).
  bool prep(const Kt::ReArray& J, const Kt::ReArray& W, const Kt::ReArray* sparsity = nullptr);
  // Solves the core matrix factored by the last successful prep for the right-hand side rhs.
  bool calc(const std::vector<KtReal>& rhs, std::vector<KtReal>& rates) const;

  const std::vector<KtReal>& jointRates() const { return m_jointRates; }
  const std::vector<KtReal>& nullSpaceRates() const { return m_nullSpaceRates; }
  std::size_t rowCount() const { return m_rowCount; }
  std::size_t columnCount() const { return m_columnCount; }
  std::size_t nullity() const { return m_nullity; }
  // n x (n − m) basis of the last successful prep (empty when there is none), built on
  // request; its columns span the null space of J (neither normalised nor orthogonal).
  const Kt::ReArray& nullSpaceBasis() const;

 private:
  // W == nullptr stands for the identity.
  bool solve(const Kt::ReArray& J, const Kt::ReArray* W, const std::vector<KtReal>& F, KtReal alpha,
             const std::vector<KtReal>& V, std::size_t n, const Kt::ReArray* sparsity);
  // Checks the shapes, then factors the core matrix of J and W (n x n).
  bool factor(const Kt::ReArray& J, const Kt::ReArray* W, std::size_t n, const Kt::ReArray* sparsity);
  // The rates when W is the identity and J leaves one free direction, from J's factors and
  // the basis alone (calc() factors the core matrix's last row when it is needed).
  template <typename Columns>
  void projectOnNullDirection(const std::vector<KtReal>& F, KtReal alpha, const std::vector<KtReal>& V,
                              Columns n);
  // Both rate vectors become n zeros.
  void clearRates();
  void reshape(std::size_t m, std::size_t n);
  // The rest of factor, with the column count n as a run-time value or as a compile-time
  // constant (so do the kernels below).
  // factorWith for a constant column count, for the baseline instruction set and with 256-bit
  // lanes; one of the two is chosen once, from the processor's features.
  template <std::size_t Columns>
  [[gnu::flatten]] bool factorBaseline(const Kt::ReArray& J, const Kt::ReArray* W,
                                       const Kt::ReArray* sparsity);
  template <std::size_t Columns>
  [[gnu::flatten, gnu::target("avx2")]] bool factorWide(const Kt::ReArray& J, const Kt::ReArray* W,
                                                        const Kt::ReArray* sparsity);
  template <typename Columns>
  bool factorWith(const Kt::ReArray& J, const Kt::ReArray* W, const Kt::ReArray* sparsity, Columns n);
  template <typename Columns>
  void copyJacobian(const Kt::ReArray& J, const Kt::ReArray* sparsity, Columns n);
  // Factors rows [first, last), each against the factored rows above it, exchanging pivot
  // columns in the first rowsPresent rows; returns the first row that depends on those above
  // it, or last.
  template <typename RowsPresent, typename Columns>
  std::size_t factorRows(std::size_t first, std::size_t last, RowsPresent rowsPresent, Columns n);
  template <std::size_t... Rows, typename Columns>
  std::size_t factorDenseRows(std::index_sequence<Rows...>, Columns n);
  // Row k of factorRows, whose first `zeros` entries are structurally zero; false when it
  // depends on the rows above it.
  template <typename Row, typename Zeros, typename RowsPresent, typename Columns>
  bool factorRow(Row k, Zeros zeros, RowsPresent rowsPresent, Columns n);
  template <typename RowsPresent, typename Columns>
  void exchangeColumns(std::size_t k, std::size_t pivot, RowsPresent rowsPresent, Columns n);
  template <typename Columns>
  void formBasis(Columns n);
  template <typename Rows, typename Columns>
  void formBasis(Rows m, Columns n);
  template <typename Columns>
  void formNullSpaceRows(const Kt::ReArray* W, Columns n);
  // Factors the core matrix's single row below J's when W is the identity; returns it if it
  // depends on the rows above it, else n.
  template <typename Columns>
  std::size_t factorIdentityRow(Columns n) const;
  bool reportSingularCore(std::size_t row) const;
  // Solves in place, for each of the given right-hand sides, with the factors.
  template <std::size_t Count, typename Columns>
  void substitute(const std::array<KtReal*, Count>& x, Columns n) const;

  // The factors, row-major with rows paddedLength(n) entries apart, in the exchanged column order: U on and
  // above the diagonal of m_factors, L below the diagonal of m_lower (unit diagonal implied); nothing else in
  // either is used (a row's largest magnitude reads its zero padding). Mutable because calc() completes the
  // core's last row when the solve left it out.
  mutable std::vector<KtReal> m_factors;
  mutable std::vector<KtReal> m_lower;
  // pivots[k]: the column exchanged with column k at step k.
  mutable std::vector<std::size_t> m_pivots;
  // basisOrder[c]: the original column at position c once J is factored, the order that the
  // basis vectors and the rows of Nᵀ·W are written in.
  std::vector<std::size_t> m_basisOrder;
  // Per row of J, how many leading entries (in the current column order) are structurally zero.
  std::vector<std::size_t> m_leadingZeros;
  mutable std::vector<KtReal> m_reciprocalPivots;
  // Null-space basis in m_basisOrder: vector j is (b_j, e_j), with b_j (m
  // entries, stored at j·m) solving U11·b_j = −U12·e_j for the leading m x m block U11 of J's
  // factors.
  std::vector<KtReal> m_basis;
  // One row of Nᵀ·W in W's column order, while it is formed.
  std::vector<KtReal> m_weightedBasis;
  // A vector in the exchanged column order, while the rates are formed.
  std::vector<KtReal> m_exchanged;
  std::vector<KtReal> m_jointRates;
  std::vector<KtReal> m_nullSpaceRates;
  mutable Kt::ReArray m_basisInOriginalOrder;
  std::size_t m_rowCount = 0;
  std::size_t m_columnCount = 0;
  std::size_t m_nullity = 0;
  // The shape the working storage was last made for.
  std::size_t m_storageRows = 0;
  std::size_t m_storageColumns = 0;
  // Whether J's rows have known leading zeros.
  bool m_sparse = false;
  // Whether m_factors holds the factors of the last successful prep.
  bool m_factored = false;
  // Whether the core's last row (W the identity, one free direction) is still to be factored.
  mutable bool m_identityRowPending = false;
};

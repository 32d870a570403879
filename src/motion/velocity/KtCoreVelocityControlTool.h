#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "math/ReArray.h"

// Solves the velocity-control equation of one manipulator. With J the m x n stacked Jacobian,
// V the m commanded end-effector velocities, W the n x n weighting matrix, F the gradient
// column and alpha its scale, the joint rates q' satisfy
//   J·q' = V                  (the commanded motion, exactly), and
//   Nᵀ·(W·q' + alpha·F) = 0   (optimality in the null space N of J),
// so that among all rates achieving V they minimise ½·q'ᵀ·W·q' + alpha·Fᵀ·q'. Both blocks form
// the n x n core matrix [J; Nᵀ·W], which is factored once and solved twice: for the full
// rates, and with V set to zero for the rates that come from the secondary goals alone.
//
// Rank deficiency: a pivot that is negligible against the largest entry of its row means the
// row depends on the rows before it: J has dependent rows, or W is not definite on J's null
// space. The rates then have no unique, finite value, so the solve fails with a message
// instead of returning the huge or non-finite rates that division by a tiny pivot gives.
//
// All working storage is kept between calls and reshaped only when m or n change, so that a
// steady control loop does not allocate.
class KtCoreVelocityControlTool {
 public:
  // Solves for the rates of n joint-space columns. sparsity (optional) has J's shape and is
  // non-zero wherever J may be; rows are then factored from their first such entry on.
  // On failure both rate vectors are n zeros, so a caller that goes on commands no motion.
  bool calcJointRates(const Kt::ReArray& J, const Kt::ReArray& W, const std::vector<KtReal>& F, KtReal alpha,
                      const std::vector<KtReal>& V, std::size_t n, const Kt::ReArray* sparsity = nullptr);

  // Copies J, finds the null-space basis N of J and factors the core matrix [J; Nᵀ·W]; n is
  // W's size. J must be m x n with m <= n (m = 0 leaves every direction free).
  bool prep(const Kt::ReArray& J, const Kt::ReArray& W, const Kt::ReArray* sparsity = nullptr);
  // Solves the core matrix factored by the last successful prep for the right-hand side rhs.
  bool calc(const std::vector<KtReal>& rhs, std::vector<KtReal>& rates) const;

  const std::vector<KtReal>& jointRates() const { return m_jointRates; }
  const std::vector<KtReal>& nullSpaceRates() const { return m_nullSpaceRates; }
  std::size_t rowCount() const { return m_rowCount; }
  std::size_t columnCount() const { return m_columnCount; }
  std::size_t nullity() const { return m_nullity; }
  // n x (n − m); its columns span the null space of J (neither normalised nor orthogonal).
  const Kt::ReArray& nullSpaceBasis() const { return m_nullSpace; }

 private:
  // Both rate vectors become n zeros.
  void clearRates();
  bool factorJacobian(const Kt::ReArray& J, const Kt::ReArray* sparsity);
  void formCore(const Kt::ReArray& J, const Kt::ReArray& W);
  bool factorCore(bool sparse);

  Kt::ReArray m_factoredJacobian;
  Kt::ReArray m_nullSpace;
  Kt::ReArray m_core;
  Kt::ReArray::Pivots m_jacobianPivots;
  Kt::ReArray::Pivots m_corePivots;
  Kt::ReArray::Indices m_zeroStart;
  Kt::ReArray::Indices m_sparseIndices;
  Kt::ReArray::Indices m_coreZeroStart;
  Kt::ReArray::Indices m_coreSparseIndices;
  // Largest magnitude in each row before factoring, the scale its pivot is judged against.
  std::vector<KtReal> m_rowScales;
  std::vector<KtReal> m_rhs;
  std::vector<KtReal> m_jointRates;
  std::vector<KtReal> m_nullSpaceRates;
  std::size_t m_rowCount = 0;
  std::size_t m_columnCount = 0;
  std::size_t m_nullity = 0;
  // Whether m_core holds the factors of the last successful prep.
  bool m_factored = false;
};

#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "math/ReArray.h"

// Solves J·x = r (J m x n) for the x of least weighted size Σ x_c² / s_c², where s_c > 0 is a
// column's scale and a column of scale 0 is not used (its x_c is 0).
//
// With A = J·S (S = diag(s)) and x = S·z, this is the minimum-norm solution z = Aᵀ·(A·Aᵀ)⁻¹·r,
// computed from the Householder QR factors of Aᵀ = Q·R as z = Q·R⁻ᵀ·r. Unlike the normal
// equations, which square the condition number of A, this keeps the accuracy of the
// factorisation near singular poses. Where the used columns do not span every row, a negligible
// pivot leaves that part of r out: the result is then a best effort that the caller judges.
//
// Storage is sized by resize() and reused, so that solve() does not allocate.
class KtWeightedMinimumNorm {
 public:
  void resize(std::size_t rows, std::size_t columns);
  // x gets n entries; J must be rows x columns, r and scales of matching size.
  void solve(const Kt::ReArray& J, const std::vector<KtReal>& r, const std::vector<KtReal>& scales,
             std::vector<KtReal>& x);

 private:
  // Overwrites column k of m_factors below the diagonal with a reflection that zeroes it and
  // applies the reflection to the columns after k.
  void reflect(std::size_t k);
  // z = H_k·z for the reflection stored in column k.
  void applyReflection(std::size_t k, std::vector<KtReal>& z) const;

  // Aᵀ, then its factors: R above the diagonal, the reflection vectors on and below it.
  Kt::ReArray m_factors;
  std::vector<KtReal> m_diagonal;  // the diagonal of R
  std::vector<KtReal> m_lengths;   // vᵀ·v of each reflection vector v (0: no reflection)
  std::vector<KtReal> m_solution;  // R⁻ᵀ·r
};

#include "motion/expression/filter/KtWeightedMinimumNorm.h"

#include <algorithm>
#include <cmath>

namespace {
// A pivot at most this fraction of the largest one marks a row that the used columns cannot
// reach beyond rounding.
constexpr KtReal kNegligiblePivot = 1e-12;
}  // namespace

void KtWeightedMinimumNorm::resize(std::size_t rows, std::size_t columns) {
  m_factors.setToZeros(columns, rows);
  m_diagonal.assign(rows, 0.0);
  m_lengths.assign(rows, 0.0);
  m_solution.assign(rows, 0.0);
}

void KtWeightedMinimumNorm::reflect(std::size_t k) {
  const std::size_t n = m_factors.rows(), m = m_factors.columns();
  KtReal squares = 0.0;
  for (std::size_t i = k; i < n; ++i) squares += m_factors[i][k] * m_factors[i][k];
  const KtReal length = std::sqrt(squares);
  // v = x − α·e_k with α of the sign opposite to x_k, so that no cancellation occurs; then
  // vᵀ·v = 2·(‖x‖² − α·x_k).
  const KtReal leading = m_factors[k][k];
  const KtReal alpha = leading > 0.0 ? -length : length;
  m_diagonal[k] = alpha;
  m_lengths[k] = 2.0 * (squares - alpha * leading);
  m_factors[k][k] = leading - alpha;
  if (m_lengths[k] == 0.0) return;
  for (std::size_t j = k + 1; j < m; ++j) {
    KtReal product = 0.0;
    for (std::size_t i = k; i < n; ++i) product += m_factors[i][k] * m_factors[i][j];
    const KtReal factor = 2.0 * product / m_lengths[k];
    for (std::size_t i = k; i < n; ++i) m_factors[i][j] -= factor * m_factors[i][k];
  }
}

void KtWeightedMinimumNorm::applyReflection(std::size_t k, std::vector<KtReal>& z) const {
  if (m_lengths[k] == 0.0) return;
  KtReal product = 0.0;
  for (std::size_t i = k; i < z.size(); ++i) product += m_factors[i][k] * z[i];
  const KtReal factor = 2.0 * product / m_lengths[k];
  for (std::size_t i = k; i < z.size(); ++i) z[i] -= factor * m_factors[i][k];
}

void KtWeightedMinimumNorm::solve(const Kt::ReArray& J, const std::vector<KtReal>& r,
                                  const std::vector<KtReal>& scales, std::vector<KtReal>& x) {
  const std::size_t m = m_factors.columns(), n = m_factors.rows();
  for (std::size_t c = 0; c < n; ++c)
    for (std::size_t a = 0; a < m; ++a) m_factors[c][a] = J[a][c] * scales[c];
  const std::size_t steps = std::min(m, n);
  KtReal largestPivot = 0.0;
  for (std::size_t k = 0; k < steps; ++k) {
    reflect(k);
    largestPivot = std::max(largestPivot, std::fabs(m_diagonal[k]));
  }
  // Rᵀ·y = r by forward substitution; R[i][k] (i < k) is stored at m_factors[i][k].
  for (std::size_t k = 0; k < steps; ++k) {
    KtReal sum = r[k];
    for (std::size_t i = 0; i < k; ++i) sum -= m_factors[i][k] * m_solution[i];
    const bool reachable = std::fabs(m_diagonal[k]) > kNegligiblePivot * largestPivot;
    m_solution[k] = reachable ? sum / m_diagonal[k] : 0.0;
  }
  // z = Q·[y; 0] = H_0·H_1·…·H_(steps−1)·[y; 0], then x = S·z.
  std::fill(x.begin(), x.end(), 0.0);
  std::copy_n(m_solution.begin(), steps, x.begin());
  for (std::size_t k = steps; k-- > 0;) applyReflection(k, x);
  for (std::size_t c = 0; c < n; ++c) x[c] *= scales[c];
}

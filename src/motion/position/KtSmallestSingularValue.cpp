#include "motion/position/KtSmallestSingularValue.h"

#include <algorithm>
#include <cmath>

namespace {
// Enough for convergence to rounding level on matrices of a few dozen rows; Jacobi converges
// quadratically once the off-diagonal part is small.
constexpr int kMaxSweeps = 60;
}  // namespace

void KtSmallestSingularValue::formGram(const Kt::ReArray& matrix) {
  const std::size_t rows = matrix.rows(), columns = matrix.columns();
  const bool wide = rows <= columns;
  m_size = wide ? rows : columns;
  m_gram.resize(m_size * m_size);
  for (std::size_t i = 0; i < m_size; ++i) {
    for (std::size_t j = i; j < m_size; ++j) {
      KtReal sum = 0.0;
      if (wide) {
        for (std::size_t k = 0; k < columns; ++k) sum += matrix[i][k] * matrix[j][k];
      } else {
        for (std::size_t k = 0; k < rows; ++k) sum += matrix[k][i] * matrix[k][j];
      }
      at(i, j) = sum;
      at(j, i) = sum;
    }
  }
}

// Rotates the off-diagonal entries away pair by pair until they are negligible beside the
// diagonal, which then holds the eigenvalues.
void KtSmallestSingularValue::diagonalize() {
  for (int sweep = 0; sweep < kMaxSweeps; ++sweep) {
    KtReal off = 0.0, diagonal = 0.0;
    for (std::size_t i = 0; i < m_size; ++i) {
      diagonal += at(i, i) * at(i, i);
      for (std::size_t j = i + 1; j < m_size; ++j) off += at(i, j) * at(i, j);
    }
    if (!(off > 1e-30 * diagonal)) return;
    for (std::size_t p = 0; p + 1 < m_size; ++p) {
      for (std::size_t q = p + 1; q < m_size; ++q) {
        const KtReal apq = at(p, q);
        if (apq == 0.0) continue;
        const KtReal theta = (at(q, q) - at(p, p)) / (2.0 * apq);
        const KtReal t = std::copysign(1.0, theta) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
        const KtReal c = 1.0 / std::sqrt(t * t + 1.0), s = t * c;
        for (std::size_t r = 0; r < m_size; ++r) {
          if (r == p || r == q) continue;
          const KtReal arp = at(r, p), arq = at(r, q);
          at(r, p) = at(p, r) = c * arp - s * arq;
          at(r, q) = at(q, r) = s * arp + c * arq;
        }
        at(p, p) -= t * apq;
        at(q, q) += t * apq;
        at(p, q) = at(q, p) = 0.0;
      }
    }
  }
}

KtReal KtSmallestSingularValue::of(const Kt::ReArray& matrix) {
  formGram(matrix);
  if (m_size == 0) return 0.0;
  diagonalize();
  KtReal smallest = at(0, 0);
  for (std::size_t i = 1; i < m_size; ++i) smallest = std::min(smallest, at(i, i));
  return std::sqrt(std::max(smallest, 0.0));
}

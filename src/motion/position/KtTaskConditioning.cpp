#include "motion/position/KtTaskConditioning.h"

void KtTaskConditioning::resize(std::size_t manipulators) {
  m_kept.resize(manipulators);
  m_pending.resize(manipulators, false);
}

void KtTaskConditioning::keep(std::size_t manipulator, const Kt::ReArray& jacobian) {
  if (manipulator >= m_kept.size()) return;
  Kept& kept = m_kept[manipulator];
  kept.rows = jacobian.rows();
  kept.columns = jacobian.columns();
  kept.entries.resize(kept.rows * kept.columns);
  for (std::size_t r = 0; r < kept.rows; ++r) {
    const std::vector<KtReal>& row = jacobian[r];
    std::copy(row.begin(), row.end(), kept.entries.begin() + static_cast<std::ptrdiff_t>(r * kept.columns));
  }
  m_pending[manipulator] = true;
}

void KtTaskConditioning::forget() { m_pending.assign(m_pending.size(), false); }

void KtTaskConditioning::settle(std::vector<KtPropagationResultData>& results) {
  for (std::size_t m = 0; m < m_pending.size() && m < results.size(); ++m) {
    if (!m_pending[m]) continue;
    const Kept& kept = m_kept[m];
    m_matrix.setToZeros(kept.rows, kept.columns);
    for (std::size_t r = 0; r < kept.rows; ++r)
      for (std::size_t c = 0; c < kept.columns; ++c) m_matrix[r][c] = kept.entries[r * kept.columns + c];
    results[m].setSmallestSingularValue(m_singularValue.of(m_matrix));
    m_pending[m] = false;
  }
}

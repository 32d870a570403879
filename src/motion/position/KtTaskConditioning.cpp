#include "motion/position/KtTaskConditioning.h"

#include <algorithm>

void KtTaskConditioning::resize(std::size_t manipulators) {
  m_kept.resize(manipulators);
  m_pending.resize(manipulators, 0);
}

void KtTaskConditioning::keep(std::size_t manipulator, KtEndEffectorSet& set) {
  if (manipulator >= m_kept.size()) return;
  set.handOverLastJacobian(m_kept[manipulator]);
  m_pending[manipulator] = 1;
}

void KtTaskConditioning::forget() { std::fill(m_pending.begin(), m_pending.end(), 0); }

void KtTaskConditioning::settle(std::vector<KtPropagationResultData>& results) {
  for (std::size_t m = 0; m < m_pending.size() && m < results.size(); ++m) {
    if (!m_pending[m]) continue;
    results[m].setSmallestSingularValue(m_singularValue.of(m_kept[m]));
    m_pending[m] = 0;
  }
}

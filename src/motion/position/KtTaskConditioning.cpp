#include "motion/position/KtTaskConditioning.h"

void KtTaskConditioning::resize(std::size_t manipulators) {
  m_kept.resize(manipulators);
  m_pending.resize(manipulators, false);
}

void KtTaskConditioning::keep(std::size_t manipulator, KtEndEffectorSet& set) {
  if (manipulator >= m_kept.size()) return;
  set.handOverLastJacobian(m_kept[manipulator]);
  m_pending[manipulator] = true;
}

void KtTaskConditioning::forget() { m_pending.assign(m_pending.size(), false); }

void KtTaskConditioning::settle(std::vector<KtPropagationResultData>& results) {
  for (std::size_t m = 0; m < m_pending.size() && m < results.size(); ++m) {
    if (!m_pending[m]) continue;
    results[m].setSmallestSingularValue(m_singularValue.of(m_kept[m]));
    m_pending[m] = false;
  }
}

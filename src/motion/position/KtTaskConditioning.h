#pragma once

#include <cstddef>
#include <vector>

#include "math/ReArray.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/position/KtPropagationResultData.h"
#include "motion/position/KtSmallestSingularValue.h"

// How well conditioned each manipulator's task was in the last calculation, found only when
// someone reads it. The calculation takes over the stacked Jacobian its last solve used (an
// exchange of storage, not a copy); the smallest singular value, which takes Jacobi rotations of
// tens of thousands of operations, is computed from it on the first read of the results and not
// at all by a control loop that never asks.
class KtTaskConditioning {
 public:
  void resize(std::size_t manipulators);
  // Takes over the Jacobian of manipulator m's set from its last solve (no allocation once its
  // shape has been seen).
  void keep(std::size_t manipulator, KtEndEffectorSet& set);
  // Nothing is pending any more: the results were cleared.
  void forget();
  // Writes the smallest singular value of every kept Jacobian into its manipulator's results.
  void settle(std::vector<KtPropagationResultData>& results);

 private:
  std::vector<Kt::ReArray> m_kept;
  // Bytes rather than bits: clearing them every cycle is then a plain fill.
  std::vector<unsigned char> m_pending;
  KtSmallestSingularValue m_singularValue;
};

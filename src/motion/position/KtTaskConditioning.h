#pragma once

#include <cstddef>
#include <vector>

#include "math/ReArray.h"
#include "motion/position/KtPropagationResultData.h"
#include "motion/position/KtSmallestSingularValue.h"

// How well conditioned each manipulator's task was in the last calculation, found only when
// someone reads it. The calculation keeps a copy of the stacked Jacobian its last solve used (a
// few dozen numbers); the smallest singular value, which takes Jacobi rotations of tens of
// thousands of operations, is computed from that copy on the first read of the results and
// not at all by a control loop that never asks.
class KtTaskConditioning {
 public:
  void resize(std::size_t manipulators);
  // Keeps a copy of manipulator m's Jacobian (no allocation once its shape has been seen).
  void keep(std::size_t manipulator, const Kt::ReArray& jacobian);
  // Nothing is pending any more: the results were cleared.
  void forget();
  // Writes the smallest singular value of every kept Jacobian into its manipulator's results.
  void settle(std::vector<KtPropagationResultData>& results);

 private:
  std::vector<Kt::ReArray> m_jacobians;
  std::vector<bool> m_pending;
  KtSmallestSingularValue m_singularValue;
};

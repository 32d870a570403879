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
  // A Jacobian kept row by row in one flat buffer: a copy of a few dozen numbers per cycle.
  struct Kept {
    std::size_t rows = 0, columns = 0;
    std::vector<KtReal> entries;
  };
  std::vector<Kept> m_kept;
  std::vector<bool> m_pending;
  Kt::ReArray m_matrix;
  KtSmallestSingularValue m_singularValue;
};

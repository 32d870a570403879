#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "math/ReArray.h"

// The smallest singular value of a dense matrix: the square root of the smallest eigenvalue of
// its smaller Gram matrix (A·Aᵀ for a wide matrix, Aᵀ·A for a tall one), found by cyclic Jacobi
// rotations. The Gram matrix is kept between calls, so a matrix of unchanged shape costs no
// allocation. Squaring halves the relative precision, which is ample for telling how close an
// arm is to a singular configuration.
class KtSmallestSingularValue {
 public:
  // 0 for an empty matrix.
  KtReal of(const Kt::ReArray& matrix);

 private:
  void formGram(const Kt::ReArray& matrix);
  void diagonalize();
  KtReal& at(std::size_t row, std::size_t column) { return m_gram[row * m_size + column]; }

  std::vector<KtReal> m_gram;
  std::size_t m_size = 0;
};

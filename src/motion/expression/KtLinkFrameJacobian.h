#pragma once

#include <cstddef>

#include "manipulator/KtJointColumns.h"
#include "math/ReArray.h"
#include "motion/expression/KtControlContext.h"

// The 6 x n frame Jacobian of one link at its primary frame's origin, in system axes (linear
// rows first), over the context's joint-space columns, and how each of its columns changes as
// the arm moves along any one column.
//
// The rates of change come from the geometry of the columns rather than from differences.
// A joint's column is the twist of its axis evaluated at the point p; moving along column k
// moves outboard of k rigidly with k's twist (angular part ω_k). When k moves column c's axis
// along with p (k is c itself or inboard of it, or a base rotation and c a joint) the whole
// column turns: dJ_c = ω_k × J_c in both halves. Otherwise only p moves, by k's linear
// velocity, so dJ_c^lin = J_c^ang × J_k^lin and dJ_c^ang = 0; this also covers the base
// rotations about fixed system axes. A base translation changes no column.
class KtLinkFrameJacobian {
 public:
  // Sizes the matrix for the context's columns; columns of joints off the link's chain stay zero.
  void prepare(const KtControlContext& context, std::size_t linkIndex);
  // Recomputes the matrix for the context's current state.
  bool update(const KtControlContext& context);

  const Kt::ReArray& matrix() const { return m_jacobian; }
  std::size_t columns() const { return m_jacobian.columns(); }
  KtJointColumn column(std::size_t c) const;
  // The rate of change of column c along column k.
  KtJointColumn columnRate(std::size_t k, std::size_t c) const;

 private:
  std::size_t m_linkIndex = 0;
  std::size_t m_jointCount = 0;
  Kt::ReArray m_jacobian;
};

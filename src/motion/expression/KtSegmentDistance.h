#pragma once

#include "foundation/Types.h"
#include "math/Vector.h"

// The closest points of two segments P(s) = p0 + s·(p1 − p0) and Q(t) = q0 + t·(q1 − q0),
// s and t in [0, 1], and their distance. Segments of zero length count as points; for
// parallel segments one of the equally close pairs is given.
struct KtSegmentDistance {
  KtReal s = 0.0;
  KtReal t = 0.0;
  Kt::Vector onFirst;
  Kt::Vector onSecond;
  KtReal distance = 0.0;

  static KtSegmentDistance between(const Kt::Vector& p0, const Kt::Vector& p1, const Kt::Vector& q0,
                                   const Kt::Vector& q1);
};

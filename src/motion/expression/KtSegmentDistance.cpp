#include "motion/expression/KtSegmentDistance.h"

#include <algorithm>

namespace {

// Lengths (squared) below this fraction of the larger segment's count as zero, and so does a
// cross term this close to parallel.
constexpr KtReal kNegligible = 1e-24;

KtReal clampUnit(KtReal x) { return std::clamp(x, 0.0, 1.0); }

}  // namespace

// |w + s·u − t·v|² with w = p0 − q0 is a convex quadratic in (s, t). Its minimum over the unit
// square lies either inside, where both partial derivatives vanish, or on an edge; the best s
// for a given t (and t for s) is the clamped projection. So: take the free minimum's s (any s
// when parallel), the best t for it, and if that t had to be clamped, the best s for the
// clamped t, which then is optimal.
KtSegmentDistance KtSegmentDistance::between(const Kt::Vector& p0, const Kt::Vector& p1, const Kt::Vector& q0,
                                             const Kt::Vector& q1) {
  const Kt::Vector u = p1 - p0, v = q1 - q0, w = p0 - q0;
  const KtReal uu = u.dot(u), uv = u.dot(v), vv = v.dot(v), uw = u.dot(w), vw = v.dot(w);
  const KtReal scale = std::max({uu, vv, 1e-300});
  KtSegmentDistance result;
  if (uu <= kNegligible * scale && vv <= kNegligible * scale) {
    // Both are points.
  } else if (uu <= kNegligible * scale) {
    result.t = clampUnit(vw / vv);
  } else if (vv <= kNegligible * scale) {
    result.s = clampUnit(-uw / uu);
  } else {
    const KtReal determinant = uu * vv - uv * uv;
    result.s = determinant > kNegligible * uu * vv ? clampUnit((uv * vw - vv * uw) / determinant) : 0.0;
    const KtReal t = (uv * result.s + vw) / vv;
    if (t < 0.0) {
      result.s = clampUnit(-uw / uu);
    } else if (t > 1.0) {
      result.t = 1.0;
      result.s = clampUnit((uv - uw) / uu);
    } else {
      result.t = t;
    }
  }
  result.onFirst = p0 + u * result.s;
  result.onSecond = q0 + v * result.t;
  result.distance = result.onFirst.distanceTo(result.onSecond);
  return result;
}

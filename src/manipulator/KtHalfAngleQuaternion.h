#pragma once

#include <cmath>

#include "foundation/Types.h"
#include "math/Orientation.h"
#include "math/SinCos.h"

// The unit quaternions of the two-rotation products Rz(q)·Rx(alpha) and Rx(alpha)·Rz(q),
// written directly from the cosines and sines of the two angles instead of multiplying two
// quaternions.
//
// Each half-angle pair (cos x/2, sin x/2) is, up to a common factor, (1, tan x/2) or
// (cot x/2, 1). With tan x/2 = sin x / (1 + cos x) and cot x/2 = sin x / (1 - cos x), the
// form whose denominator is the larger (cos x > 0: 1 + cos x, else 1 - cos x) never divides
// by a small number, so the result stays accurate up to and at x = ±pi. The common factors
// of both angles combine into one square root, sqrt((1 ± cos q)(1 ± cos alpha)) / 2. Taking
// the cotangent form flips the sign of the whole quaternion at most, which is the same
// rotation.
struct KtHalfAngle {
  KtReal cosineHalf;  // cos x/2 and sin x/2 up to the common factor: 1 and tan x/2, or
  KtReal sineHalf;    // cot x/2 and 1
  KtReal base;        // 1 + cos x or 1 - cos x

  // Either denominator is 1 + |cos x|; the form is selected without a jump, since joint
  // angles change sign unpredictably.
  static KtHalfAngle of(KtReal cosine, KtReal sine) {
    const KtReal base = 1.0 + std::fabs(cosine);
    const KtReal ratio = sine / base;
    const bool cosineForm = cosine > 0.0;
    return {Kt::selectIf(cosineForm, 1.0, ratio), Kt::selectIf(cosineForm, ratio, 1.0), base};
  }
};

// Rz(q)·Rx(alpha) when zFirst (the classic convention), Rx(alpha)·Rz(q) otherwise.
inline Kt::Orientation ktHalfAngleQuaternion(const KtHalfAngle& joint, const KtHalfAngle& twist,
                                             bool zFirst) {
  const KtReal scale = 0.5 * std::sqrt(joint.base * twist.base);
  const KtReal cq = joint.cosineHalf * scale, sq = joint.sineHalf * scale;
  const KtReal ca = twist.cosineHalf, sa = twist.sineHalf;
  const KtReal y = sq * sa;
  return Kt::Orientation(cq * ca, cq * sa, zFirst ? y : -y, sq * ca);
}

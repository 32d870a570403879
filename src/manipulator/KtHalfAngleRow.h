#pragma once

#include "foundation/Types.h"

// A rotational joint in the classic or the modified D-H convention, as the frame sweep composes
// it from the sine and cosine of half the joint value: the joint turns about z by q and the
// twist about x by alpha, in the row's order, and the offsets (a along x, d along z) lie in
// the frame between the two turns (classic: Rz(q)·Tz(d)·Tx(a)·Rx(alpha); modified:
// Rx(alpha)·Tx(a)·Rz(q)·Tz(d), where Tx(a) commutes with Rx(alpha)).
struct KtHalfAngleRow {
  bool classic = false;
  KtReal a = 0.0;
  KtReal d = 0.0;
  KtReal cosAlpha = 1.0;
  KtReal sinAlpha = 0.0;
  // The joint's quaternion r as four lane-wise factors: with (ch, sh) the cosine
  // and sine of half the joint value, the parent's quaternion p = (w, x, y, z) turns into
  //   p·r = (ch·f[0])∘p + (ch·f[1])∘(x, w, z, y) + (sh·f[2])∘(y, z, w, x) + (sh·f[3])∘(z, y, x, w),
  // where ∘ multiplies lane by lane. The factors hold the half twist's cosine or sine with the
  // signs of the quaternion product.
  KtReal quaternionFactors[4][4] = {{1, 1, 1, 1}, {0, 0, 0, 0}, {0, 0, 0, 0}, {-1, 1, -1, 1}};

  // The row with the twist's cosine and sine and those of its half, (ca, sa).
  static KtHalfAngleRow of(bool classic, KtReal a, KtReal d, KtReal cosAlpha, KtReal sinAlpha, KtReal ca,
                           KtReal sa) {
    // Classic rows turn by Rz(q)·Rx(alpha) = (ch·ca, ch·sa, sh·sa, sh·ca), modified ones by
    // Rx(alpha)·Rz(q) = (ch·ca, ch·sa, -sh·sa, sh·ca); p times a unit x, y or z quaternion is
    // (-x, w, z, -y), (-y, -z, w, x) or (-z, y, -x, w) in p's lanes.
    const KtReal ya = classic ? sa : -sa;
    KtHalfAngleRow row;
    row.classic = classic;
    row.a = a;
    row.d = d;
    row.cosAlpha = cosAlpha;
    row.sinAlpha = sinAlpha;
    const KtReal factors[4][4] = {
        {ca, ca, ca, ca}, {-sa, sa, sa, -sa}, {-ya, -ya, ya, ya}, {-ca, ca, -ca, ca}};
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) row.quaternionFactors[i][j] = factors[i][j];
    return row;
  }
};

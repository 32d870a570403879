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
  KtReal cosHalfAlpha = 1.0;
  KtReal sinHalfAlpha = 0.0;
};

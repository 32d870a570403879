#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "foundation/Types.h"

// The gain a motion filter applies over one step of length dt: the nominal gain, lowered
// to 1/dt when gain·dt exceeds 1, so that one step never more than closes the error.
inline KtReal ktEffectiveGain(KtReal gain, KtReal dt) { return gain / std::max(gain * dt, 1.0); }

// The point filter's law on the N entries of any indexed vector type: the error times the
// effective gain, shortened to the threshold's length when longer, plus the feed-forward.
// The feed-forward is added after the limit, so that only the correction is bounded. Gives the
// factor that shortened the correction (1 when it was not longer).
template <std::size_t N, typename V>
KtReal ktFilterPointError(KtReal gain, KtReal threshold, const V& actual, const V& desired,
                          const V& feedForward, KtReal dt, V& commanded) {
  const KtReal effectiveGain = ktEffectiveGain(gain, dt);
  // Built apart from the output, which may share its storage with an input.
  V correction = actual;
  KtReal speedSquared = 0.0;
  for (std::size_t i = 0; i < N; ++i) {
    correction[i] = effectiveGain * (desired[i] - actual[i]);
    speedSquared += correction[i] * correction[i];
  }
  const KtReal limitSquared = threshold * threshold;
  const KtReal scale = speedSquared > limitSquared ? std::sqrt(limitSquared / speedSquared) : 1.0;
  for (std::size_t i = 0; i < N; ++i) commanded[i] = correction[i] * scale + feedForward[i];
  return scale;
}

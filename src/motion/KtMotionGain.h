#pragma once

#include <algorithm>

#include "foundation/Types.h"

// The gain a motion filter applies over one step of length dt: the nominal gain, lowered
// to 1/dt when gain·dt exceeds 1, so that one step never more than closes the error.
inline KtReal ktEffectiveGain(KtReal gain, KtReal dt) { return gain / std::max(gain * dt, 1.0); }

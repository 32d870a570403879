#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "foundation/Types.h"

namespace Kt {

// The sine and cosine of x together, within one and a half units in the last place for
// angles of a few turns and three up to the fallback bound below.
//
// x is reduced to r in [-pi/4, pi/4] with x = r + k·pi/2, subtracting k·pi/2 in three parts
// whose leading two have short mantissas so that their products with k are exact; the
// series of sin r and cos r are then summed to the term below the last bit, and the quadrant
// k mod 4 swaps and negates them. No step branches on x except the fallback to the C library
// for |x| beyond the range in which the reduction is exact (about 1.6 million), which
// joint values never reach, and for infinities and NaN.
inline constexpr KtReal kSinCosReducibleBound = 1.0e6;

// The branch-free part of sinCos below, for |x| <= kSinCosReducibleBound only, of one value or
// of each lane of a vector: Real is KtReal or a vector of them, Bits the unsigned 64-bit integer
// of the same shape. (The builtin bit cast, unlike std::bit_cast, is no call that would return
// a vector by value.)
template <typename Real, typename Bits>
[[gnu::always_inline]] inline void sinCosReducibleLanes(const Real& x, Real& sine, Real& cosine) {
  constexpr KtReal kTwoOverPi = 0x1.45f306dc9c883p-1;
  constexpr KtReal kHalfPi1 = 0x1.921fb54400000p+0;   // 33 significant bits
  constexpr KtReal kHalfPi2 = 0x1.0b4611a600000p-34;  // the next 33 bits
  constexpr KtReal kHalfPi3 = 0x1.3198a2e037073p-69;  // the rest, rounded
  // Adding and removing 1.5·2^52 rounds to the nearest integer and leaves it in the low bits.
  constexpr KtReal kRoundingShift = 0x1.8p52;
  const Real shifted = x * kTwoOverPi + kRoundingShift;
  const Bits quadrant = __builtin_bit_cast(Bits, shifted);
  const Real k = shifted - kRoundingShift;
  const Real r = ((x - k * kHalfPi1) - k * kHalfPi2) - k * kHalfPi3;

  // Taylor series: the first omitted terms, r^19/19! and r^18/18! at r = pi/4, lie below
  // 2^-60. Their tails are summed by Estrin's scheme, in independent pairs, which keeps the
  // chain of dependent operations short. The coefficients are the series' ±1/n!.
  constexpr KtReal s3 = -1.0 / 6, s5 = 1.0 / 120, s7 = -1.0 / 5040, s9 = 1.0 / 362880, s11 = -1.0 / 39916800,
                   s13 = 1.0 / 6227020800, s15 = -1.0 / 1307674368000, s17 = 1.0 / 355687428096000;
  constexpr KtReal c4 = 1.0 / 24, c6 = -1.0 / 720, c8 = 1.0 / 40320, c10 = -1.0 / 3628800,
                   c12 = 1.0 / 479001600, c14 = -1.0 / 87178291200, c16 = 1.0 / 20922789888000,
                   c18 = -1.0 / 6402373705728000;
  const Real r2 = r * r;
  const Real r4 = r2 * r2;
  const Real r8 = r4 * r4;
  const Real sineTail =
      (s3 + r2 * s5) + r4 * (s7 + r2 * s9) + r8 * ((s11 + r2 * s13) + r4 * (s15 + r2 * s17));
  const Real cosineTail =
      (c4 + r2 * c6) + r4 * (c8 + r2 * c10) + r8 * ((c12 + r2 * c14) + r4 * (c16 + r2 * c18));
  const Real sineR = r + r * r2 * sineTail;
  // 1 - r²/2 loses the low bits of r²/2; they are added back with the tail.
  const Real halfR2 = 0.5 * r2;
  const Real leading = 1.0 - halfR2;
  const Real cosineR = leading + (((1.0 - leading) - halfR2) + r4 * cosineTail);

  // Quadrant q: sin x = (sin r, cos r, -sin r, -cos r)[q], cos x = (cos r, -sin r, -cos r, sin r)[q],
  // chosen through a mask rather than a jump: joint angles change quadrant unpredictably, and a
  // mispredicted branch costs more than both values.
  const Bits odd = Bits{} - (quadrant & 1);
  const Bits sineBits = __builtin_bit_cast(Bits, sineR), cosineBits = __builtin_bit_cast(Bits, cosineR);
  const Bits sineSign = (quadrant & 2) << 62;
  const Bits cosineSign = ((quadrant + 1) & 2) << 62;
  sine = __builtin_bit_cast(Real, ((cosineBits & odd) | (sineBits & ~odd)) ^ sineSign);
  cosine = __builtin_bit_cast(Real, ((sineBits & odd) | (cosineBits & ~odd)) ^ cosineSign);
}

inline void sinCosReducible(KtReal x, KtReal& sine, KtReal& cosine) {
  sinCosReducibleLanes<KtReal, std::uint64_t>(x, sine, cosine);
}

inline void sinCos(KtReal x, KtReal& sine, KtReal& cosine) {
  if (!(std::fabs(x) <= kSinCosReducibleBound)) {
    sine = std::sin(x);
    cosine = std::cos(x);
    return;
  }
  sinCosReducible(x, sine, cosine);
}

// Takes again through sinCos those of count arguments that lie outside the reducible range,
// whose branch-free results do not hold.
inline void sinCosRedoOutside(const KtReal* x, KtReal* sine, KtReal* cosine, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (!(std::fabs(x[i]) <= kSinCosReducibleBound)) sinCos(x[i], sine[i], cosine[i]);
  }
}

// sinCos of count arguments, with exactly the same results. All of them go through the
// branch-free part, which the compiler vectorises, while the arguments outside the reducible
// range are noted on the way (without a jump) and then done again by sinCos.
inline void sinCosMany(const KtReal* __restrict x, KtReal* __restrict sine, KtReal* __restrict cosine,
                       std::size_t count) {
  std::uint64_t outside = 0;
  for (std::size_t i = 0; i < count; ++i) {
    // Non-negative doubles, NaN included, order like their bit patterns: the difference of the
    // patterns has its top bit set exactly when |x| is beyond the bound or NaN.
    outside |=
        std::bit_cast<std::uint64_t>(kSinCosReducibleBound) - std::bit_cast<std::uint64_t>(std::fabs(x[i]));
    sinCosReducible(x[i], sine[i], cosine[i]);
  }
  if ((outside >> 63) != 0) sinCosRedoOutside(x, sine, cosine, count);
}

}  // namespace Kt

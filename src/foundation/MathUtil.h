#pragma once

#include <cmath>
#include <limits>
#include <numbers>

// The smallest positive normal double: what a non-positive divisor is raised to.
inline constexpr double ktSmallestPositive = std::numeric_limits<double>::min();

// Arc cosine whose argument is first clamped to [-1, 1], so that rounding just outside
// the range gives 0 or pi instead of NaN.
inline double ktClampedAcos(double value) {
  if (value >= 1.0) return 0.0;
  if (value <= -1.0) return std::numbers::pi;
  return std::acos(value);
}

// Replaces a value that is not positive (or NaN) by the smallest positive double, so that
// dividing by it never divides by zero or flips a sign.
inline double ktGuardPositive(double value) { return value > 0.0 ? value : ktSmallestPositive; }

// Whether every value of a range is finite (no NaN, no infinity).
template <typename Range>
bool ktAllFinite(const Range& values) {
  for (double value : values)
    if (!std::isfinite(value)) return false;
  return true;
}

#include "math/Vector.h"

#include <cstdint>

namespace Kt {

constinit const Vector Vector::m_theZeroVector;

namespace {

// Uniform value in [-1, 1) from a per-thread splitmix64 sequence: no heap, no locking, and the
// same sequence on every run.
double nextSignedUnit() {
  thread_local std::uint64_t state = 0x2545F4914F6CDD1Dull;
  std::uint64_t bits = (state += 0x9E3779B97F4A7C15ull);
  bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9ull;
  bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBull;
  bits ^= bits >> 31;
  const double unit = static_cast<double>(bits >> 11) * 0x1.0p-53;  // [0, 1)
  return 2.0 * unit - 1.0;
}

}  // namespace

void Vector::perturb(double amount) {
  for (KtReal& component : components_) component += amount * nextSignedUnit();
}

void Vector::computeDirectionalVector(const Vector& target, double length, Vector& out) const {
  const Vector difference = target - *this;
  const KtReal distance = difference.mag();
  if (distance > 0.0) {
    out = difference * (length / distance);
  } else {
    out.setToZero();
  }
}

}  // namespace Kt

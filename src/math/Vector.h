#pragma once

#include <cassert>
#include <cmath>
#include <cstddef>

#include "foundation/Export.h"
#include "foundation/Types.h"

namespace Kt {

// A 3-vector of doubles (x, y, z): points, directions, axes and angular rates. A plain value
// type; everything small is inline so that kinematics loops in other libraries can inline it.
class KT_EXPORT Vector {
 public:
  constexpr Vector() : components_{0.0, 0.0, 0.0} {}
  constexpr Vector(KtReal x, KtReal y, KtReal z) : components_{x, y, z} {}
  constexpr Vector(const Vector&) = default;
  constexpr Vector& operator=(const Vector&) = default;

  KtReal x() const { return components_[0]; }
  KtReal y() const { return components_[1]; }
  KtReal z() const { return components_[2]; }
  KtReal operator[](std::size_t index) const {
    assert(index < 3);
    return components_[index];
  }
  KtReal& operator[](std::size_t index) {
    assert(index < 3);
    return components_[index];
  }

  void set(KtReal x, KtReal y, KtReal z) {
    components_[0] = x;
    components_[1] = y;
    components_[2] = z;
  }
  void setX(KtReal x) { components_[0] = x; }
  void setY(KtReal y) { components_[1] = y; }
  void setZ(KtReal z) { components_[2] = z; }
  void setToZero() { set(0.0, 0.0, 0.0); }

  Vector& operator+=(const Vector& other) {
    set(x() + other.x(), y() + other.y(), z() + other.z());
    return *this;
  }
  Vector& operator-=(const Vector& other) {
    set(x() - other.x(), y() - other.y(), z() - other.z());
    return *this;
  }
  Vector& operator*=(KtReal scale) {
    set(x() * scale, y() * scale, z() * scale);
    return *this;
  }
  Vector operator+(const Vector& other) const {
    return Vector(x() + other.x(), y() + other.y(), z() + other.z());
  }
  Vector operator-(const Vector& other) const {
    return Vector(x() - other.x(), y() - other.y(), z() - other.z());
  }
  Vector operator-() const { return Vector(-x(), -y(), -z()); }
  Vector operator*(KtReal scale) const { return Vector(x() * scale, y() * scale, z() * scale); }
  Vector operator/(KtReal divisor) const { return Vector(x() / divisor, y() / divisor, z() / divisor); }
  // Exact comparison of all three components.
  bool operator==(const Vector& other) const {
    return x() == other.x() && y() == other.y() && z() == other.z();
  }

  KtReal dot(const Vector& other) const { return x() * other.x() + y() * other.y() + z() * other.z(); }
  Vector cross(const Vector& other) const {
    return Vector(y() * other.z() - z() * other.y(), z() * other.x() - x() * other.z(),
                  x() * other.y() - y() * other.x());
  }
  // out may be this vector or other.
  void cross(const Vector& other, Vector& out) const { out = cross(other); }
  KtReal magSquared() const { return dot(*this); }
  KtReal mag() const { return std::sqrt(magSquared()); }
  KtReal distanceSquaredTo(const Vector& other) const { return (*this - other).magSquared(); }
  KtReal distanceTo(const Vector& other) const { return std::sqrt(distanceSquaredTo(other)); }
  // Product of the three components.
  KtReal prod() const { return x() * y() * z(); }

  // Scales to unit length; a zero vector is left as it is.
  void normalize() {
    const KtReal length = mag();
    if (length > 0.0) set(x() / length, y() / length, z() / length);
  }
  Vector unitVector() const {
    Vector unit(*this);
    unit.normalize();
    return unit;
  }

  // The x components are compared first, so that most unequal vectors are rejected cheaply.
  bool approxEq(const Vector& other, KtReal tolerance) const {
    if (std::fabs(x() - other.x()) > tolerance) return false;
    return distanceSquaredTo(other) <= tolerance * tolerance;
  }

  // Adds to each component its own pseudo-random offset, uniform in [-amount, amount]; used to move
  // points off degenerate configurations. The sequence is per thread and fixed, so runs repeat.
  void perturb(double amount);
  // Treating this vector as a point, sets out to the vector of the given length that points from it
  // toward target: length times the gradient of the distance to target. Zero when the points coincide.
  void computeDirectionalVector(const Vector& target, double length, Vector& out) const;

  static const Vector& zeroVector() { return m_theZeroVector; }
  static Vector xVector(KtReal length = 1.0) { return Vector(length, 0.0, 0.0); }
  static Vector yVector(KtReal length = 1.0) { return Vector(0.0, length, 0.0); }
  static Vector zVector(KtReal length = 1.0) { return Vector(0.0, 0.0, length); }

 private:
  static const Vector m_theZeroVector;

  KtReal components_[3];
};

inline Vector operator*(KtReal scale, const Vector& vector) { return vector * scale; }

}  // namespace Kt

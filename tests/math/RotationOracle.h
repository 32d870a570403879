#pragma once

#include <array>
#include <cmath>
#include <numbers>

#include "math/Orientation.h"
#include "support/Random.h"

// Rotation matrices built without Kt::Orientation (Rodrigues' rotation formula), against which
// the quaternion and transformation code is checked.
namespace rotation_oracle {

using Matrix3 = std::array<std::array<double, 3>, 3>;

inline Matrix3 fromAngleAxis(double angle, const Kt::Vector& n) {  // n of unit length
  const double c = std::cos(angle), s = std::sin(angle), t = 1 - c;
  return {{{c + n.x() * n.x() * t, n.x() * n.y() * t - n.z() * s, n.x() * n.z() * t + n.y() * s},
           {n.y() * n.x() * t + n.z() * s, c + n.y() * n.y() * t, n.y() * n.z() * t - n.x() * s},
           {n.z() * n.x() * t - n.y() * s, n.z() * n.y() * t + n.x() * s, c + n.z() * n.z() * t}}};
}

inline Matrix3 multiply(const Matrix3& a, const Matrix3& b) {
  Matrix3 r{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
  return r;
}

inline Kt::Vector row(const Matrix3& m, int i) { return Kt::Vector(m[i][0], m[i][1], m[i][2]); }
inline Kt::Vector apply(const Matrix3& m, const Kt::Vector& v) {
  return Kt::Vector(row(m, 0).dot(v), row(m, 1).dot(v), row(m, 2).dot(v));
}

inline double maxDifference(const Matrix3& a, const Matrix3& b) {
  double worst = 0.0;
  for (int i = 0; i < 3; ++i) worst = std::fmax(worst, (row(a, i) - row(b, i)).mag());
  return worst;
}

inline Matrix3 rows(const Kt::Orientation& q) {
  Kt::Vector r[3];
  q.getDcmRows(r[0], r[1], r[2]);
  return {{{r[0].x(), r[0].y(), r[0].z()}, {r[1].x(), r[1].y(), r[1].z()}, {r[2].x(), r[2].y(), r[2].z()}}};
}

inline Kt::Vector randomVector(TestRandom& rng, double scale = 1.0) {
  return Kt::Vector(rng.uniform(-scale, scale), rng.uniform(-scale, scale), rng.uniform(-scale, scale));
}

// One rotation known three ways; the quaternion is made from its components, not by the
// angle-axis code under test.
struct Rotation {
  double angle;
  Kt::Vector axis;
  Kt::Orientation q;
  Matrix3 matrix;
};

inline Rotation randomRotation(TestRandom& rng, double maxAngle = std::numbers::pi) {
  const double angle = rng.uniform(0.0, maxAngle);
  const Kt::Vector axis = (randomVector(rng) + Kt::Vector(0.0, 0.0, 1e-3)).unitVector();
  const Kt::Vector part = axis * std::sin(angle / 2);
  return {angle, axis, Kt::Orientation(std::cos(angle / 2), part.x(), part.y(), part.z()),
          fromAngleAxis(angle, axis)};
}

}  // namespace rotation_oracle

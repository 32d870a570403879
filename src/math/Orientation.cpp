#include "math/Orientation.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"

namespace Kt {

constinit const Orientation Orientation::m_theIdentity;

namespace {

// atan2 that stays 0 when both arguments are zero (atan2(0, -0) would be pi).
KtReal atan2UnlessBothZero(KtReal y, KtReal x) { return (y == 0.0 && x == 0.0) ? 0.0 : std::atan2(y, x); }

void writeQuaternion(const Orientation& q, std::vector<KtReal>& out) {
  if (out.size() < 4) out.resize(4, 0.0);
  for (std::size_t i = 0; i < 4; ++i) out[i] = q[i];
}

void transpose(Vector& a, Vector& b, Vector& c) {
  const Vector first(a.x(), b.x(), c.x());
  const Vector second(a.y(), b.y(), c.y());
  const Vector third(a.z(), b.z(), c.z());
  a = first;
  b = second;
  c = third;
}

}  // namespace

void Orientation::normalizeOutsideBand(KtReal squaredNorm) {
  // Squares that underflow (all zero or subnormal) or overflow would give a wrong norm: rescale
  // by the largest magnitude first. NaN components are left to propagate.
  if (squaredNorm < std::numeric_limits<KtReal>::min() || std::isinf(squaredNorm)) {
    KtReal largest = 0.0;
    for (KtReal component : components_) largest = std::max(largest, std::fabs(component));
    if (largest == 0.0) {
      store(1.0, 0.0, 0.0, 0.0);
      return;
    }
    if (std::isfinite(largest)) {
      // Dividing (rather than multiplying by the reciprocal, which overflows for a subnormal
      // largest) makes the largest magnitude exactly one, so the squares can neither
      // overflow nor all underflow.
      store(w() / largest, x() / largest, y() / largest, z() / largest);
      squaredNorm = magSquared();
      if (withinBand(squaredNorm)) return;
    }
  }
  const KtReal norm = std::sqrt(squaredNorm);
  store(w() / norm, x() / norm, y() / norm, z() / norm);
}

void Orientation::set(const std::vector<KtReal>& components) {
  KtReal values[4] = {0.0, 0.0, 0.0, 0.0};
  std::copy_n(components.begin(), std::min<std::size_t>(components.size(), 4), values);
  set(values[0], values[1], values[2], values[3]);
}

void Orientation::interpolation(const Orientation& a, const Orientation& b, KtReal s) {
  if (a == b) {
    *this = a;
    return;
  }
  const Orientation start = a;  // a may be this object
  KtReal angle = 0.0;
  Vector axis;
  start.angleAxisBetween(b, angle, axis);
  const KtReal half = 0.5 * s * angle;
  const Vector part = axis * std::sin(half);
  *this = Orientation(std::cos(half), part.x(), part.y(), part.z(), Unnormalized{}) * start;
}

bool Orientation::angleAxisBetween(const Orientation& other, KtReal& angle, Vector& axis) const {
  if (*this == other) {
    angle = 0.0;
    axis = Vector::xVector();
    return true;
  }
  // The rotation other·this⁻¹, flipped onto the shorter arc.
  const Vector mine(x(), y(), z());
  const Vector theirs(other.x(), other.y(), other.z());
  KtReal c = w() * other.w() + mine.dot(theirs);
  Vector u = theirs * w() - mine * other.w() - theirs.cross(mine);
  if (c < 0.0) {
    c = -c;
    u *= -1.0;
  }
  angle = 2.0 * ktClampedAcos(c);
  const KtReal s = std::sin(0.5 * angle);
  if (s > 0.0) u = u / s;
  if (u.mag() > 0.0) {
    u.normalize();
  } else {
    u.setX(1.0);
  }
  axis = u;
  return true;
}

void Orientation::setFromAngleAxis(KtReal angle, const Vector& axis) {
  const Vector part = axis * std::sin(0.5 * angle);
  set(std::cos(0.5 * angle), part.x(), part.y(), part.z());
}

void Orientation::getAngleAxis(KtReal& angle, Vector& axis) const {
  const KtReal sign = w() < 0.0 ? -1.0 : 1.0;
  const Vector part(x(), y(), z());
  const KtReal s = part.mag();
  angle = 2.0 * std::atan2(s, sign * w());
  axis = part * (sign / ktGuardPositive(s));
}

void Orientation::setFromRodriguesVector(const Vector& gibbs) {
  const KtReal scalar = std::sqrt(1.0 / (gibbs.magSquared() + 1.0));
  const Vector part = gibbs * scalar;
  set(scalar, part.x(), part.y(), part.z());
}

void Orientation::getRodriguesVector(Vector& gibbs) const {
  // The divisor is guarded as it stands: a w that is not positive (a half turn, or the
  // negated form of a rotation) is raised to the smallest positive value.
  gibbs = Vector(x(), y(), z()) / ktGuardPositive(w());
}

void Orientation::setFromDcmRows(const Vector& row0, const Vector& row1, const Vector& row2) {
  const KtReal r00 = row0.x(), r01 = row0.y(), r02 = row0.z();
  const KtReal r10 = row1.x(), r11 = row1.y(), r12 = row1.z();
  const KtReal r20 = row2.x(), r21 = row2.y(), r22 = row2.z();
  // 4·(component)² for w, x, y, z; the largest gives the best-conditioned square root.
  const KtReal fourSquared[4] = {1.0 + r00 + r11 + r22, 1.0 + r00 - r11 - r22, 1.0 - r00 + r11 - r22,
                                 1.0 - r00 - r11 + r22};
  std::size_t pivot = 0;
  for (std::size_t i = 1; i < 4; ++i) {
    if (fourSquared[i] >= fourSquared[pivot]) pivot = i;
  }
  const KtReal largest = 0.5 * std::sqrt(fourSquared[pivot]);
  const KtReal divisor = 4.0 * largest;
  switch (pivot) {
    case 0:
      set(largest, (r21 - r12) / divisor, (r02 - r20) / divisor, (r10 - r01) / divisor);
      break;
    case 1:
      set((r21 - r12) / divisor, largest, (r01 + r10) / divisor, (r02 + r20) / divisor);
      break;
    case 2:
      set((r02 - r20) / divisor, (r01 + r10) / divisor, largest, (r12 + r21) / divisor);
      break;
    default:
      set((r10 - r01) / divisor, (r02 + r20) / divisor, (r12 + r21) / divisor, largest);
      break;
  }
}

void Orientation::setFromDcmColumns(const Vector& column0, const Vector& column1, const Vector& column2) {
  Vector row0 = column0, row1 = column1, row2 = column2;
  transpose(row0, row1, row2);
  setFromDcmRows(row0, row1, row2);
}

void Orientation::getDcmRows(Vector& row0, Vector& row1, Vector& row2) const {
  getDcmColumns(row0, row1, row2);
  transpose(row0, row1, row2);
}

void Orientation::getDcmColumns(Vector& column0, Vector& column1, Vector& column2) const {
  column0 = xAxis();
  column1 = yAxis();
  column2 = zAxis();
}

Vector Orientation::xAxis() const {
  return Vector(1.0 - 2.0 * (y() * y() + z() * z()), 2.0 * (x() * y() + w() * z()),
                2.0 * (x() * z() - w() * y()));
}

Vector Orientation::yAxis() const {
  return Vector(2.0 * (x() * y() - w() * z()), 1.0 - 2.0 * (x() * x() + z() * z()),
                2.0 * (y() * z() + w() * x()));
}

Vector Orientation::zAxis() const {
  return Vector(2.0 * (x() * z() + w() * y()), 2.0 * (y() * z() - w() * x()),
                1.0 - 2.0 * (x() * x() + y() * y()));
}

void Orientation::setFrom321Euler(KtReal a1, KtReal a2, KtReal a3) {
  const KtReal c1 = std::cos(0.5 * a1), s1 = std::sin(0.5 * a1);
  const KtReal c2 = std::cos(0.5 * a2), s2 = std::sin(0.5 * a2);
  const KtReal c3 = std::cos(0.5 * a3), s3 = std::sin(0.5 * a3);
  set(c1 * c2 * c3 + s1 * s2 * s3, c1 * c2 * s3 - s1 * s2 * c3, c1 * s2 * c3 + s1 * c2 * s3,
      s1 * c2 * c3 - c1 * s2 * s3);
}

void Orientation::get321Euler(KtReal& a1, KtReal& a2, KtReal& a3) const {
  a1 = a2 = a3 = 0.0;
  Vector row0, row1, row2;
  getDcmRows(row0, row1, row2);
  // Rounding can push |R20| a hair above one; that is still the gimbal lock.
  const KtReal c = std::sqrt(std::max(0.0, 1.0 - row2.x() * row2.x()));
  a2 = std::atan2(-row2.x(), c);
  if (c == 0.0) {
    // With a2 = ±pi/2, R = yRotation(a2)·xRotation(a3) has row 1 = (0, cos a3, -sin a3).
    a3 = atan2UnlessBothZero(-row1.z(), row1.y());
    return;
  }
  a3 = atan2UnlessBothZero(row2.y() / c, row2.z() / c);
  a1 = atan2UnlessBothZero(row1.x() / c, row0.x() / c);
}

void Orientation::setFrom123Euler(KtReal a1, KtReal a2, KtReal a3) {
  setFrom321Euler(-a3, -a2, -a1);
  *this = inverse();
}

void Orientation::get123Euler(KtReal& a1, KtReal& a2, KtReal& a3) const {
  inverse().get321Euler(a3, a2, a1);
  a1 = -a1;
  a2 = -a2;
  a3 = -a3;
}

void Orientation::setFrom231Euler(KtReal a1, KtReal a2, KtReal a3) {
  *this = yRotation(a1) * zRotation(a2) * xRotation(a3);
}

Orientation Orientation::combination(KtReal a, const Orientation& p, KtReal b, const Orientation& q) {
  return Orientation(a * p.w() + b * q.w(), a * p.x() + b * q.x(), a * p.y() + b * q.y(),
                     a * p.z() + b * q.z(), Unnormalized{});
}

Orientation Orientation::halfProduct(const Vector& v, Frame frame) const {
  const Orientation half = pure(v * 0.5);
  return frame == Frame::local ? hamilton(*this, half) : hamilton(half, *this);
}

void Orientation::integrateAngularVelocity(const Vector& angularVelocity, KtReal dt, Frame frame) {
  *this = combination(1.0, *this, dt, halfProduct(angularVelocity, frame));
  normalize();
}

void Orientation::integrateLocalFrameAngularVelocity(const Vector& angularVelocity, KtReal dt) {
  integrateAngularVelocity(angularVelocity, dt, Frame::local);
}

void Orientation::integrateReferenceFrameAngularVelocity(const Vector& angularVelocity, KtReal dt) {
  integrateAngularVelocity(angularVelocity, dt, Frame::reference);
}

void Orientation::quaternionRateFromLocalFrameAngularVelocity(const Vector& angularVelocity,
                                                              std::vector<KtReal>& rate) const {
  writeQuaternion(halfProduct(angularVelocity, Frame::local), rate);
}

void Orientation::quaternionRateFromReferenceFrameAngularVelocity(const Vector& angularVelocity,
                                                                  std::vector<KtReal>& rate) const {
  writeQuaternion(halfProduct(angularVelocity, Frame::reference), rate);
}

void Orientation::quaternionAcceleration(const Vector& angularVelocity, const Vector& angularAcceleration,
                                         Frame frame, std::vector<KtReal>& acceleration) const {
  writeQuaternion(
      combination(1.0, halfProduct(angularAcceleration, frame), -0.25 * angularVelocity.magSquared(), *this),
      acceleration);
}

void Orientation::quaternionAccelerationFromLocalFrameAngularMotion(const Vector& angularVelocity,
                                                                    const Vector& angularAcceleration,
                                                                    std::vector<KtReal>& acceleration) const {
  quaternionAcceleration(angularVelocity, angularAcceleration, Frame::local, acceleration);
}

void Orientation::quaternionAccelerationFromReferenceFrameAngularMotion(
    const Vector& angularVelocity, const Vector& angularAcceleration,
    std::vector<KtReal>& acceleration) const {
  quaternionAcceleration(angularVelocity, angularAcceleration, Frame::reference, acceleration);
}

bool Orientation::angularVelocityFromQuaternionRate(const std::vector<KtReal>& rate, Vector& angularVelocity,
                                                    Frame frame, const char* operation) const {
  if (rate.size() < 4) {
    ktPrint(KtSeverity::Error, "Orientation::%s(): the rate has %zu components, 4 are needed\n", operation,
            rate.size());
    return false;
  }
  // (0, ω) = 2·q⁻¹·rate in the local frame and 2·rate·q⁻¹ in the reference frame.
  const Orientation given(rate[0], rate[1], rate[2], rate[3], Unnormalized{});
  const Orientation conjugate(w(), -x(), -y(), -z(), Unnormalized{});
  const Orientation product = frame == Frame::local ? hamilton(conjugate, given) : hamilton(given, conjugate);
  angularVelocity.set(2.0 * product.x(), 2.0 * product.y(), 2.0 * product.z());
  return true;
}

bool Orientation::localFrameAngularVelocityFromQuaternionRate(const std::vector<KtReal>& rate,
                                                              Vector& angularVelocity) const {
  return angularVelocityFromQuaternionRate(rate, angularVelocity, Frame::local,
                                           "localFrameAngularVelocityFromQuaternionRate");
}

bool Orientation::referenceFrameAngularVelocityFromQuaternionRate(const std::vector<KtReal>& rate,
                                                                  Vector& angularVelocity) const {
  return angularVelocityFromQuaternionRate(rate, angularVelocity, Frame::reference,
                                           "referenceFrameAngularVelocityFromQuaternionRate");
}

std::unique_ptr<Orientation> Orientation::clone() const { return std::make_unique<Orientation>(*this); }

Orientation Orientation::xRotation(KtReal angle) {
  return Orientation(std::cos(0.5 * angle), std::sin(0.5 * angle), 0.0, 0.0);
}

Orientation Orientation::yRotation(KtReal angle) {
  return Orientation(std::cos(0.5 * angle), 0.0, std::sin(0.5 * angle), 0.0);
}

Orientation Orientation::zRotation(KtReal angle) {
  return Orientation(std::cos(0.5 * angle), 0.0, 0.0, std::sin(0.5 * angle));
}

}  // namespace Kt

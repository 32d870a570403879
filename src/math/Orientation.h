#pragma once

#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

#include "foundation/Export.h"
#include "foundation/Types.h"
#include "math/Vector.h"

namespace Kt {

// A rotation held as a unit quaternion (w, x, y, z), scalar first; the default is the identity.
// Its direction-cosine matrix R has the rows
//   (1 - 2(y² + z²), 2(xy - wz),       2(xz + wy))
//   (2(xy + wz),     1 - 2(x² + z²),   2(yz - wx))
//   (2(xz - wy),     2(yz + wx),       1 - 2(x² + y²))
// and transforming a vector v gives R·v. Every operation that makes a new quaternion normalises
// it, but a squared norm already within 1e-12 of one is left untouched, so that repeated
// operations on a unit quaternion do not keep rescaling it. q and -q are the same rotation.
class KT_EXPORT Orientation {
 public:
  constexpr Orientation() : components_{1.0, 0.0, 0.0, 0.0} {}
  constexpr Orientation(const Orientation&) = default;
  constexpr Orientation& operator=(const Orientation&) = default;
  Orientation(KtReal w, KtReal x, KtReal y, KtReal z) : components_{w, x, y, z} { normalize(); }

  KtReal w() const { return components_[0]; }
  KtReal x() const { return components_[1]; }
  KtReal y() const { return components_[2]; }
  KtReal z() const { return components_[3]; }
  // 0 is w, 1..3 are x, y, z.
  KtReal operator[](std::size_t index) const {
    assert(index < 4);
    return components_[index];
  }

  void set(KtReal w, KtReal x, KtReal y, KtReal z) {
    store(w, x, y, z);
    normalize();
  }
  // Takes w, x, y, z from the first (up to) four entries; missing ones are 0, so an empty vector
  // gives the identity.
  void set(const std::vector<KtReal>& components);

  // Exact comparison of all four components (q and -q differ here; see approxEq).
  bool operator==(const Orientation& other) const {
    return w() == other.w() && x() == other.x() && y() == other.y() && z() == other.z();
  }
  // True when this is within tolerance of other or of -other (component distance).
  bool approxEq(const Orientation& other, KtReal tolerance) const {
    const KtReal limit = tolerance * tolerance;
    return squaredDistance(other, 1.0) <= limit || squaredDistance(other, -1.0) <= limit;
  }

  // Hamilton product, normalised: (p * q) rotates by q first, then by p.
  Orientation operator*(const Orientation& other) const {
    Orientation product = hamilton(*this, other);
    product.normalize();
    return product;
  }
  Orientation& operator*=(const Orientation& other) { return *this = *this * other; }

  // Rotates v to R·v, using v + w·t + (x, y, z) × t with t = 2 (x, y, z) × v, which equals
  // the matrix product above term by term.
  // Written on scalars: building Vector temporaries here made the compiler store and reload
  // overlapping halves of them, tripling the cost of this hottest of operations.
  Vector operator*(const Vector& v) const {
    const KtReal vx = v.x(), vy = v.y(), vz = v.z();
    const KtReal tx = 2.0 * (y() * vz - z() * vy);
    const KtReal ty = 2.0 * (z() * vx - x() * vz);
    const KtReal tz = 2.0 * (x() * vy - y() * vx);
    return Vector(vx + w() * tx + (y() * tz - z() * ty), vy + w() * ty + (z() * tx - x() * tz),
                  vz + w() * tz + (x() * ty - y() * tx));
  }
  void transform(Vector& v) const { v = *this * v; }
  void transform(const Vector& in, Vector& out) const { out = *this * in; }
  // Rotates two vectors; any output may be any input.
  void transform(const Vector& in1, Vector& out1, const Vector& in2, Vector& out2) const {
    const Vector rotated1 = *this * in1;
    out2 = *this * in2;
    out1 = rotated1;
  }

  // The conjugate, normalised.
  Orientation inverse() const { return Orientation(w(), -x(), -y(), -z()); }
  // Conjugates in place without normalising.
  void invert() { store(w(), -x(), -y(), -z()); }

  // Sets this to the rotation a fraction s of the way along the shorter arc from a to b (s is not
  // clamped, so it extrapolates). this may be a or b.
  void interpolation(const Orientation& a, const Orientation& b, KtReal s);
  // Angle in [0, pi] and unit axis of the shorter rotation that takes this to other
  // (other = rotation * this). Equal quaternions give angle 0 and axis (1, 0, 0). Always true.
  bool angleAxisBetween(const Orientation& other, KtReal& angle, Vector& axis) const;

  // The axis is used as given, not normalised.
  void setFromAngleAxis(KtReal angle, const Vector& axis);
  // Angle in [0, pi]; the identity gives a zero axis.
  void getAngleAxis(KtReal& angle, Vector& axis) const;
  // The Gibbs vector axis·tan(angle/2) = (x, y, z)/w. A non-positive w is first raised to the
  // smallest positive double, so only quaternions with w > 0 give a meaningful vector.
  void setFromRodriguesVector(const Vector& gibbs);
  void getRodriguesVector(Vector& gibbs) const;

  // From a rotation matrix by the numerically safest of the four component formulas.
  void setFromDcmRows(const Vector& row0, const Vector& row1, const Vector& row2);
  void setFromDcmColumns(const Vector& column0, const Vector& column1, const Vector& column2);
  void getDcmRows(Vector& row0, Vector& row1, Vector& row2) const;
  void getDcmColumns(Vector& column0, Vector& column1, Vector& column2) const;
  // The rotated coordinate axes: columns 0, 1 and 2 of R.
  Vector xAxis() const;
  Vector yAxis() const;
  Vector zAxis() const;

  // 3-2-1: zRotation(a1)·yRotation(a2)·xRotation(a3).
  void setFrom321Euler(KtReal a1, KtReal a2, KtReal a3);
  // a2 in [-pi/2, pi/2], a1 and a3 in (-pi, pi]. At a2 = ±pi/2 only one combination of a1 and a3
  // is defined; a1 is then 0 and a3 carries the whole rotation about the remaining axis.
  void get321Euler(KtReal& a1, KtReal& a2, KtReal& a3) const;
  // 1-2-3: xRotation(a1)·yRotation(a2)·zRotation(a3).
  void setFrom123Euler(KtReal a1, KtReal a2, KtReal a3);
  void get123Euler(KtReal& a1, KtReal& a2, KtReal& a3) const;
  // 2-3-1: yRotation(a1)·zRotation(a2)·xRotation(a3).
  void setFrom231Euler(KtReal a1, KtReal a2, KtReal a3);

  // One explicit Euler step of the quaternion kinematics followed by normalisation; the angular
  // velocity is given in the body (local) frame or in the reference frame.
  void integrateLocalFrameAngularVelocity(const Vector& angularVelocity, KtReal dt);
  void integrateReferenceFrameAngularVelocity(const Vector& angularVelocity, KtReal dt);

  // Quaternion rates and second derivatives as (w, x, y, z). An output shorter than four entries is
  // first grown to four; extra entries of a longer one are kept. With local-frame angular velocity
  // ω the rate is ½·q·(0, ω); with reference-frame ω it is ½·(0, ω)·q. The accelerations take
  // the angular acceleration α in the same frame as ω:
  //   local:     ½·q·(0, α) − ¼|ω|²·q        reference: ½·(0, α)·q − ¼|ω|²·q
  // (differentiating the rate once more; (0, ω)·(0, ω) = (−|ω|², 0)).
  void quaternionRateFromLocalFrameAngularVelocity(const Vector& angularVelocity,
                                                   std::vector<KtReal>& rate) const;
  void quaternionRateFromReferenceFrameAngularVelocity(const Vector& angularVelocity,
                                                       std::vector<KtReal>& rate) const;
  void quaternionAccelerationFromLocalFrameAngularMotion(const Vector& angularVelocity,
                                                         const Vector& angularAcceleration,
                                                         std::vector<KtReal>& acceleration) const;
  void quaternionAccelerationFromReferenceFrameAngularMotion(const Vector& angularVelocity,
                                                             const Vector& angularAcceleration,
                                                             std::vector<KtReal>& acceleration) const;
  // Inverses of the rate formulas. A rate with fewer than four entries is reported and leaves the
  // angular velocity unchanged (false).
  bool localFrameAngularVelocityFromQuaternionRate(const std::vector<KtReal>& rate,
                                                   Vector& angularVelocity) const;
  bool referenceFrameAngularVelocityFromQuaternionRate(const std::vector<KtReal>& rate,
                                                       Vector& angularVelocity) const;

  // A heap copy owned by the caller.
  std::unique_ptr<Orientation> clone() const;

  static const Orientation& identity() { return m_theIdentity; }
  static Orientation wQuaternion() { return Orientation(); }
  static Orientation xQuaternion() { return Orientation(0.0, 1.0, 0.0, 0.0, Unnormalized{}); }
  static Orientation yQuaternion() { return Orientation(0.0, 0.0, 1.0, 0.0, Unnormalized{}); }
  static Orientation zQuaternion() { return Orientation(0.0, 0.0, 0.0, 1.0, Unnormalized{}); }
  // Rotations by angle (radians) about one coordinate axis.
  static Orientation xRotation(KtReal angle);
  static Orientation yRotation(KtReal angle);
  static Orientation zRotation(KtReal angle);

  // Whether a squared norm lies in the band within which a quaternion counts as unit length and
  // every normalising operation leaves it as it is.
  static bool withinBand(KtReal squaredNorm) {
    return squaredNorm >= 0.999999999999 && squaredNorm <= 1.000000000001;
  }

 protected:
  KtReal magSquared() const { return w() * w() + x() * x() + y() * y() + z() * z(); }
  // Rescales to unit length unless the squared norm is already within 1e-12 of one. All zeros
  // (or components whose squares underflow) are handled without dividing by zero.
  void normalize() {
    const KtReal squaredNorm = magSquared();
    if (!withinBand(squaredNorm)) normalizeOutsideBand(squaredNorm);
  }

 private:
  enum class Frame { local, reference };
  struct Unnormalized {};

  constexpr Orientation(KtReal w, KtReal x, KtReal y, KtReal z, Unnormalized) : components_{w, x, y, z} {}
  void store(KtReal w, KtReal x, KtReal y, KtReal z) {
    components_[0] = w;
    components_[1] = x;
    components_[2] = y;
    components_[3] = z;
  }
  // Squared component distance between this and sign·other.
  KtReal squaredDistance(const Orientation& other, KtReal sign) const {
    KtReal sum = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
      const KtReal difference = components_[i] - sign * other.components_[i];
      sum += difference * difference;
    }
    return sum;
  }
  // The Hamilton product without normalisation, also for quaternions that are not rotations.
  static Orientation hamilton(const Orientation& p, const Orientation& q) {
    return Orientation(p.w() * q.w() - p.x() * q.x() - p.y() * q.y() - p.z() * q.z(),
                       p.w() * q.x() + p.x() * q.w() + p.y() * q.z() - p.z() * q.y(),
                       p.w() * q.y() - p.x() * q.z() + p.y() * q.w() + p.z() * q.x(),
                       p.w() * q.z() + p.x() * q.y() - p.y() * q.x() + p.z() * q.w(), Unnormalized{});
  }
  void normalizeOutsideBand(KtReal squaredNorm);

  // Unnormalised helpers of the angular-velocity kinematics.
  static Orientation pure(const Vector& v) { return Orientation(0.0, v.x(), v.y(), v.z(), Unnormalized{}); }
  static Orientation combination(KtReal a, const Orientation& p, KtReal b, const Orientation& q);
  Orientation halfProduct(const Vector& v, Frame frame) const;
  void integrateAngularVelocity(const Vector& angularVelocity, KtReal dt, Frame frame);
  void quaternionAcceleration(const Vector& angularVelocity, const Vector& angularAcceleration, Frame frame,
                              std::vector<KtReal>& acceleration) const;
  bool angularVelocityFromQuaternionRate(const std::vector<KtReal>& rate, Vector& angularVelocity,
                                         Frame frame, const char* operation) const;

  static const Orientation m_theIdentity;

  KtReal components_[4];
};

}  // namespace Kt

#pragma once

#include "manipulator/KtJointColumns.h"
#include "manipulator/KtMassProperties.h"
#include "math/coordinateSystemTransformation.h"

// The mass, first moment and second moment of a body (or of several bodies together) about
// the system origin, in system axes. Taken about one common point, the inertias of bodies add
// up entry by entry, which is what the dynamics sums over subtrees rely on.
struct KtSpatialInertia {
  KtReal mass = 0.0;
  Kt::Vector firstMoment;
  KtSymmetricTensor secondMoment;

  KtSpatialInertia& operator+=(const KtSpatialInertia& other) {
    mass += other.mass;
    firstMoment += other.firstMoment;
    secondMoment = secondMoment + other.secondMoment;
    return *this;
  }

  // The body's mass model, given in the frame `placement` (system coordinates), about the
  // system origin. With the frame's rotation R and origin p, a point r of the body lies at
  // p + s, s = R r, and |p + s|² E − (p + s)(p + s)ᵀ splits into the point-mass term of p, the
  // rotated second moment and the cross term 2 (p·s) E − p sᵀ − s pᵀ, whose sum over the body
  // takes the rotated first moment for s. Nothing is divided, so a massless body gives zero.
  static KtSpatialInertia of(const KtMassProperties& properties,
                             const Kt::coordinateSystemTransformation& placement) {
    const Kt::Orientation& toSystem = placement.orientation();
    const Kt::Vector& p = placement.translation();
    const Kt::Vector h = toSystem * properties.firstMoment();
    const KtReal m = properties.mass();
    const KtReal ph = p.dot(h);
    const KtSymmetricTensor cross = {2.0 * (ph - p.x() * h.x()),       2.0 * (ph - p.y() * h.y()),
                                     2.0 * (ph - p.z() * h.z()),       -(p.x() * h.y() + h.x() * p.y()),
                                     -(p.x() * h.z() + h.x() * p.z()), -(p.y() * h.z() + h.y() * p.z())};
    return {m, p * m + h,
            rotated(properties.secondMoment(), toSystem) + KtSymmetricTensor::ofPointMass(m, p) + cross};
  }

  // R T Rᵀ: entry (a, b) is row a of R against T times row b of R.
  static KtSymmetricTensor rotated(const KtSymmetricTensor& t, const Kt::Orientation& rotation) {
    Kt::Vector r0, r1, r2;
    rotation.getDcmRows(r0, r1, r2);
    const Kt::Vector t0 = t * r0, t1 = t * r1, t2 = t * r2;
    return {r0.dot(t0), r1.dot(t1), r2.dot(t2), r0.dot(t1), r0.dot(t2), r1.dot(t2)};
  }

  // The momentum of the bodies moving with a motion given at the system origin (the velocity
  // of the point there and the angular velocity): the linear momentum m v + w × h goes to
  // `linear`, the angular momentum about the origin J w + h × v to `angular`. Read as a
  // spatial acceleration instead, the same product is the force and moment it takes.
  void momentum(const KtJointColumn& motion, Kt::Vector& linear, Kt::Vector& angular) const {
    linear = motion.linear * mass + motion.angular.cross(firstMoment);
    angular = secondMoment * motion.angular + firstMoment.cross(motion.linear);
  }
};

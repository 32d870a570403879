// The link queries for velocities and accelerations, and those of the mass model.
#include "foundation/Print.h"
#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtJointColumns.h"
#include "manipulator/KtManipulatorActiveState.h"

namespace {

bool outOfRange(KtGeneralMotion& motion) {
  motion.setToZero();
  return false;
}

// The motion given in system axes, expressed in the axes of `frame`.
void expressIn(const Kt::coordinateSystemTransformation& frame, const Kt::Vector& linear,
               const Kt::Vector& angular, KtGeneralMotion& local) {
  const Kt::Orientation toLocal = frame.orientation().inverse();
  local.setLinear(toLocal * linear);
  local.setAngular(toLocal * angular);
}

}  // namespace

// The base pose's origin moves with the linear base velocity and the whole base turns with
// the angular one, so the base joint frame, held at r from that origin, moves with
// v + w × r and accelerates (at constant base velocity) with w × (w × r).
//
// A link's joint frame moves with its parent's frame, carried to its own origin, plus the
// joint's own motion: its rate times the joint's Jacobian column at the frame's origin. That
// relative motion, seen from the turning parent, adds the Coriolis terms; the joint's own
// velocity-product acceleration comes from its kinematics.
const KtLinkMotion& KtManipulatorLink::motion(KtManipulatorActiveState& state) const {
  KtLinkMotionRecords& records = state.linkMotions();
  const bool isBase = m_linkIndex == kBaseLinkIndex;
  KtLinkMotion& record = isBase ? records.base() : records.link(static_cast<std::size_t>(m_linkIndex));
  if (record.valid) return record;
  KtManipulatorActivePositionState& positions = state.activePositionState();
  const Kt::coordinateSystemTransformation& frame = locate(positions).dhFrame();
  if (isBase) {
    const KtGeneralMotion& base = records.velocityState().generalVelocity();
    const Kt::Vector& w = base.angular();
    const Kt::Vector r =
        frame.translation() - positions.positionState().coordinateSystemTransform().translation();
    record.angularVelocity = w;
    record.linearVelocity = base.linear() + w.cross(r);
    record.angularAcceleration = Kt::Vector();
    record.linearAcceleration = w.cross(w.cross(r));
  } else {
    const KtLinkMotion& parent = m_parent->motion(state);
    const Kt::Vector r = frame.translation() - m_parent->locate(positions).dhFrame().translation();
    const KtReal rate = records.jointVelocity(static_cast<std::size_t>(m_linkIndex));
    const KtJointColumn column = KtJointColumns::atJointFrame(*this, frame);
    KtGeneralMotion relative;
    kinematics().accelerationFromJointVelocity(rate, relative);
    const Kt::Orientation& toSystem = frame.orientation();
    const Kt::Vector spin = column.angular * rate;
    const Kt::Vector slide = column.linear * rate;
    const Kt::Vector& w = parent.angularVelocity;
    record.angularVelocity = w + spin;
    record.linearVelocity = parent.linearVelocity + w.cross(r) + slide;
    record.angularAcceleration = parent.angularAcceleration + w.cross(spin) + toSystem * relative.angular();
    record.linearAcceleration = parent.linearAcceleration + parent.angularAcceleration.cross(r) +
                                w.cross(w.cross(r)) + 2.0 * w.cross(slide) + toSystem * relative.linear();
  }
  record.valid = true;
  return record;
}

bool KtManipulatorLink::dhFrameVelocityInSystem(KtManipulatorActiveState& state,
                                                KtGeneralMotion& velocity) const {
  if (!hasRecord(state, "KtManipulatorLink::dhFrameVelocityInSystem(): index out of range.\n"))
    return outOfRange(velocity);
  const KtLinkMotion& own = motion(state);
  velocity.setLinear(own.linearVelocity);
  velocity.setAngular(own.angularVelocity);
  return true;
}

bool KtManipulatorLink::dhFrameVelocityInLocal(KtManipulatorActiveState& state,
                                               KtGeneralMotion& velocity) const {
  if (!hasRecord(state, nullptr)) {
    ktPrint(
        KtSeverity::Error,
        "KtManipulatorLink::dhFrameVelocityInLocal(): link index %d not in the range of the active state.\n"
        "This can be caused by the system and state not having the same size.\n",
        m_linkIndex);
    return outOfRange(velocity);
  }
  const KtLinkMotion& own = motion(state);
  expressIn(locate(state.activePositionState()).dhFrame(), own.linearVelocity, own.angularVelocity, velocity);
  return true;
}

bool KtManipulatorLink::primaryFrameVelocityInSystem(KtManipulatorActiveState& state,
                                                     KtGeneralMotion& velocity) const {
  if (!hasRecord(state, nullptr)) {
    ktPrint(KtSeverity::Error,
            "KtManipulatorLink::primaryFrameVelocityInSystem(): index %d  out of range %d.\n", m_linkIndex,
            static_cast<int>(state.activePositionState().linkCount()));
    return outOfRange(velocity);
  }
  const KtLinkMotion& own = motion(state);
  const KtLinkFrames& frames = locate(state.activePositionState());
  const Kt::Vector offset = frames.primaryFrame().translation() - frames.dhFrame().translation();
  velocity.setLinear(own.linearVelocity + own.angularVelocity.cross(offset));
  velocity.setAngular(own.angularVelocity);
  return true;
}

bool KtManipulatorLink::dhFrameAccelerationInLocal(KtManipulatorActiveState& state,
                                                   KtGeneralMotion& acceleration) const {
  if (!hasRecord(state, "KtManipulatorLink::dhFrameAccelerationInLocal(): index out of range.\n"))
    return outOfRange(acceleration);
  const KtLinkMotion& own = motion(state);
  expressIn(locate(state.activePositionState()).dhFrame(), own.linearAcceleration, own.angularAcceleration,
            acceleration);
  return true;
}

// The centre of mass c is fixed in the link, so it moves as a point of the link: v + w × r,
// and accelerates with a + α × r + w × (w × r), r = c − o. The angular momentum about it is
// R I Rᵀ w (I the inertia about c in the primary frame's axes, R that frame's orientation); as
// R turns with w, its rate is R I Rᵀ α + w × (R I Rᵀ w).
KtManipulatorLink::MassMotion KtManipulatorLink::massMotion(KtManipulatorActiveState& state) const {
  const KtLinkMotion& own = motion(state);
  const KtLinkFrames& frames = locate(state.activePositionState());
  const Kt::Orientation& toSystem = frames.primaryFrame().orientation();
  const Kt::Orientation toPrimary = toSystem.inverse();
  const KtSymmetricTensor inertia = m_massProperties.inertiaAboutCenterOfMass();
  const Kt::Vector& w = own.angularVelocity;
  MassMotion mass;
  mass.mass = m_massProperties.mass();
  mass.center = frames.primaryFrame() * m_massProperties.centerOfMass();
  const Kt::Vector r = mass.center - frames.dhFrame().translation();
  mass.velocity = own.linearVelocity + w.cross(r);
  mass.acceleration = own.linearAcceleration + own.angularAcceleration.cross(r) + w.cross(w.cross(r));
  mass.angularVelocity = w;
  mass.angularAcceleration = own.angularAcceleration;
  mass.angularMomentum = toSystem * (inertia * (toPrimary * w));
  mass.angularMomentumRate =
      toSystem * (inertia * (toPrimary * own.angularAcceleration)) + w.cross(mass.angularMomentum);
  return mass;
}

void KtManipulatorLink::toLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                Kt::Vector& angular) const {
  const Kt::Orientation toDh = locate(state.activePositionState()).dhFrame().orientation().inverse();
  linear = toDh * linear;
  angular = toDh * angular;
}

bool KtManipulatorLink::comVelocityInLocal(KtManipulatorActiveState& state, KtGeneralMotion& velocity) const {
  if (!hasRecord(state, nullptr)) {
    ktPrint(KtSeverity::Error,
            "KtManipulatorLink::comVelocityInLocal(): link index %d not in the range of the active state.\n",
            m_linkIndex);
    return outOfRange(velocity);
  }
  const MassMotion mass = massMotion(state);
  expressIn(locate(state.activePositionState()).dhFrame(), mass.velocity, mass.angularVelocity, velocity);
  return true;
}

bool KtManipulatorLink::comAccelerationInLocal(KtManipulatorActiveState& state,
                                               KtGeneralMotion& acceleration) const {
  if (!hasRecord(state, nullptr)) {
    ktPrint(
        KtSeverity::Error,
        "KtManipulatorLink::comAccelerationInLocal(): link index %d not in the range of the active state.\n",
        m_linkIndex);
    return outOfRange(acceleration);
  }
  const MassMotion mass = massMotion(state);
  expressIn(locate(state.activePositionState()).dhFrame(), mass.acceleration, mass.angularAcceleration,
            acceleration);
  return true;
}

bool KtManipulatorLink::momentumQuery(KtManipulatorActiveState& state, const char* operation,
                                      Kt::Vector& linear, Kt::Vector& angular) const {
  linear = Kt::Vector();
  angular = Kt::Vector();
  if (hasRecord(state, nullptr)) return true;
  ktPrint(KtSeverity::Error, "KtManipulatorLink::%s(): index (%d) out of range.\n", operation, m_linkIndex);
  return false;
}

bool KtManipulatorLink::dhFrameForceInLocal(KtManipulatorActiveState& state, Kt::Vector& force,
                                            Kt::Vector& moment) const {
  force = Kt::Vector();
  moment = Kt::Vector();
  if (!hasRecord(state, "KtManipulatorLink::dhFrameForceInLocal(): acc. index out of range.\n")) return false;
  if (m_linkIndex != kBaseLinkIndex) return true;
  ktPrint(KtSeverity::Error, "KtManipulatorLink::dhFrameForceInLocal(): force index out of range.\n");
  return false;
}

bool KtManipulatorLink::spatialMomentumInLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                               Kt::Vector& angular) const {
  if (!momentumQuery(state, "spatialMomentumInLocal", linear, angular)) return false;
  const MassMotion mass = massMotion(state);
  linear = mass.velocity * mass.mass;
  angular = mass.angularMomentum;
  toLocal(state, linear, angular);
  return true;
}

bool KtManipulatorLink::spatialMomentumRateInLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                                   Kt::Vector& angular) const {
  if (!momentumQuery(state, "spatialMomentumRateInLocal", linear, angular)) return false;
  const MassMotion mass = massMotion(state);
  linear = mass.acceleration * mass.mass;
  angular = mass.angularMomentumRate;
  toLocal(state, linear, angular);
  return true;
}

// About the origin the angular momenta of the links add up: Σ (I w + m c × v). About the common
// centre s = Σ m c / M it is that less s × Σ m v. Its rate is Σ (I α + w × I w + m c × a) less
// s × Σ m a: the term Σ m (v − ṡ) × v that the moving centre adds vanishes, as Σ m v = M ṡ.
//
// A state too short for the whole tree counts the links it has records for (indices grow away
// from the base, so a link without one has none in its subtree either).
void KtManipulatorLink::addSubtreeMomenta(KtManipulatorActiveState& state, MomentumSums& sums) const {
  if (m_linkIndex != kBaseLinkIndex &&
      static_cast<std::size_t>(m_linkIndex) >= state.activePositionState().linkCount())
    return;
  const MassMotion mass = massMotion(state);
  const Kt::Vector momentum = mass.velocity * mass.mass, force = mass.acceleration * mass.mass;
  sums.mass += mass.mass;
  sums.firstMoment += mass.center * mass.mass;
  sums.linear += momentum;
  sums.angular += mass.angularMomentum + mass.center.cross(momentum);
  sums.linearRate += force;
  sums.angularRate += mass.angularMomentumRate + mass.center.cross(force);
  for (std::size_t i = 0; i < m_childLinks.size(); ++i) m_childLinks[i].addSubtreeMomenta(state, sums);
}

namespace {

Kt::Vector commonCenter(const KtReal mass, const Kt::Vector& firstMoment) {
  return mass > 0.0 ? firstMoment / mass : Kt::Vector();
}

}  // namespace

bool KtManipulatorLink::compositeSpatialMomentumInLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                                        Kt::Vector& angular) const {
  if (!momentumQuery(state, "compositeSpatialMomentumInLocal", linear, angular)) return false;
  MomentumSums sums;
  addSubtreeMomenta(state, sums);
  linear = sums.linear;
  angular = sums.angular - commonCenter(sums.mass, sums.firstMoment).cross(sums.linear);
  toLocal(state, linear, angular);
  return true;
}

bool KtManipulatorLink::compositeSpatialMomentumRateInLocal(KtManipulatorActiveState& state,
                                                            Kt::Vector& linear, Kt::Vector& angular) const {
  if (!momentumQuery(state, "compositeSpatialMomentumRateInLocal", linear, angular)) return false;
  MomentumSums sums;
  addSubtreeMomenta(state, sums);
  linear = sums.linearRate;
  angular = sums.angularRate - commonCenter(sums.mass, sums.firstMoment).cross(sums.linearRate);
  toLocal(state, linear, angular);
  return true;
}

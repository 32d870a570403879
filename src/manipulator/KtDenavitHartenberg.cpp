#include "manipulator/KtDenavitHartenberg.h"

#include <cmath>

#include "foundation/Print.h"
#include "math/SinCos.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtDenavitHartenberg::elementToken() const {
  static const KtToken token(ktNamespaceSm, "denavitHartenberg");
  return token;
}

void KtDenavitHartenberg::registerComponents() {
  KtLinkKinematics::registerComponents();
  static const KtToken jointType(ktNamespaceSm, "jointType"), dhType(ktNamespaceSm, "dhType"),
      precursor(ktNamespaceSm, "precursor"), a(ktNamespaceSm, "a"), d(ktNamespaceSm, "d"),
      alpha(ktNamespaceSm, "alpha"), theta(ktNamespaceSm, "theta");
  registerComponent(jointType, m_jointType);
  registerComponent(dhType, m_dhType);
  registerComponent(precursor, m_precursor);
  registerComponent(a, m_a);
  registerComponent(d, m_d);
  registerComponent(alpha, m_alpha);
  registerComponent(theta, m_theta);
}

void KtDenavitHartenberg::parametersChanged() {
  m_sinAlpha = std::sin(m_alpha);
  m_cosAlpha = std::cos(m_alpha);
  m_sinHalfAlpha = std::sin(0.5 * m_alpha);
  m_cosHalfAlpha = std::cos(0.5 * m_alpha);
  m_craigTranslation = Kt::Vector(m_a, -m_d * m_sinAlpha, m_d * m_cosAlpha);
  m_rotationalRow = RotationalRow::none;
  if (jointType() == KtJointType::rotational) {
    if (dhType() == KtDhType::paul) m_rotationalRow = RotationalRow::paul;
    if (dhType() == KtDhType::craig) m_rotationalRow = RotationalRow::craig;
  }
  m_frameValid = false;
  KtLinkKinematics::parametersChanged();
}

void KtDenavitHartenberg::setJointType(KtJointType type) {
  m_jointType = type;
  parametersChanged();
}

void KtDenavitHartenberg::setDhType(KtDhType type) {
  m_dhType = type;
  parametersChanged();
}

void KtDenavitHartenberg::setPrecursor(const Kt::coordinateSystemTransformation& precursor) {
  m_precursor = precursor;
  parametersChanged();
}

void KtDenavitHartenberg::setTheta(KtReal theta) {
  m_theta = theta;
  parametersChanged();
}

void KtDenavitHartenberg::setD(KtReal d) {
  m_d = d;
  parametersChanged();
}

void KtDenavitHartenberg::setA(KtReal a) {
  m_a = a;
  parametersChanged();
}

void KtDenavitHartenberg::setAlpha(KtReal alpha) {
  m_alpha = alpha;
  parametersChanged();
}

void KtDenavitHartenberg::composePrecursor(const Kt::coordinateSystemTransformation& t) {
  if (dhType() == KtDhType::paul || dhType() == KtDhType::craig) {
    m_dhType = dhType() == KtDhType::paul ? KtDhType::generalPaul : KtDhType::generalCraig;
    m_precursor.setToIdentity();
  }
  m_precursor *= t;
  parametersChanged();
}

bool KtDenavitHartenberg::isGeneralType() const {
  return dhType() == KtDhType::generalPaul || dhType() == KtDhType::generalCraig ||
         dhType() == KtDhType::general;
}

bool KtDenavitHartenberg::checkTypes(const char* operation) const {
  const int dh = static_cast<int>(dhType());
  if (dh < 0 || dh > static_cast<int>(KtDhType::general)) {
    ktPrint(KtSeverity::Error, "KtDenavitHartenberg::%s() bad D-H type: %d\n", operation, dh);
    return false;
  }
  const int joint = static_cast<int>(jointType());
  if (joint != 0 && joint != 1) {
    ktPrint(KtSeverity::Error, "KtDenavitHartenberg::%s() bad joint type: %d\n", operation, joint);
    return false;
  }
  return true;
}

Kt::coordinateSystemTransformation KtDenavitHartenberg::rotationalMotion(KtReal q, bool classic) const {
  KtReal sineHalf = 0.0, cosineHalf = 1.0;
  Kt::sinCos(0.5 * q, sineHalf, cosineHalf);
  return rotationalMotion(sineHalf, cosineHalf, classic);
}

Kt::coordinateSystemTransformation KtDenavitHartenberg::jointMotion(KtReal q) const {
  const bool rotational = jointType() == KtJointType::rotational;
  switch (dhType()) {
    case KtDhType::paul:
    case KtDhType::generalPaul:
      if (rotational) return rotationalMotion(q, true);
      return {Kt::Vector(m_a * std::cos(m_theta), m_a * std::sin(m_theta), q),
              Kt::Orientation::zRotation(m_theta) * Kt::Orientation::xRotation(m_alpha)};
    case KtDhType::craig:
    case KtDhType::generalCraig:
      if (rotational) return rotationalMotion(q, false);
      return {Kt::Vector(m_a, -q * m_sinAlpha, q * m_cosAlpha),
              Kt::Orientation::xRotation(m_alpha) * Kt::Orientation::zRotation(m_theta)};
    default:
      if (rotational) return Kt::coordinateSystemTransformation(Kt::Orientation::zRotation(q));
      return Kt::coordinateSystemTransformation(Kt::Vector(0.0, 0.0, q));
  }
}

void KtDenavitHartenberg::calculateTransform(Kt::coordinateSystemTransformation& result, KtReal q) const {
  if (!checkTypes("calculateTransform")) return;
  if (isGeneralType()) result = m_precursor;
  result *= jointMotion(q);
}

const Kt::coordinateSystemTransformation& KtDenavitHartenberg::dhTransform(KtReal q) const {
  if (isHalfAngleRow()) {
    noteJointValue(q);
    if (!m_frameBuilt) {
      m_cachedFrame = rotationalMotion(q, m_rotationalRow == RotationalRow::paul);
      m_frameBuilt = true;
    }
    return m_cachedFrame;
  }
  if (m_frameValid && q == m_cachedJointValue) return m_cachedFrame;
  m_cachedJointValue = q;
  if (isGeneralType()) {
    m_cachedFrame.setToIdentity();
    calculateTransform(m_cachedFrame, q);
  } else if (checkTypes("calculateTransform")) {
    m_cachedFrame = jointMotion(q);  // identity ∘ motion, without composing
  } else {
    m_cachedFrame.setToIdentity();
  }
  m_frameValid = true;
  ++m_transformComputations;
  return m_cachedFrame;
}

// The joint moves the frame about (or along) the parent's z axis in the classic convention
// and about (or along) its own z axis otherwise. Expressed in the joint frame, the parent's z
// axis is Rx(-alpha)·z = (0, sin alpha, cos alpha), and a rotation about it at unit rate
// moves the origin, which lies at (a cos q, a sin q, d) in the parent, with the velocity
// z × (a cos q, a sin q, d), that is (0, a cos alpha, -a sin alpha) in the joint frame. Both
// are independent of q.
bool KtDenavitHartenberg::getUnitFrameMotion(KtGeneralMotion& motion) const {
  if (!checkTypes("getUnitFrameMotion")) return false;
  const bool classic = dhType() == KtDhType::paul || dhType() == KtDhType::generalPaul;
  const Kt::Vector axis = classic ? Kt::Vector(0.0, m_sinAlpha, m_cosAlpha) : Kt::Vector::zVector();
  if (jointType() == KtJointType::prismatic) {
    motion.setLinear(axis);
    motion.setAngular(Kt::Vector());
  } else {
    motion.setLinear(classic ? Kt::Vector(0.0, m_a * m_cosAlpha, -m_a * m_sinAlpha) : Kt::Vector());
    motion.setAngular(axis);
  }
  return true;
}

// A joint turning at a constant rate about the parent's z axis swings the origin, at the
// distance a from that axis, on a circle: the centripetal acceleration -a·rate² points back
// along the joint frame's x axis. Every other joint moves its frame with constant velocity.
bool KtDenavitHartenberg::accelerationFromJointVelocity(KtReal jointVelocity,
                                                        KtGeneralMotion& acceleration) const {
  if (!checkTypes("accelerationFromJointVelocity")) return false;
  const bool classic = dhType() == KtDhType::paul || dhType() == KtDhType::generalPaul;
  const bool swings = classic && jointType() == KtJointType::rotational;
  acceleration.setLinear(swings ? Kt::Vector(-m_a * jointVelocity * jointVelocity, 0.0, 0.0) : Kt::Vector());
  acceleration.setAngular(Kt::Vector());
  return true;
}

KtReal KtDenavitHartenberg::jointParameterScalability() const {
  switch (jointType()) {
    case KtJointType::rotational:
      return 0.0;
    case KtJointType::prismatic:
      return 1.0;
  }
  ktPrint(KtSeverity::Error, "KtDenavitHartenberg::jointParameterScalability(): unknown joint type (%d).\n",
          static_cast<int>(jointType()));
  return 0.0;
}

// The origin lies at the length of the table's translation from the parent's origin, after
// the precursor, whose translation adds at most its own length. In both conventions that
// translation has the length sqrt(a² + z²), z being d or the sliding joint's value; the
// general form only slides along z or turns in place.
KtReal KtDenavitHartenberg::upperBoundDhFrameDistance(KtReal jointValueBound) const {
  KtReal along = 0.0;
  switch (jointType()) {
    case KtJointType::rotational:
      along = m_d;
      break;
    case KtJointType::prismatic:
      along = jointValueBound;
      break;
    default:
      ktPrint(KtSeverity::Error, "KtDenavitHartenberg::upperBoundDhFrameDistance-->Joint Type (%d) unknown\n",
              static_cast<int>(jointType()));
      return 0.0;
  }
  KtReal offset = std::hypot(m_a, along);
  if (dhType() == KtDhType::general) offset = jointType() == KtJointType::prismatic ? std::fabs(along) : 0.0;
  return isGeneralType() ? offset + m_precursor.translation().mag() : offset;
}

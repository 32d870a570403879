#include "motion/KtGeneralMotionFilter.h"

#include <cmath>

#include "motion/KtMotionGain.h"
#include "xml/KtXmlNamespaces.h"

namespace {

// Beyond this |w| the error rotation is so small that theta/sin(theta) is taken as 1.
constexpr KtReal kNearIdentityW = 0.99;

// The rotation vector (axis times angle) of the error quaternion, taken the short way round.
Kt::Vector rotationVector(const Kt::Orientation& error) {
  const KtReal w = error.w();
  const KtReal twiceSign = w >= 0.0 ? 2.0 : -2.0;
  KtReal scale = twiceSign;
  if (w >= -kNearIdentityW && w <= kNearIdentityW) {
    const KtReal halfAngle = std::acos(w);
    scale *= halfAngle / std::sin(halfAngle);
  }
  return Kt::Vector(error.x() * scale, error.y() * scale, error.z() * scale);
}

}  // namespace

const KtToken& KtGeneralMotionFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "generalMotionFilter");
  return token;
}

void KtGeneralMotionFilter::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken offset(ktNamespaceCt, "offset"), angularWeight(ktNamespaceCt, "angularWeight"),
      threshold(ktNamespaceCt, "threshold"), linearGain(ktNamespaceCt, "linearGain"),
      angularGain(ktNamespaceCt, "angularGain");
  registerComponent(offset, m_offset);
  registerComponent(angularWeight, m_angularWeight);
  registerComponent(threshold, m_threshold);
  registerComponent(linearGain, m_linearGain);
  registerComponent(angularGain, m_angularGain);
}

KtReal KtGeneralMotionFilter::filterVelocity(const Kt::coordinateSystemTransformation& actual,
                                             const Kt::coordinateSystemTransformation& desired,
                                             const Kt::Vector& feedForwardLinear,
                                             const Kt::Vector& feedForwardAngular, KtReal dt,
                                             Kt::Vector& linear, Kt::Vector& angular) const {
  // The error transformation actual⁻¹·desired, expressed in the actual frame.
  const Kt::Orientation toActual = actual.orientation().inverse();
  const Kt::Orientation errorRotation = toActual * desired.orientation();
  const Kt::Vector errorTranslation = toActual * (desired.translation() - actual.translation());

  Kt::Vector angularLocal = rotationVector(errorRotation);
  angularLocal *= ktEffectiveGain(m_angularGain, dt);
  const Kt::Vector& offset = m_offset;
  Kt::Vector linearLocal = errorRotation * offset;
  linearLocal += errorTranslation;
  linearLocal -= offset;
  linearLocal *= ktEffectiveGain(m_linearGain, dt);

  const KtReal weight = m_angularWeight;
  const KtReal speedSquared = linearLocal.magSquared() + weight * weight * angularLocal.magSquared();
  const KtReal limitSquared = m_threshold * m_threshold;
  KtReal scale = 1.0;
  if (speedSquared > limitSquared) {
    scale = std::sqrt(limitSquared / speedSquared);
    linearLocal *= scale;
    angularLocal *= scale;
  }
  // The linear velocity was that of the offset point; the frame origin's differs by ω × offset.
  linearLocal -= angularLocal.cross(offset);

  // Rotated into system axes before the outputs are written, so that an output may share its
  // storage with an input.
  actual.orientation().transform(linearLocal, linearLocal, angularLocal, angularLocal);
  linearLocal += feedForwardLinear;
  angularLocal += feedForwardAngular;
  linear = linearLocal;
  angular = angularLocal;
  return scale;
}

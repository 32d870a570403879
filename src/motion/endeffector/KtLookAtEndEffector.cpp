#include "motion/endeffector/KtLookAtEndEffector.h"

#include <cmath>

#include "foundation/MathUtil.h"
#include "motion/KtMotionGain.h"
#include "xml/KtXmlNamespaces.h"

KtLookAtEndEffector::KtLookAtEndEffector()
    : KtXmlCloneable({"trans_x", "trans_y", "trans_z", "angle", "axis_x", "axis_y", "axis_z",
                      "filter_threshold", "is_hard_constraint", "focal_length"},
                     0.1) {}

const KtToken& KtLookAtEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "lookAtEndEffector");
  return token;
}

void KtLookAtEndEffector::registerComponents() {
  KtFramedEndEffector::registerComponents();
  static const KtToken focusDistance(ktNamespaceCt, "focusDistance");
  registerComponent(focusDistance, m_focusDistance);
}

const KtFrameMotionEndEffector::Layout& KtLookAtEndEffector::layout() const {
  static constexpr Layout rows{RowAxes::endEffectorFrame,
                               2,
                               {0, 1},
                               "KtLookAtEndEffector::insertJacobianComponent()",
                               "KtLookAtEndEffector::insertSparsityComponent()",
                               "KtLookAtEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

KtEditingValues KtLookAtEndEffector::editingValues() const {
  KtEditingValues values = KtFramedEndEffector::editingValues();
  values.emplace_back("focal_length", editingText(focusDistance()));
  return values;
}

void KtLookAtEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != editingLabelCount()) return;
  parseFrameValues(values);
  KtReal distance = m_focusDistance;
  parseEditingReal(values[9].second, distance);
  m_focusDistance = distance;
}

Kt::Vector KtLookAtEndEffector::focusError(const Kt::coordinateSystemTransformation& frame,
                                           const Kt::Vector& target) const {
  const Kt::Vector sight = target - frame.translation();
  const KtReal range = sight.mag();
  if (range == 0.0) return Kt::Vector();
  return (sight / range - frame.orientation().zAxis()) * m_focusDistance;
}

KtReal KtLookAtEndEffector::linearDistance(const Kt::coordinateSystemTransformation& first,
                                           const Kt::coordinateSystemTransformation& second) const {
  return focusError(first, second.translation()).mag();
}

KtReal KtLookAtEndEffector::normalizedDistance(const Kt::coordinateSystemTransformation& first,
                                               const Kt::coordinateSystemTransformation& second) const {
  return linearDistance(first, second) / ktGuardPositive(m_motionFilter.threshold());
}

void KtLookAtEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                                 const Kt::coordinateSystemTransformation& desired,
                                                 const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                                                 KtEndEffectorVelocityEntries& commanded,
                                                 KtReal& scale) const {
  scale = 1.0;
  Kt::Vector feedLinear, feedAngular;
  if (!feedForwardMotion(feedForward, feedLinear, feedAngular)) return;
  const std::array<KtReal, 6> feed = keptComponents(actual.orientation(), feedLinear, feedAngular);
  const Kt::Vector error = actual.orientation().inverse() * focusError(actual, desired.translation());
  const KtReal gain = ktEffectiveGain(m_motionFilter.linearGain(), dt);
  KtReal x = gain * error.x(), y = gain * error.y();
  const KtReal speedSquared = x * x + y * y, threshold = m_motionFilter.threshold();
  if (speedSquared > threshold * threshold) {
    scale = std::sqrt(threshold * threshold / speedSquared);
    x *= scale;
    y *= scale;
  }
  commanded.resize(2);
  commanded[0] = x + feed[0];
  commanded[1] = y + feed[1];
}

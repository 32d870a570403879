#include "motion/endeffector/KtOrientationEndEffector.h"

#include "xml/KtXmlNamespaces.h"

KtOrientationEndEffector::KtOrientationEndEffector()
    : KtXmlCloneable({"angle", "axis_x", "axis_y", "axis_z", "filter_threshold", "is_hard_constraint"}) {}

const KtToken& KtOrientationEndEffector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "orientationEndEffector");
  return token;
}

void KtOrientationEndEffector::registerComponents() {
  KtEndEffector::registerComponents();
  static const KtToken orientation(ktNamespaceCt, "orientation"), errorWeight(ktNamespaceCt, "errorWeight");
  registerComponent(orientation, m_orientation);
  registerComponent(errorWeight, m_errorWeight);
}

const KtFrameMotionEndEffector::Layout& KtOrientationEndEffector::layout() const {
  static constexpr Layout rows{
      RowAxes::system,
      3,
      {3, 4, 5},
      "KtOrientationEndEffector::insertJacobianComponent()",
      "KtOrientationEndEffector::insertSparsityComponent()",
      "KtOrientationEndEffector::filterEndEffectorVelocity input velocity size wrong."};
  return rows;
}

KtEditingValues KtOrientationEndEffector::editingValues() const {
  KtEditingValues values;
  appendRotationValues(m_orientation, values);
  appendFilterValues(values);
  return values;
}

void KtOrientationEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != editingLabelCount()) return;
  parseRotationValues(values, 0, m_orientation.value());
  parseFilterValues(values, 4);
}

void KtOrientationEndEffector::filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                                      const Kt::coordinateSystemTransformation& desired,
                                                      const KtEndEffectorVelocityEntries& feedForward,
                                                      KtReal dt, KtEndEffectorVelocityEntries& commanded,
                                                      KtReal& scale) const {
  const Kt::coordinateSystemTransformation turned(actual.translation(), desired.orientation());
  KtFrameMotionEndEffector::filterVelocityAndScale(actual, turned, feedForward, dt, commanded, scale);
}

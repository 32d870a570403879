#include "motion/endeffector/KtFramedEndEffector.h"

#include "xml/KtXmlNamespaces.h"

void KtFramedEndEffector::registerComponents() {
  KtEndEffector::registerComponents();
  static const KtToken frame(ktNamespaceCt, "frame"), linearErrorWeight(ktNamespaceCt, "linearErrorWeight"),
      motionFilter(ktNamespaceCt, "motionFilter");
  registerComponent(frame, m_frame);
  registerComponent(linearErrorWeight, m_linearErrorWeight);
  registerComponent(motionFilter, m_motionFilter);
}

KtEditingValues KtFramedEndEffector::editingValues() const {
  KtEditingValues values;
  const Kt::Vector& translation = m_frame.translation();
  values.emplace_back("trans_x", editingText(translation.x()));
  values.emplace_back("trans_y", editingText(translation.y()));
  values.emplace_back("trans_z", editingText(translation.z()));
  appendRotationValues(m_frame.orientation(), values);
  appendFilterValues(values);
  return values;
}

void KtFramedEndEffector::setEditingValues(const KtEditingValues& values) {
  if (values.size() != editingLabelCount()) return;
  parseFrameValues(values);
}

void KtFramedEndEffector::parseFrameValues(const KtEditingValues& values) {
  Kt::Vector translation = m_frame.translation();
  for (std::size_t k = 0; k < 3; ++k) parseEditingReal(values[k].second, translation[k]);
  Kt::Orientation rotation = m_frame.orientation();
  parseRotationValues(values, 3, rotation);
  m_frame = Kt::coordinateSystemTransformation(translation, rotation);
  parseFilterValues(values, 7);
}

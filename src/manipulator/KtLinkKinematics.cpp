#include "manipulator/KtLinkKinematics.h"

#include "manipulator/KtModelRevision.h"
#include "xml/KtXmlNamespaces.h"

void KtLinkKinematics::setPrimaryFrame(const Kt::coordinateSystemTransformation& frame) {
  m_primaryFrame = frame;
  KtModelRevision::advance();
}

bool KtLinkKinematics::read(KtXmlReader& reader) {
  const bool read = KtBaseExpressionTreeElement::read(reader);
  parametersChanged();
  return read;
}

void KtLinkKinematics::parametersChanged() { KtModelRevision::advance(); }

void KtLinkKinematics::registerComponents() {
  static const KtToken primaryFrame(ktNamespaceSm, "primaryFrame");
  registerComponent(primaryFrame, m_primaryFrame);
}

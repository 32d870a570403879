#include "render/KtViewerParameters.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtViewerParameters::elementToken() const {
  static const KtToken token(ktNamespaceSm, "viewerParameters");
  return token;
}

void KtViewerParameters::registerComponents() {
  static const KtToken position(ktNamespaceSm, "cameraPosition"), target(ktNamespaceSm, "cameraTarget"),
      width(ktNamespaceSm, "width"), height(ktNamespaceSm, "height");
  registerComponent(position, m_cameraPosition);
  registerComponent(target, m_cameraTarget);
  registerComponent(width, m_width);
  registerComponent(height, m_height);
}

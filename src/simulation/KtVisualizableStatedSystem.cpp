#include "simulation/KtVisualizableStatedSystem.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtVisualizableStatedSystem::elementToken() const {
  static const KtToken token(ktNamespaceSm, "visualizableStatedSystem");
  return token;
}

void KtVisualizableStatedSystem::registerComponents() {
  static const KtToken viewer(ktNamespaceSm, "viewerParameters");
  KtStatedSystem::registerComponents();
  registerComponent(viewer, m_viewerParameters);
}

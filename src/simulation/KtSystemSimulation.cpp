#include "simulation/KtSystemSimulation.h"

#include "xml/KtXmlFile.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtSystemSimulation::elementToken() const {
  static const KtToken token(ktNamespaceSm, "systemSimulation");
  return token;
}

void KtSystemSimulation::registerComponents() {
  static const KtToken stated(ktNamespaceSm, "visualizableStatedSystem"),
      container(ktNamespaceSm, "positionControlContainer"), capture(ktNamespaceSm, "dataCapture");
  registerComponent(stated, m_statedSystem);
  registerComponent(container, m_container);
  registerComponent(capture, m_dataCapture);
}

bool KtSystemSimulation::readFromFile(const std::string& name) { return ktReadObjectFromFile(*this, name); }

bool KtSystemSimulation::propagate(KtReal time) {
  if (m_container.system().statedSystem() != &m_statedSystem && !m_container.bind(m_statedSystem))
    return false;
  return m_container.calculateState(time, m_result);
}

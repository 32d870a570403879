#include "render/KtRenderWindow.h"

#include <utility>

namespace {

KtRenderWindowFactory& currentFactory() {
  static KtRenderWindowFactory factory;
  return factory;
}

}  // namespace

bool KtHeadlessRenderWindow::open(unsigned width, unsigned height) {
  m_parameters.setSize(width, height);
  return false;
}

// Nothing is drawn, so nothing of the system is kept (its viewer parameters sit in a class
// above this layer; the window keeps the parameters it was last given explicitly).
void KtHeadlessRenderWindow::setSystem(const KtVisualizableStatedSystem& /*system*/) {}

void KtHeadlessRenderWindow::setSystem(const KtStatedSystem& /*system*/,
                                       const KtViewerParameters& parameters) {
  m_parameters = parameters;
}

void KtHeadlessRenderWindow::showState(const KtManipulatorSystemState& /*state*/) {}

std::unique_ptr<KtRenderWindow> ktCreateRenderWindow() {
  const KtRenderWindowFactory& factory = currentFactory();
  return factory ? factory() : std::make_unique<KtHeadlessRenderWindow>();
}

KtRenderWindowFactory ktSetRenderWindowFactory(KtRenderWindowFactory factory) {
  return std::exchange(currentFactory(), std::move(factory));
}

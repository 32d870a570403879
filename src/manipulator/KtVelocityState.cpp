#include "manipulator/KtVelocityState.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtVelocityState::elementToken() const {
  static const KtToken token(ktNamespaceSm, "velocityState");
  return token;
}

void KtVelocityState::registerComponents() {
  static const KtToken joints(ktNamespaceSm, "jointVelocities"), base(ktNamespaceSm, "generalVelocity");
  registerComponent(joints, m_jointVelocities);
  registerComponent(base, m_generalVelocity);
}

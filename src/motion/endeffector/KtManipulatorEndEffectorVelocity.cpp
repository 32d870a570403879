#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorEndEffectorVelocity::elementToken() const {
  static const KtToken token(ktNamespaceCt, "manipulatorEndEffectorVelocityToken");
  return token;
}

void KtManipulatorEndEffectorVelocity::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken velocities(ktNamespaceCt, "generalEndEffectorVelocities");
  registerComponent(velocities, m_velocities);
}

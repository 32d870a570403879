#include "motion/endeffector/KtManipulatorEndEffectorPlacementVector.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorEndEffectorPlacementVector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "manipulatorEndEffectorPlacementVector");
  return token;
}

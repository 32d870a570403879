#include "manipulator/KtDeformableManipulatorLink.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtDeformableManipulatorLink::elementToken() const {
  static const KtToken token(ktNamespaceSm, "deformableManipulatorLink");
  return token;
}

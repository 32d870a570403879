#include "manipulator/KtManipulatorReferenceDescription.h"

#include "xml/KtXmlNamespaces.h"

void KtManipulatorReferenceDescription::registerComponents() {
  static const KtToken label(ktNamespaceSm, "label");
  registerComponent(label, m_label);
}

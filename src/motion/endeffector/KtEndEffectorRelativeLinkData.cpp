#include "motion/endeffector/KtEndEffectorRelativeLinkData.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtEndEffectorRelativeLinkData::elementToken() const {
  static const KtToken token(ktNamespaceCt, "relativeLinkData");
  return token;
}

void KtEndEffectorRelativeLinkData::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken label(ktNamespaceCt, "relativeLinkId"), relative(ktNamespaceCt, "isRelativeLink");
  registerComponent(label, m_relativeLinkId);
  registerComponent(relative, m_isRelativeLink);
}

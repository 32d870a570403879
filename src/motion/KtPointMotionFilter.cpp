#include "motion/KtPointMotionFilter.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtPointMotionFilter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "pointMotionFilter");
  return token;
}

void KtPointMotionFilter::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken threshold(ktNamespaceCt, "threshold"), linearGain(ktNamespaceCt, "linearGain");
  registerComponent(threshold, m_threshold);
  registerComponent(linearGain, m_linearGain);
}

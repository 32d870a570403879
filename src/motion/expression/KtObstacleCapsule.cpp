#include "motion/expression/KtObstacleCapsule.h"

#include "xml/KtXmlNamespaces.h"

KtObstacleCapsule::KtObstacleCapsule(const Kt::Vector& start, const Kt::Vector& end, KtReal radius) {
  m_start = start;
  m_end = end;
  m_radius = radius;
}

const KtToken& KtObstacleCapsule::elementToken() const {
  static const KtToken token(ktNamespaceCt, "obstacleCapsule");
  return token;
}

void KtObstacleCapsule::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken start(ktNamespaceCt, "start"), end(ktNamespaceCt, "end"),
      radius(ktNamespaceCt, "radius");
  registerComponent(start, m_start);
  registerComponent(end, m_end);
  registerComponent(radius, m_radius);
}

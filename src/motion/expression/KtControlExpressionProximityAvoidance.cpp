#include "motion/expression/KtControlExpressionProximityAvoidance.h"

#include <cmath>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

void KtControlExpressionProximityAvoidance::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken exponent(ktNamespaceCt, "exponent"), distance(ktNamespaceCt, "avoidanceDistance"),
      boundary(ktNamespaceCt, "boundaryValue");
  registerComponent(exponent, m_exponent);
  registerComponent(distance, m_avoidanceDistance);
  registerComponent(boundary, m_boundaryValue);
}

bool KtControlExpressionProximityAvoidance::parametersValid(const char* operation) const {
  if (m_exponent > 0.0 && m_avoidanceDistance > 0.0) return true;
  ktPrint(KtSeverity::Error, "%s: exponent %g and avoidance distance %g must be positive.\n", operation,
          m_exponent.value(), m_avoidanceDistance.value());
  return false;
}

KtReal KtControlExpressionProximityAvoidance::cost(KtReal distance) const {
  const KtReal limit = m_avoidanceDistance;
  if (distance >= limit) return 0.0;
  return m_boundaryValue * std::pow((limit - distance) / limit, m_exponent.value());
}

KtReal KtControlExpressionProximityAvoidance::costSlope(KtReal distance) const {
  const KtReal limit = m_avoidanceDistance;
  if (distance >= limit) return 0.0;
  return -m_boundaryValue * m_exponent / limit * std::pow((limit - distance) / limit, m_exponent - 1.0);
}

#include "motion/expression/KtControlExpressionStrengthOptimization.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/KtControlContextRequirements.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionStrengthOptimization::elementToken() const {
  static const KtToken token(ktNamespaceCt, "strengthOptimization");
  return token;
}

void KtControlExpressionStrengthOptimization::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken order(ktNamespaceCt, "strengthOptimizationOrder"),
      forces(ktNamespaceCt, "strengthOptimizationForces");
  registerComponent(order, m_order);
  registerComponent(forces, m_forces);
}

void KtControlExpressionStrengthOptimization::setForces(const std::vector<KtReal>& forces) {
  m_forces = forces;
  noteTreeChanged();
}

bool KtControlExpressionStrengthOptimization::prepare(const KtControlContext& context) {
  const char* operation = "KtControlExpressionStrengthOptimization::prepare()";
  if (!ktContextHasManipulator(context, operation)) return false;
  const std::size_t links = context.manipulator->jointDof();
  if (links == 0) {
    ktPrint(KtSeverity::Error, "%s: the manipulator has no links.\n", operation);
    return false;
  }
  if (!(m_order >= 1.0)) {
    ktPrint(KtSeverity::Error, "%s: order %g is below 1.\n", operation, m_order.value());
    return false;
  }
  if (!m_forces.empty() && m_forces.size() != 6) {
    ktPrint(KtSeverity::Error, "%s: %zu forces where 6 are needed.\n", operation, m_forces.size());
    return false;
  }
  m_jacobian.prepare(context, links - 1);
  m_weights.assign(context.columnCount, 0.0);
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionStrengthOptimization::evaluate(const KtControlContext& context) {
  if (!ktContextHasState(context, "KtControlExpressionStrengthOptimization::evaluate()") ||
      !m_jacobian.update(context))
    return false;
  std::vector<KtReal>& gradient = m_value.column();
  std::fill(gradient.begin(), gradient.end(), 0.0);
  if (m_forces.empty()) return true;
  const Kt::ReArray& j = m_jacobian.matrix();
  const std::size_t n = m_jacobian.columns();
  const KtReal p = m_order;
  KtReal sum = 0.0;
  for (std::size_t c = 0; c < n; ++c) {
    KtReal torque = 0.0;
    for (std::size_t r = 0; r < 6; ++r) torque += j[r][c] * m_forces[r];
    const KtReal magnitude = std::fabs(torque);
    sum += std::pow(magnitude, p);
    m_weights[c] = std::copysign(std::pow(magnitude, p - 1.0), torque);
  }
  if (!(sum > 0.0)) return true;
  const KtReal scale = std::pow(sum, (1.0 - p) / p);
  const Kt::Vector force(m_forces[0], m_forces[1], m_forces[2]),
      moment(m_forces[3], m_forces[4], m_forces[5]);
  for (std::size_t k = 0; k < n; ++k) {
    KtReal entry = 0.0;
    for (std::size_t c = 0; c < n; ++c) {
      const KtJointColumn rate = m_jacobian.columnRate(k, c);
      entry += m_weights[c] * (rate.linear.dot(force) + rate.angular.dot(moment));
    }
    gradient[k] = scale * entry;
  }
  return true;
}

#include "motion/velocity/KtControlExpressionCore.h"

#include <algorithm>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionCore::elementToken() const {
  static const KtToken token(ktNamespaceCt, "controlCore");
  return token;
}

void KtControlExpressionCore::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken matrix(ktNamespaceCt, "matrix"), vector(ktNamespaceCt, "vector"),
      scalar(ktNamespaceCt, "scalar"), handler(ktNamespaceCt, "softConstraintHandler");
  registerComponent(matrix, m_matrix);
  registerComponent(vector, m_vector);
  registerComponent(scalar, m_scalar);
  registerComponent(handler, m_handlers);
}

const KtWlsSoftConstraintHandler& KtControlExpressionCore::handler() const {
  static const KtWlsSoftConstraintHandler unitWeight;
  return m_handlers.empty() ? unitWeight : m_handlers[0];
}

bool KtControlExpressionCore::prepareOperand(KtControlExpressionContainer& operand,
                                             const KtControlContext& context, const char* name,
                                             KtExpressionValue::Kind kind, std::size_t rows,
                                             std::size_t columns) const {
  if (!operand.hasExpression()) return true;
  if (!operand.prepare(context)) return false;
  const KtExpressionValue& value = operand.value();
  if (value.kind() == kind && value.rows() == rows && value.columns() == columns) return true;
  ktPrint(KtSeverity::Error,
          "%s::prepare(): the %s operand gives a %s of %zu x %zu where %zu x %zu is needed.\n", className(),
          name, value.kindName(), value.rows(), value.columns(), rows, columns);
  return false;
}

bool KtControlExpressionCore::prepareCostOperands(const KtControlContext& context) {
  const std::size_t n = context.columnCount;
  using Kind = KtExpressionValue::Kind;
  return prepareOperand(m_matrix, context, "matrix", Kind::matrix, n, n) &&
         prepareOperand(m_vector, context, "vector", Kind::column, n, 1) &&
         prepareOperand(m_scalar, context, "scalar", Kind::scalar, 1, 1);
}

bool KtControlExpressionCore::prepare(const KtControlContext& context) {
  if (context.manipulator == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionCore::calculateJointRates()-> Bad manipulator index, %d.\n",
            context.manipulatorIndex);
    return false;
  }
  const std::size_t n = context.columnCount;
  if (!prepareCostOperands(context) || !handler().getPointers(context)) return false;
  m_weighting.setToZeros(n, n);
  m_gradient.assign(n, 0.0);
  const std::size_t hardRows = hardRowCount(*context.endEffectorSet);
  m_hardJacobian.setToZeros(hardRows, n);
  m_hardVelocities.assign(hardRows, 0.0);
  m_value.shapeAsColumn(n);
  return true;
}

bool KtControlExpressionCore::evaluateCost(const KtControlContext& context) {
  m_costWeighting = nullptr;
  if (m_matrix.hasExpression()) {
    if (!m_matrix.evaluate(context)) return false;
    m_costWeighting = &m_matrix.value().matrix();
  }
  KtReal alpha = 0.0;
  if (m_scalar.hasExpression()) {
    if (!m_scalar.evaluate(context)) return false;
    alpha = m_scalar.value().scalar();
  }
  if (m_vector.hasExpression()) {
    if (!m_vector.evaluate(context)) return false;
    const std::vector<KtReal>& column = m_vector.value().column();
    std::transform(column.begin(), column.end(), m_gradient.begin(), [alpha](KtReal f) { return alpha * f; });
  } else {
    std::fill(m_gradient.begin(), m_gradient.end(), 0.0);
  }
  return true;
}

std::size_t KtControlExpressionCore::hardRowCount(const KtEndEffectorSet& set) {
  std::size_t rows = 0;
  for (std::size_t e = 0; e < set.size(); ++e) {
    if (set.endEffector(e).isHardConstraint()) rows += set.rowCount(e);
  }
  return rows;
}

// The hard-row storage keeps its size between steps; only a change of an end effector's
// hard-constraint flag reshapes it.
bool KtControlExpressionCore::separateSoftRows(const KtControlContext& context) {
  const KtEndEffectorSet& set = *context.endEffectorSet;
  const std::size_t hardRows = hardRowCount(set);
  if (hardRows == context.rowCount) return false;
  if (m_hardJacobian.rows() != hardRows) {
    m_hardJacobian.setToZeros(hardRows, context.columnCount);
    m_hardVelocities.assign(hardRows, 0.0);
  }
  const Kt::ReArray& jacobian = *context.jacobian;
  const std::vector<KtReal>& velocities = *context.endEffectorVelocities;
  std::size_t hard = 0;
  for (std::size_t e = 0; e < set.size(); ++e) {
    if (!set.endEffector(e).isHardConstraint()) continue;
    for (std::size_t r = set.firstRow(e); r < set.firstRow(e) + set.rowCount(e); ++r, ++hard) {
      std::copy(jacobian[r].begin(), jacobian[r].end(), m_hardJacobian[hard].begin());
      m_hardVelocities[hard] = velocities[r];
    }
  }
  return true;
}

bool KtControlExpressionCore::evaluate(const KtControlContext& context) {
  if (context.endEffectorVelocities == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionCore::calculateJointRates(): attempt to calculate joint rates with a NULL "
            "end-effector velocity\n");
    return false;
  }
  if (context.state == nullptr || context.jacobian == nullptr) {
    ktPrint(KtSeverity::Error, "KtControlExpressionCore::value: NULL position state.\n");
    return false;
  }
  if (!evaluateCost(context)) return false;
  const Kt::ReArray* jacobian = context.jacobian;
  const std::vector<KtReal>* velocities = context.endEffectorVelocities;
  const Kt::ReArray* weighting = m_costWeighting;
  if (separateSoftRows(context)) {
    // The soft rows add to W: an identity or an operand's matrix is copied into the working W.
    if (weighting == nullptr) {
      m_weighting.setToIdentity(context.columnCount, context.columnCount);
    } else if (weighting != &m_weighting) {
      m_weighting.copyEntriesOf(*weighting);
    }
    if (!handler().integrateSoftConstraints(context, m_weighting, m_gradient)) return false;
    weighting = &m_weighting;
    jacobian = &m_hardJacobian;
    velocities = &m_hardVelocities;
  }
  // The gradient already carries α (and the soft rows' terms), so the solver's scale is 1.
  const std::size_t n = context.columnCount;
  const bool solved = weighting
                          ? m_tool.calcJointRates(*jacobian, *weighting, m_gradient, 1.0, *velocities, n)
                          : m_tool.calcJointRates(*jacobian, m_gradient, 1.0, *velocities, n);
  // A velocity or gradient that is not finite passes through the solve: such rates must not
  // reach a filter's memory or the integration, so the core reports them and commands no motion.
  const std::vector<KtReal>& rates = m_tool.jointRates();
  std::vector<KtReal>& value = m_value.column();
  if (solved && !ktAllFinite(rates)) {
    ktPrint(KtSeverity::Error, "KtControlExpressionCore::calculateJointRates(): the rates are not finite.\n");
    std::fill(value.begin(), value.end(), 0.0);
    return false;
  }
  std::copy(rates.begin(), rates.end(), value.begin());
  return solved;
}

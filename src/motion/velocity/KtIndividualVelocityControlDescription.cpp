#include "motion/velocity/KtIndividualVelocityControlDescription.h"

#include <algorithm>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"
#include "manipulator/KtModelRevision.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "xml/KtXmlNamespaces.h"

namespace {
constexpr std::size_t kBaseColumns = 6;
}  // namespace

const KtToken& KtIndividualVelocityControlDescription::elementToken() const {
  static const KtToken token(ktNamespaceCt, "velocityControlDescription");
  return token;
}

void KtIndividualVelocityControlDescription::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken label(ktNamespaceCt, "label"), container(ktNamespaceCt, "controlExpressionContainer"),
      set(ktNamespaceCt, "endEffectorSet"), isOn(ktNamespaceCt, "isOn"),
      isFixedBase(ktNamespaceCt, "isFixedBase");
  registerComponent(label, m_label);
  registerComponent(container, m_container);
  registerComponent(set, m_endEffectorSet);
  registerComponent(isOn, m_isOn);
  registerComponent(isFixedBase, m_isFixedBase);
}

std::size_t KtIndividualVelocityControlDescription::columnCount(
    const KtIndividualManipulator& manipulator) const {
  return manipulator.jointDof() + (m_isFixedBase ? 0 : kBaseColumns);
}

// The end effectors' entry lists laid end to end, in set order; each must hold its end
// effector's row count. A single end effector's list is that column already and is used in place.
const std::vector<KtReal>* KtIndividualVelocityControlDescription::stackVelocities(
    const KtManipulatorEndEffectorVelocity& velocities) {
  if (velocities.size() != m_endEffectorSet.size()) {
    ktPrint(
        KtSeverity::Error,
        "KtIndividualVelocityControlDescription::calculateJointRates(): %zu end-effector velocities for %zu "
        "end effectors.\n",
        velocities.size(), m_endEffectorSet.size());
    return nullptr;
  }
  for (std::size_t i = 0; i < velocities.size(); ++i) {
    const KtEndEffectorVelocityEntries& entries = velocities.velocity(i);
    if (entries.size() != m_endEffectorSet.rowCount(i)) {
      ktPrint(
          KtSeverity::Error,
          "KtIndividualVelocityControlDescription::calculateJointRates(): end effector %zu has %zu rows but "
          "%zu velocity entries.\n",
          i, m_endEffectorSet.rowCount(i), entries.size());
      return nullptr;
    }
  }
  if (velocities.size() == 1) return &velocities.velocity(0);
  m_stackedVelocities.resize(m_endEffectorSet.totalRowCount());
  for (std::size_t i = 0; i < velocities.size(); ++i) {
    const KtEndEffectorVelocityEntries& entries = velocities.velocity(i);
    std::copy(entries.begin(), entries.end(),
              m_stackedVelocities.begin() + static_cast<std::ptrdiff_t>(m_endEffectorSet.firstRow(i)));
  }
  return &m_stackedVelocities;
}

bool KtIndividualVelocityControlDescription::calculateJointRates(
    const KtStatedSystem& stated, int manipulatorIndex, const KtManipulatorEndEffectorVelocity* velocities,
    std::vector<KtReal>& rates, KtReal timeStep) {
  // A bad index or a missing velocity leaves the context's pointers null; the tree's nodes
  // report what they lack when they are prepared or evaluated.
  KtControlContext context;
  context.stated = &stated;
  context.manipulatorIndex = manipulatorIndex;
  context.endEffectorSet = &m_endEffectorSet;
  context.isFixedBase = m_isFixedBase;
  context.rowCount = m_endEffectorSet.totalRowCount();
  context.timeStep = timeStep;
  if (manipulatorIndex >= 0 && static_cast<std::size_t>(manipulatorIndex) < stated.system().size()) {
    context.manipulator = &stated.system().manipulator(static_cast<std::size_t>(manipulatorIndex));
    context.columnCount = columnCount(*context.manipulator);
    if (static_cast<std::size_t>(manipulatorIndex) < stated.state().positionStates().size())
      context.state = stated.activeState(manipulatorIndex);
  }
  // Sized without zeroing: a successful step overwrites every rate, and every other way out
  // stands the arm still.
  rates.resize(context.columnCount);
  const auto standStill = [&rates](bool result) {
    std::fill(rates.begin(), rates.end(), 0.0);
    return result;
  };
  if (!m_isOn) return standStill(true);
  if (velocities != nullptr) {
    context.endEffectorVelocities = stackVelocities(*velocities);
    if (context.endEffectorVelocities == nullptr) return standStill(false);
  }
  if (context.state != nullptr)
    context.jacobian = &m_endEffectorSet.jacobian(*context.manipulator, m_isFixedBase, *context.state);

  // A tree that failed to prepare is not tried again (nor reported again) until something
  // it depends on changes.
  const PreparedFor key{context.manipulator, KtModelRevision::current(), KtControlExpression::treeRevision(),
                        context.columnCount, context.rowCount};
  if (!(key == m_preparedFor)) {
    m_prepared = m_container.prepare(context) && rootGivesRates(context.columnCount);
    m_rootIsCore = dynamic_cast<const KtControlExpressionCore*>(m_container.expression()) != nullptr;
    m_preparedFor = key;
  }
  if (!m_prepared || !m_container.evaluate(context)) return standStill(false);
  // The core refuses rates that are not finite; a node around it could still make some, and
  // none may reach the integration, so the arm stands still instead.
  const std::vector<KtReal>& result = m_container.value().column();
  if (!m_rootIsCore && !ktAllFinite(result)) {
    ktPrint(
        KtSeverity::Error,
        "KtIndividualVelocityControlDescription::calculateJointRates(): the rates are not finite; the arm is "
        "held still.\n");
    return standStill(false);
  }
  std::copy(result.begin(), result.end(), rates.begin());
  return true;
}

bool KtIndividualVelocityControlDescription::rootGivesRates(std::size_t columns) const {
  const KtExpressionValue& value = m_container.value();
  if (value.isColumn() && value.rows() == columns) return true;
  ktPrint(
      KtSeverity::Error,
      "KtIndividualVelocityControlDescription::calculateJointRates(): the control expression gives a %s of "
      "%zu x %zu, not %zu joint rates.\n",
      value.kindName(), value.rows(), value.columns(), columns);
  return false;
}

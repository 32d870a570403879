#include "motion/expression/KtControlExpressionGravityGradient.h"

#include <algorithm>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionPotentialEnergyGradient::elementToken() const {
  static const KtToken token(ktNamespaceCt, "potentialEnergyGradient");
  return token;
}

bool KtControlExpressionPotentialEnergyGradient::prepare(const KtControlContext& context) {
  if (!prepareDynamics(context, "KtControlExpressionPotentialEnergyGradient")) return false;
  m_value.shapeAsColumn(context.columnCount);
  return true;
}

bool KtControlExpressionPotentialEnergyGradient::evaluate(const KtControlContext& context) {
  return KtManipulatorDynamics::gravityTorques(*context.manipulator, *context.state, m_workspace,
                                               m_value.column());
}

const KtToken& KtControlExpressionGravitationalTorqueGradient::elementToken() const {
  static const KtToken token(ktNamespaceCt, "gravitationalTorqueGradient");
  return token;
}

void KtControlExpressionGravitationalTorqueGradient::registerComponents() {
  KtControlExpressionDynamics::registerComponents();
  static const KtToken link(ktNamespaceCt, "linkIdentifier");
  registerComponent(link, m_linkIdentifier);
}

void KtControlExpressionGravitationalTorqueGradient::setLinkIdentifier(const std::string& label) {
  m_linkIdentifier = label;
  noteTreeChanged();
}

bool KtControlExpressionGravitationalTorqueGradient::prepare(const KtControlContext& context) {
  if (!prepareDynamics(context, "KtControlExpressionGravitationalTorqueGradient")) return false;
  const std::string& label = m_linkIdentifier;
  m_outwardFrom = KtManipulatorLink::kBaseLinkIndex;
  if (!label.empty()) {
    const KtManipulatorLink* link = context.manipulator->findLink(label);
    if (link == nullptr) {
      ktPrint(KtSeverity::Error,
              "KtControlExpressionGravitationalTorqueGradient::prepare(): no link labelled %s.\n",
              label.c_str());
      return false;
    }
    m_outwardFrom = link->linkIndex();
  }
  const std::size_t n = context.columnCount;
  m_torques.assign(n, 0.0);
  m_derivative.setToZeros(n, n);
  m_value.shapeAsColumn(n);
  return true;
}

bool KtControlExpressionGravitationalTorqueGradient::evaluate(const KtControlContext& context) {
  if (!KtManipulatorDynamics::gravityTorques(*context.manipulator, *context.state, m_workspace, m_torques,
                                             m_outwardFrom) ||
      !KtManipulatorDynamics::gravityTorqueDerivative(*context.manipulator, *context.state, m_workspace,
                                                      m_derivative, m_outwardFrom))
    return false;
  std::vector<KtReal>& gradient = m_value.column();
  std::fill(gradient.begin(), gradient.end(), 0.0);
  for (std::size_t i = 0; i < m_torques.size(); ++i) {
    const std::vector<KtReal>& row = m_derivative[i];
    for (std::size_t j = 0; j < gradient.size(); ++j) gradient[j] += row[j] * m_torques[i];
  }
  return true;
}

#include "motion/velocity/KtWlsSoftConstraintHandler.h"

#include "foundation/Print.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtWlsSoftConstraintHandler::elementToken() const {
  static const KtToken token(ktNamespaceCt, "wlsSoftConstraintHandler");
  return token;
}

void KtWlsSoftConstraintHandler::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken weight(ktNamespaceCt, "weight");
  registerComponent(weight, m_weight);
}

bool KtWlsSoftConstraintHandler::getPointers(const KtControlContext& context) const {
  if (context.manipulator != nullptr && context.endEffectorSet != nullptr) return true;
  ktPrint(KtSeverity::Error, "KtWlsSoftConstraintHandler::getPointers()-> bad manipulator index, %d.\n",
          context.manipulatorIndex);
  return false;
}

bool KtWlsSoftConstraintHandler::integrateSoftConstraints(const KtControlContext& context,
                                                          Kt::ReArray& weighting,
                                                          std::vector<KtReal>& gradient) const {
  if (!getPointers(context)) return false;
  if (context.endEffectorVelocities == nullptr || context.jacobian == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtWlsSoftConstraintHandler::integrateSoftConstraints(): attempt to calculate joint rates with a "
            "NULL "
            "end-effector velocity\n");
    return false;
  }
  const KtEndEffectorSet& set = *context.endEffectorSet;
  const Kt::ReArray& jacobian = *context.jacobian;
  const std::vector<KtReal>& velocities = *context.endEffectorVelocities;
  const std::size_t n = gradient.size();
  for (std::size_t e = 0; e < set.size(); ++e) {
    const KtEndEffector& endEffector = set.endEffector(e);
    if (endEffector.isHardConstraint()) continue;
    const KtReal rowWeight = m_weight * endEffector.errorWeight();
    for (std::size_t r = set.firstRow(e); r < set.firstRow(e) + set.rowCount(e); ++r) {
      const std::vector<KtReal>& row = jacobian[r];
      for (std::size_t i = 0; i < n; ++i) {
        const KtReal weighted = rowWeight * row[i];
        if (weighted == 0.0) continue;
        gradient[i] -= weighted * velocities[r];
        std::vector<KtReal>& target = weighting[i];
        for (std::size_t j = 0; j < n; ++j) target[j] += weighted * row[j];
      }
    }
  }
  return true;
}

#include "manipulator/KtManipulatorSystem.h"

#include "foundation/Print.h"
#include "manipulator/KtManipulatorSystemState.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorSystem::elementToken() const {
  static const KtToken token(ktNamespaceSm, "manipulatorSystem");
  return token;
}

void KtManipulatorSystem::registerComponents() {
  static const KtToken environment(ktNamespaceSm, "environment"), manipulators(ktNamespaceSm, "manipulators"),
      interactions(ktNamespaceSm, "linkInteractionsVector"),
      exclusions(ktNamespaceSm, "systemCollisionExclusionSet");
  registerComponent(environment, m_environment);
  static const KtXmlElementSet manipulatorElements = KtXmlElementSet::of<KtIndividualManipulator>();
  registerComponent(manipulators, m_manipulators, manipulatorElements);
  registerComponent(interactions, m_linkInteractionsVector);
  registerComponent(exclusions, m_systemCollisionExclusionSet);
}

bool KtManipulatorSystem::setJointLimit(int manipulatorIndex, int jointIndex, KtReal lower, KtReal upper) {
  if (!validIndex(manipulatorIndex)) {
    ktPrint(KtSeverity::Error, "KtManipulatorSystem::setJointLimit() - invalid manipulator index.\n");
    return false;
  }
  KtIndividualManipulator& arm = manipulator(static_cast<std::size_t>(manipulatorIndex));
  if (jointIndex < 0 || static_cast<std::size_t>(jointIndex) >= arm.jointDof()) return false;
  return arm.linkForModification(static_cast<std::size_t>(jointIndex)).setJointLimits(lower, upper);
}

std::size_t KtManipulatorSystem::jointDof(int manipulatorIndex) const {
  if (!validIndex(manipulatorIndex)) {
    ktPrint(KtSeverity::Error, "KtManipulatorSystem::jointDof-->manipulator at index (%d) undefined\n",
            manipulatorIndex);
    return 0;
  }
  return manipulator(static_cast<std::size_t>(manipulatorIndex)).jointDof();
}

bool KtManipulatorSystem::replaceLinkProperties(int manipulatorIndex, const std::string& label,
                                                const KtManipulatorLink& source) {
  if (!validIndex(manipulatorIndex)) {
    ktPrint(KtSeverity::Error, "KtManipulatorSystem::replaceLinkProperties() - invalid manipulator index.\n");
    return false;
  }
  KtIndividualManipulator& arm = manipulator(static_cast<std::size_t>(manipulatorIndex));
  const int index = arm.linkIndexOf(label);
  if (index < 0) return false;
  arm.linkForModification(static_cast<std::size_t>(index)).copyPropertiesFrom(source);
  return true;
}

bool KtManipulatorSystem::absoluteBoundingSphere(const KtManipulatorSystemState& state) const {
  if (state.positionStates().size() != size()) {
    ktPrint(KtSeverity::Error,
            "KtManipulatorSystem::absoluteBoundingSphere(): system size, %d, not equal to state size, %d.\n",
            static_cast<int>(size()), static_cast<int>(state.positionStates().size()));
  }
  return false;
}

bool KtManipulatorSystem::aboutToModifyManipulator(unsigned index) const {
  if (index >= size()) {
    ktPrint(KtSeverity::Error, "KtManipulatorSystem::aboutToModifyManipulator(): bad index (%u).\n", index);
    return false;
  }
  const KtIndividualManipulator& arm = manipulator(index);
  const std::string& reference = arm.manipulatorReference();
  if (reference.empty()) return true;
  if (reference == arm.identifier()) {
    ktPrint(KtSeverity::Error,
            "KtManipulatorSystem::aboutToModifyManipulator(): self-reference error for manipulator %u.\n",
            index);
    return false;
  }
  for (std::size_t i = 0; i < size(); ++i) {
    if (manipulator(i).identifier() == reference) return true;
  }
  ktPrint(KtSeverity::Error,
          "KtManipulatorSystem::aboutToModifyManipulator(): could not find referenced manipulator %s\n.",
          reference.c_str());
  return false;
}

#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"

#include "foundation/Print.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorEndEffectorPlacement::elementToken() const {
  static const KtToken token(ktNamespaceCt, "manipulatorEndEffectorPlacement");
  return token;
}

void KtManipulatorEndEffectorPlacement::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken offsets(ktNamespaceCt, "offsetTransformations");
  registerComponent(offsets, m_offsets);
}

bool KtManipulatorEndEffectorPlacement::indexValid(int index, const char* operation) const {
  if (index >= 0 && static_cast<std::size_t>(index) < size()) return true;
  ktPrint(KtSeverity::Error, "KtManipulatorEndEffectorPlacement::%s(), bad index (%d).", operation, index);
  return false;
}

bool KtManipulatorEndEffectorPlacement::offsetInSystem(int index,
                                                       Kt::coordinateSystemTransformation& placement) const {
  if (!indexValid(index, "offsetInSystem")) return false;
  placement = m_offsets[static_cast<std::size_t>(index)];
  return true;
}

bool KtManipulatorEndEffectorPlacement::setOffsetInSystem(
    int index, const Kt::coordinateSystemTransformation& placement) {
  if (!indexValid(index, "setOffsetInSystem")) return false;
  m_offsets[static_cast<std::size_t>(index)] = placement;
  return true;
}

bool KtManipulatorEndEffectorPlacement::guideFrameInSystem(int index, const KtEndEffectorSet& set,
                                                           const KtIndividualManipulator& manipulator,
                                                           KtManipulatorActiveState& state,
                                                           Kt::coordinateSystemTransformation& frame) {
  if (index < 0 || static_cast<std::size_t>(index) >= set.size()) {
    ktPrint(KtSeverity::Error, "KtManipulatorEndEffectorPlacement::guideFrameInSystem(), bad index (%d).",
            index);
    return false;
  }
  const KtManipulatorLink* link =
      manipulator.findLink(set.endEffector(static_cast<std::size_t>(index)).linkIdentifier());
  if (link == nullptr) {
    ktPrint(KtSeverity::Error, "KtManipulatorEndEffectorPlacement::guideFrameInSystem() bad link ID (%d)\n",
            KtManipulatorLink::kNoIndex);
    return false;
  }
  frame = link->primaryFrameInSystem(state);
  return true;
}

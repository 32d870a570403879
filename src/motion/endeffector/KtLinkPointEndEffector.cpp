#include "motion/endeffector/KtLinkPointEndEffector.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

void KtLinkPointEndEffector::registerComponents() {
  KtEndEffector::registerComponents();
  static const KtToken point(ktNamespaceCt, "point"), filter(ktNamespaceCt, "pointMotionFilter");
  registerComponent(point, m_point);
  registerComponent(filter, m_pointMotionFilter);
}

void KtLinkPointEndEffector::registerErrorWeight() {
  static const KtToken weight(ktNamespaceCt, "errorWeight");
  registerComponent(weight, m_errorWeight);
}

bool KtLinkPointEndEffector::systemPoint(const KtIndividualManipulator& manipulator,
                                         KtManipulatorActiveState& state, Kt::Vector& point) const {
  const KtManipulatorLink* link = carryingLink(manipulator);
  if (link == nullptr) {
    ktPrint(KtSeverity::Error, kBadPointLabel, m_operations->absolutePlacement, linkIdentifier().c_str());
    return false;
  }
  point = link->primaryFrameInSystem(state) * m_point.value();
  return true;
}

bool KtLinkPointEndEffector::calculateAbsolutePlacement(const KtIndividualManipulator& manipulator,
                                                        KtManipulatorActiveState& state,
                                                        Kt::coordinateSystemTransformation& placement) const {
  Kt::Vector point;
  if (!systemPoint(manipulator, state, point)) return false;
  placement = Kt::coordinateSystemTransformation(point);
  return true;
}

bool KtLinkPointEndEffector::calculatePlacement(const KtIndividualManipulator& manipulator,
                                                KtManipulatorActiveState& state,
                                                Kt::coordinateSystemTransformation& placement) const {
  Kt::coordinateSystemTransformation absolute;
  if (!calculateAbsolutePlacement(manipulator, state, absolute)) return false;
  if (!makeRelative(manipulator, state, absolute)) {
    ktPrint(KtSeverity::Error, kBadReferenceLink, m_operations->placement, KtManipulatorLink::kNoIndex);
    return false;
  }
  placement = absolute;
  return true;
}

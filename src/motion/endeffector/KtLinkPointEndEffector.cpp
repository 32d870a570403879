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
    printBadLabel(m_operations->absolutePlacement);
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
    printBadReference(m_operations->placement, false, manipulator, relativeLinkData());
    return false;
  }
  placement = absolute;
  return true;
}

void KtLinkPointEndEffector::printBadLabel(const char* operation) const {
  ktPrint(KtSeverity::Error, "%s: bad label on point end effector: %s.\n", operation,
          linkIdentifier().c_str());
}

void KtLinkPointEndEffector::printBadReference(const char* operation, bool sparsity,
                                               const KtIndividualManipulator& manipulator,
                                               const KtEndEffectorRelativeLinkData& relative) {
  ktPrint(KtSeverity::Error, "%s: bad index on relative %s: %d.\n", operation, sparsity ? "pLink" : "link",
          manipulator.linkIndexOf(relative.relativeLinkId()));
}

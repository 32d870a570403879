#include "manipulator/KtAttachment.h"

#include "foundation/Print.h"
#include "manipulator/KtIndividualManipulator.h"

bool KtAttachment::calculateFramePlacement(const KtIndividualManipulator& manipulator,
                                           KtManipulatorActiveState& state,
                                           Kt::coordinateSystemTransformation& placement) const {
  const KtManipulatorLink* link = manipulator.findLink(m_linkLabel);
  if (link == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtAttachment::calculateFramePlacement():  bad label on link attachment: %s.\n",
            m_linkLabel.c_str());
    return false;
  }
  placement = link->primaryFrameInSystem(state);
  placement *= m_offset;
  return true;
}

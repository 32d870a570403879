// The link operations that rest on its shapes and mass model. Those elements are kept
// uninterpreted for now, so the operations find no shapes and give neutral answers.
#include "foundation/Print.h"
#include "manipulator/KtManipulatorLink.h"

KtReal KtManipulatorLink::physicalExtent() const {
  ktPrint(KtSeverity::Warning, "KtManipulatorLink::physicalExtent()-->empty shape container\n");
  return 0.0;
}

bool KtManipulatorLink::estimateMassProperties() {
  ktPrint(KtSeverity::Warning, "KtManipulatorLink::estimateMassProperties-->Shape container is empty\n");
  return false;
}

Kt::Vector KtManipulatorLink::totalLocalTorque(const KtIndividualManipulator* manipulator) const {
  if (manipulator == nullptr)
    ktPrint(KtSeverity::Error, "KtManipulatorLink::totalLocalTorque()->NULL manipulator pointer\n");
  return Kt::Vector();
}

bool KtManipulatorLink::checkIntersect(const KtManipulatorLink&,
                                       const KtIndividualManipulator* manipulator) const {
  if (manipulator == nullptr) {
    ktPrint(KtSeverity::Error, "KtManipulatorLink::checkIntersect-->Invalid Link Manipulator Pointer\n");
  }
  return false;
}

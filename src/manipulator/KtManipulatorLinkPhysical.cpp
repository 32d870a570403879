// The link operations that rest on its shapes (estimating the mass model from them among
// them). The shapes are kept uninterpreted for now, so the operations find none and give
// neutral answers.
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

bool KtManipulatorLink::distanceAndWitnessPointsTo(const KtManipulatorLink&,
                                                   const KtIndividualManipulator* manipulator,
                                                   const KtIndividualManipulator* otherManipulator,
                                                   KtManipulatorActiveState&, KtManipulatorActiveState&,
                                                   KtReal&, Kt::Vector&, Kt::Vector&) const {
  if (manipulator == nullptr || otherManipulator == nullptr) {
    ktPrint(KtSeverity::Error, "KtManipulatorLink::distanceAndWitnessPointsTo-->NULL manipulator pointers\n");
  }
  return false;
}

bool KtManipulatorLink::distanceTo(const KtManipulatorLink& other, const KtIndividualManipulator* manipulator,
                                   const KtIndividualManipulator* otherManipulator,
                                   KtManipulatorActiveState& state, KtManipulatorActiveState& otherState,
                                   KtReal& distance) const {
  Kt::Vector witness, otherWitness;
  if (distanceAndWitnessPointsTo(other, manipulator, otherManipulator, state, otherState, distance, witness,
                                 otherWitness)) {
    return true;
  }
  ktPrint(KtSeverity::Error, "KtManipulatorLink::distanceTo-->Error computing distance\n");
  return false;
}

bool KtManipulatorLink::computeAndStoreCollisionInformation(const KtManipulatorLink& other,
                                                            const KtIndividualManipulator* manipulator,
                                                            const KtIndividualManipulator* otherManipulator,
                                                            KtManipulatorActiveState& state,
                                                            KtManipulatorActiveState& otherState,
                                                            CollisionInformation& information) const {
  information.valid = false;
  if (manipulator == nullptr || otherManipulator == nullptr) {
    ktPrint(KtSeverity::Error, "KtManipulatorLink::computeAndStoreCollisionInformation-->null pointer\n");
    return false;
  }
  information.valid =
      distanceAndWitnessPointsTo(other, manipulator, otherManipulator, state, otherState,
                                 information.distance, information.witness, information.otherWitness);
  return information.valid;
}

#include <gtest/gtest.h>

#include "manipulator/KtDeformableManipulatorLink.h"
#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace manipulator_test;

namespace {

// Three arms labelled arm0, arm1, arm2.
KtStatedSystem threeArmSystem() {
  KtStatedSystem stated;
  for (int i = 0; i < 3; ++i) {
    auto arm = makeSerialArm(i == 1 ? paulArmRows() : craigArmRows());
    arm->setIdentifier("arm" + std::to_string(i));
    stated.system().addManipulator(std::move(arm));
  }
  return stated;
}

// Gives the system a state that fits it, so that a document of it loads without repairs.
void fitState(KtStatedSystem& stated) {
  const PrintCapture repairs;
  stated.validateLowLevelDimensions();
}

// Reads the text into `loaded` and checks that writing that gives the text back.
void expectReproduced(const std::string& text, KtStatedSystem& loaded) {
  ASSERT_TRUE(ktTestRead(loaded, text));
  EXPECT_EQ(ktTestWrite(loaded), text);
}

}  // namespace

TEST(KtManipulatorReferencesTest, ReferencesMustNameAnotherManipulatorOfTheSystem) {
  KtStatedSystem stated = threeArmSystem();
  fitState(stated);
  KtManipulatorSystem& system = stated.system();
  PrintCapture capture;
  // Each arm refers to the next: every reference resolves.
  for (unsigned i = 0; i < 3; ++i)
    system.manipulator(i).setManipulatorReference("arm" + std::to_string((i + 1) % 3));
  for (unsigned i = 0; i < 3; ++i) EXPECT_TRUE(system.aboutToModifyManipulator(i)) << i;
  EXPECT_EQ(capture.text(), "");

  system.manipulator(1).setManipulatorReference("gantry");
  EXPECT_FALSE(system.aboutToModifyManipulator(1));
  system.manipulator(2).setManipulatorReference("arm2");
  EXPECT_FALSE(system.aboutToModifyManipulator(2));
  // The bad references of other arms do not affect the check of this one.
  EXPECT_TRUE(system.aboutToModifyManipulator(0));
  system.manipulator(2).setManipulatorReference("");
  EXPECT_TRUE(system.aboutToModifyManipulator(2));
  EXPECT_EQ(capture.text(),
            "KtManipulatorSystem::aboutToModifyManipulator(): could not find referenced manipulator gantry\n."
            "KtManipulatorSystem::aboutToModifyManipulator(): self-reference error for manipulator 2.\n");

  // References survive saving and loading; an arm without one writes nothing for it.
  const std::string text = ktTestWrite(stated);
  const std::size_t last = text.find("<sm:label>gantry</sm:label>");
  EXPECT_NE(text.find("<sm:label>arm1</sm:label>"), std::string::npos);
  ASSERT_NE(last, std::string::npos);
  EXPECT_EQ(text.find("<sm:manipulatorReferenceDescription", last), std::string::npos);
  KtStatedSystem loaded;
  expectReproduced(text, loaded);
  EXPECT_EQ(loaded.system().manipulator(1).manipulatorReference(), "gantry");
  EXPECT_TRUE(loaded.isEqual(stated));
}

TEST(KtManipulatorReferencesTest, ProximityQueriesReportMissingInputsAndAnswerNeutrally) {
  KtStatedSystem stated = threeArmSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const KtIndividualManipulator& other = stated.system().manipulator(1);
  const KtManipulatorLink& link = arm.link(3);
  KtManipulatorActiveState state, otherState;
  const Kt::Vector untouched(7, 8, 9);
  KtReal distance = 5.0;
  Kt::Vector witness = untouched, otherWitness = untouched;
  PrintCapture capture;
  EXPECT_FALSE(link.distanceAndWitnessPointsTo(other.link(2), &arm, nullptr, state, otherState, distance,
                                               witness, otherWitness));
  // With both manipulators given there are still no shapes to measure between.
  EXPECT_FALSE(link.distanceTo(other.link(2), &arm, &other, state, otherState, distance));
  KtManipulatorLink::CollisionInformation information;
  information.valid = true;
  EXPECT_FALSE(link.computeAndStoreCollisionInformation(other.link(2), nullptr, &other, state, otherState,
                                                        information));
  EXPECT_FALSE(information.valid);
  EXPECT_FALSE(stated.gjkDistanceQuery(&link, nullptr, distance, witness, otherWitness));
  const auto stranger = makeSerialArm(craigArmRows());
  EXPECT_FALSE(stated.gjkDistanceQuery(&link, &stranger->link(0), distance, witness, otherWitness));
  EXPECT_FALSE(stated.gjkDistanceQuery(&link, &other, distance, witness, otherWitness));  // silently
  EXPECT_EQ(capture.text(),
            "KtManipulatorLink::distanceAndWitnessPointsTo-->NULL manipulator pointers\n"
            "KtManipulatorLink::distanceTo-->Error computing distance\n"
            "KtManipulatorLink::computeAndStoreCollisionInformation-->null pointer\n"
            "KtStatedSystem::gjkDistanceQuery-->null pointer\n"
            "KtStatedSystem::gjkDistanceQuery(): link link1 is not part of this system.\n");
  // A failed query leaves the outputs as they were.
  EXPECT_EQ(distance, 5.0);
  EXPECT_TRUE(witness == untouched && otherWitness == untouched);
}

TEST(KtManipulatorReferencesTest, DeformableLinkInATreeIsReproducedByADocument) {
  KtStatedSystem stated = threeArmSystem();
  KtIndividualManipulator& arm = stated.system().manipulator(0);
  auto cable = std::make_unique<KtDeformableManipulatorLink>();
  cable->setIdentifier("cable");
  // A deformable link with a link below it, hanging off the middle of the arm.
  ASSERT_EQ(arm.addLink(2, std::move(cable)), 7);
  ASSERT_EQ(arm.addLink(7, makeLink(craigArmRows()[0], "clamp")), 8);
  fitState(stated);
  const std::string text = ktTestWrite(stated);
  EXPECT_NE(text.find("<sm:deformableManipulatorLink>"), std::string::npos);

  KtStatedSystem loaded;
  expectReproduced(text, loaded);
  const KtIndividualManipulator& loadedArm = loaded.system().manipulator(0);
  ASSERT_EQ(loadedArm.jointDof(), 9u);
  const auto* loadedCable = dynamic_cast<const KtDeformableManipulatorLink*>(&loadedArm.link(7));
  ASSERT_NE(loadedCable, nullptr);
  EXPECT_TRUE(loadedCable->isDeformable());
  EXPECT_EQ(loadedCable->parentLink(), &loadedArm.link(2));
  EXPECT_EQ(loadedArm.link(8).parentLink(), loadedCable);
  EXPECT_TRUE(loaded.isEqual(stated));
}

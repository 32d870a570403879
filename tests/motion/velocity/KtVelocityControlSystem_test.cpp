#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "motion/velocity/VelocityTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace velocity_test;

// Every operation with a bad manipulator or description index prints its own text and
// changes nothing.
TEST(KtVelocityControlSystemTest, ReportsBadIndicesAndChangesNothing) {
  KtVelocityControlSystem control;
  control.setManipulatorCount(1);
  KtIndividualVelocityControlDescription labelled;
  labelled.setLabel("second");
  ASSERT_TRUE(control.addControlDescription(0, labelled));
  const std::string before = ktTestWrite(control);
  std::vector<KtEndEffectorRelativeLinkData> data;
  const KtVelocityControlDescriptions descriptions;
  const std::string prefix = "KtVelocityControlSystem::";
  const struct {
    std::function<bool()> call;
    std::string text;
  } cases[] = {
      {[&] { return control.controlDescriptions(1) != nullptr; },
       "controlDescriptions(): bad manipulator index (1)."},
      {[&] { return control.getNumControlDescriptions(-1) != 0; },
       "getNumControlDescriptions(): bad manipulator index (-1)."},
      {[&] { return control.endEffectorRelativeLinkData(2, data); },
       "endEffectorRelativeLinkData(): bad manipulator index (2)."},
      {[&] { return control.individualVelocityControlDescription(1) != nullptr; },
       "individualVelocityControlDescription(): bad manipulator index (1)."},
      {[&] { return control.controlExpressionContainer(1) != nullptr; },
       "controlExpressionContainer(): bad manipulator index (1)."},
      {[&] { return control.endEffectorSet(1) != nullptr; }, "endEffectorSet(): bad manipulator index (1)."},
      {[&] { return control.addControlDescription(1, labelled); },
       "addControlDescription(): bad manipulator index (1)."},
      {[&] { return control.deleteControlDescription(1, 0); },
       "deleteControlDescription(): bad manipulator index (1)."},
      {[&] { return control.deleteControlDescription(0, 2); },
       "deleteControlDescription(): bad control description index (2)."},
      {[&] { return control.deleteControlDescriptions(1); },
       "deleteControlDescriptions(): bad manipulator index (1)."},
      {[&] { return control.setControlDescriptions(1, descriptions); },
       "setControlDescriptions(): bad manipulator index (1)."},
      {[&] { return control.activeControlDescription(1) >= 0; },
       "activeControlDescription(): bad manipulator index (1)."},
      {[&] { return control.setActiveControlDescription(1, 0); },
       "setActiveControlDescription(): bad manipulator index (1)."},
      {[&] { return control.setActiveControlDescription(0, 2); },
       "setActiveControlDescription(): bad control description index (2)."},
      {[&] { return control.setActiveControlDescription(0, "third"); },
       "setActiveControlDescription(): bad control description label (%d)."},
      {[&] { return control.addDefaultControlDescription(1); },
       "addDefaultControlDescription(): bad manipulator index (1)."},
  };
  for (const auto& c : cases) {
    PrintCapture capture;
    EXPECT_FALSE(c.call());
    EXPECT_EQ(capture.text(), prefix + c.text);
  }
  EXPECT_EQ(ktTestWrite(control), before);
}

// Each manipulator keeps at least one description; deleting keeps the active one in force, or
// falls back to the first; labels select descriptions; the whole system goes through a document.
TEST(KtVelocityControlSystemTest, KeepsOneDescriptionAndTracksTheActiveOne) {
  KtVelocityControlSystem control;
  control.setManipulatorCount(2);
  {
    PrintCapture capture;
    EXPECT_FALSE(control.deleteControlDescription(1, 0));
    EXPECT_EQ(capture.text(),
              "KtVelocityControlSystem::deleteControlDescription(): Only ONE control description exists and "
              "can NOT be deleted");
  }
  EXPECT_EQ(control.getNumControlDescriptions(1), 1);
  for (const char* label : {"a", "b", "c"}) {
    KtIndividualVelocityControlDescription description;
    description.setLabel(label);
    control.addControlDescription(1, description);
  }
  ASSERT_TRUE(control.setActiveControlDescription(1, "b"));
  EXPECT_EQ(control.activeControlDescription(1), 2);
  ASSERT_TRUE(control.deleteControlDescription(1, 1));
  EXPECT_EQ(control.individualVelocityControlDescription(1)->label(), "b");
  ASSERT_TRUE(control.deleteControlDescription(1, 1));
  EXPECT_EQ(control.activeControlDescription(1), 0);
  EXPECT_EQ(control.individualVelocityControlDescription(1)->label(), "default");

  KtVelocityControlSystem copy;
  ktTestWrittenTwice(control, copy);
  ASSERT_TRUE(control.deleteControlDescriptions(1));
  EXPECT_EQ(control.getNumControlDescriptions(1), 1);
  EXPECT_EQ(copy.getNumControlDescriptions(1), 2);
}

// calculate() fills the joint velocities of every manipulator from its active description, after
// checking that descriptions, manipulators, states and velocities agree in number; once warm it
// allocates nothing.
TEST(KtVelocityControlSystemTest, CalculatesEveryManipulatorAndChecksCounts) {
  TestRandom rng(311);
  FlangeControl arm(rng);
  std::vector<KtManipulatorEndEffectorVelocity> velocities = {
      randomVelocities(*arm.control.endEffectorSet(0), rng)};
  std::vector<KtVelocityState> states(1);
  ASSERT_TRUE(arm.control.calculate(arm.stated, velocities, states));
  expectNear(times(arm.jacobian(), states[0].jointVelocities()), velocities[0].velocity(0), 1e-10);
  {
    NoAllocationGuard guard;
    arm.control.calculate(arm.stated, velocities, states);
  }

  std::vector<KtVelocityState> twoStates(2);
  velocities.resize(2);
  PrintCapture capture;
  EXPECT_FALSE(arm.control.calculate(arm.stated, velocities, twoStates));
  EXPECT_FALSE(arm.control.calculate(arm.stated, velocities, states));
  arm.control.setManipulatorCount(2);
  EXPECT_FALSE(arm.control.integrityCheck(arm.stated));
  const std::string head = "KtVelocityControlSystem::";
  EXPECT_EQ(capture.text(),
            head +
                "calculate(): the number of control descriptions, 1, does not match the number of calculated "
                "velocity states, 2.\n" +
                head +
                "integrityCheck(): the number of control descriptions, 1, does not match the number of "
                "end-effector velocities, 2.\n" +
                head +
                "integrityCheck(): the number of control descriptions, 2, does not match the number of "
                "manipulators, 1.\n");
  KtStatedSystem stateless = arm.stated;
  stateless.state().positionStates().clear();
  arm.control.setManipulatorCount(1);
  capture.clear();
  EXPECT_FALSE(arm.control.integrityCheck(stateless));
  EXPECT_EQ(
      capture.text(),
      head + "integrityCheck(): the number of states, 0, does not match the number of manipulators, 1.\n");
}

// The sample control document loads without a message, saves to the same bytes and validates;
// its rates meet the flange's commanded velocity exactly, leave the elbow nearly still and
// respect the rate bound of its filter.
TEST(KtVelocityControlSystemTest, SampleDocumentRoundTripsAndMeetsTheFlangeVelocity) {
  TestRandom rng(312);
  FlangeControl arm(rng);
  const std::string name = "craig_arm_velocity_control.xml";
  const std::string original = readBytes(std::string(KT_TEST_DATA_DIR) + "/" + name);
  KtVelocityControlSystem sample;
  PrintCapture capture;
  ASSERT_TRUE(ktTestRead(sample, original, name));
  EXPECT_EQ(ktTestWrite(sample, name), original);
  EXPECT_TRUE(endeffector_test::validatesAgainstOwnSchema(sample, "velocity_control"));

  KtManipulatorEndEffectorVelocity velocities;
  velocities.resize(2);
  velocities.velocity(0) = {0.05, -0.02, 0.03, 0.1, 0.0, -0.1};
  velocities.velocity(1) = {0.0, 0.0, 0.0};
  std::vector<KtVelocityState> states(1);
  ASSERT_TRUE(sample.calculate(arm.stated, {velocities}, states));
  EXPECT_EQ(capture.text(), "");
  const std::vector<double>& rates = states[0].jointVelocities();
  const Kt::ReArray& rows = sample.endEffectorSet(0)->jacobian(arm.stated.system().manipulator(0), true,
                                                               *arm.stated.activeState(0));
  std::vector<double> flange = times(rows, rates);
  flange.resize(6);
  // The joint-rate filter may shorten the rates (near a singular pose) but keeps their direction,
  // so the flange moves along the commanded velocity, at full speed unless a rate sits at the cap.
  const std::vector<double> commanded = velocities.velocity(0);
  const double scale = flange[0] / commanded[0];
  EXPECT_GT(scale, 0.0);
  EXPECT_LE(scale, 1.0 + 1e-12);
  std::vector<double> scaled = commanded;
  for (double& entry : scaled) entry *= scale;
  expectNear(flange, scaled, 1e-10);
  double largest = 0.0;
  for (double rate : rates) largest = std::max(largest, std::abs(rate));
  EXPECT_LE(largest, 2.0 + 1e-12);
  if (scale < 1.0 - 1e-12) {
    EXPECT_NEAR(largest, 2.0, 1e-9);
  }
}

#include <gtest/gtest.h>

#include "simulation/KtSystemSimulation.h"
#include "support/PrintCapture.h"
#include "support/TempFiles.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

const std::string kSampleName = "craig_arm_simulation.xml";

std::string sampleText() { return readBytes(std::string(KT_TEST_DATA_DIR) + "/" + kSampleName); }

// The sample and a variant with a data-capture description come back byte for byte, with
// nothing printed; the sample's parts are those of the arm and position-control samples.
TEST(KtSystemSimulation, DocumentsRoundTripKeepingTheDataCapture) {
  const std::string sample = sampleText();
  // Components are written in the order of their names: the data capture comes first.
  const std::string first = " <sm:positionControlContainer>";
  ASSERT_NE(sample.find(first), std::string::npos);
  std::string withCapture = sample;
  withCapture.insert(withCapture.find(first),
                     " <sm:dataCapture period=\"0.01\">\n  <sm:linkData link=\"craigArmLink7\"/>\n"
                     " </sm:dataCapture>\n");
  for (const std::string& text : {sample, withCapture}) {
    KtSystemSimulation simulation;
    PrintCapture capture;
    ASSERT_TRUE(ktTestRead(simulation, text, kSampleName));
    EXPECT_EQ(ktTestWrite(simulation, kSampleName), text);
    EXPECT_EQ(capture.text(), "");
  }

  KtSystemSimulation simulation;
  ASSERT_TRUE(simulation.readFromFile(std::string(KT_TEST_DATA_DIR) + "/" + kSampleName));
  KtStatedSystem arm;
  KtPositionControlContainer control;
  ASSERT_TRUE(ktReadObjectFromFile(arm, std::string(KT_TEST_DATA_DIR) + "/craig_arm.xml"));
  ASSERT_TRUE(
      ktReadObjectFromFile(control, std::string(KT_TEST_DATA_DIR) + "/craig_arm_position_control.xml"));
  const KtStatedSystem held = simulation.visualizableStatedSystem();
  EXPECT_TRUE(held.isEqual(arm));
  EXPECT_TRUE(simulation.positionControlContainer().isEqual(control));
}

// Propagating drives the simulation's own system toward the desired placement; a copy (whose
// control starts unbound, holding still) drives its own system and leaves the original's alone.
TEST(KtSystemSimulation, PropagatesItsOwnSystem) {
  KtSystemSimulation simulation;
  ASSERT_TRUE(ktTestRead(simulation, sampleText(), kSampleName));
  ASSERT_TRUE(simulation.propagate(0.0));
  Kt::coordinateSystemTransformation start;
  ASSERT_TRUE(simulation.positionControlContainer().actualPlacement(0, 0, start));
  const Kt::Vector goal = start.translation() + Kt::Vector(0.04, 0.02, -0.03);
  ASSERT_TRUE(simulation.positionControlContainer().setDesiredPlacement(0, 0, {goal, start.orientation()}));

  KtSystemSimulation copy = simulation;
  const KtManipulatorSystemState before = simulation.visualizableStatedSystem().state();
  ASSERT_TRUE(copy.propagate(1.0));
  EXPECT_TRUE(simulation.visualizableStatedSystem().state().isEqual(before));
  EXPECT_DOUBLE_EQ(copy.visualizableStatedSystem().state().time(), 1.0);

  ASSERT_TRUE(simulation.propagate(1.0));
  Kt::coordinateSystemTransformation reached;
  ASSERT_TRUE(simulation.positionControlContainer().actualPlacement(0, 0, reached));
  EXPECT_LT((reached.translation() - goal).mag(), 0.75 * (start.translation() - goal).mag());
}

}  // namespace

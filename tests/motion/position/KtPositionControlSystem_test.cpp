#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/position/KtPositionControlVariants.h"
#include "motion/position/PositionTestSupport.h"
#include "support/PrintCapture.h"
#include "support/TempFiles.h"
#include "xml/KtXmlTextDocuments.h"

using namespace position_test;

namespace {
const double kNaN = std::numeric_limits<double>::quiet_NaN();
}  // namespace

// Every refused call prints its own text and leaves the desired placements as they were.
TEST(KtPositionControlSystemTest, ReportsEveryRefusalAndChangesNothing) {
  BoundArm sample;
  KtPositionControlContainer& c = sample.container;
  const Kt::coordinateSystemTransformation moved(Kt::Vector(0.1, 0.0, 0.0));
  const Kt::coordinateSystemTransformation notFinite(Kt::Vector(kNaN, 0.0, 0.0));
  KtManipulatorEndEffectorPlacement placements;
  Kt::coordinateSystemTransformation out, before;
  ASSERT_TRUE(c.desiredPlacement(0, 0, before));
  const std::string head = "KtPositionControlSystem::";
  const std::vector<std::pair<std::function<bool()>, std::string>> cases = {
      {[&] { return c.setDesiredPlacement(0, 2, moved); },
       "setDesiredPlacement(): index 2 is to big for the placement size (2).\n"},
      {[&] { return c.addDesiredPlacement(0, -1, moved); },
       "addDesiredPlacement(): index -1 is to big for the placement size (2).\n"},
      {[&] { return c.setDesiredPlacement(3, 0, moved); }, "setDesiredPlacement(): bad manipulator (3).\n"},
      {[&] { return c.setDesiredPlacement(0, 0, notFinite); },
       "setDesiredPlacement(): the placement of end effector 0 is not finite.\n"},
      {[&] { return c.desiredPlacement(0, 7, out); }, "desiredPlacement(), bad end-effector index (7)."},
      {[&] { return c.setDesiredVelocity(0, 9, {}); },
       "setDesiredVelocity(): index 9 is to big for the placement size (2).\n"},
      {[&] { return c.setDesiredVelocity(4, 0, {}); }, "setDesiredVelocity(): bad manipulator (4).\n"},
      {[&] {
         return c.setDesiredVelocity(0, 1, {0.0, kNaN, 0.0});
       },
       "setDesiredVelocity(): the velocity of end effector 1 needs 0, 3 or 6 finite entries.\n"},
      {[&] { return c.actualPlacement(1, 0, out); },
       "actualPlacement(): bad manipulator and end effector (1, 0).\n"},
      {[&] { return c.calcAllEndEffectorPlacements(sample.stated, 3, placements); },
       "calcAllEndEffectorPlacements(): invalid manipulator index 3\n"},
      {[&] { return c.calculateGeneralMotion(5, 0.008); },
       "calculateGeneralMotion(): The control description size, 1, is too small for the index, 5\n"},
      {[&] {
         KtManipulatorSystemState result;
         return c.calculateState(kNaN, result);
       },
       "calculateState(): the target time is not finite.\n"},
      {[&] { return c.updateState(KtManipulatorSystemState(), 1.0); },
       "updateState(): the measured state does not fit the controlled one or is not finite.\n"},
  };
  for (const auto& [call, text] : cases) {
    PrintCapture capture;
    EXPECT_FALSE(call()) << text;
    EXPECT_EQ(capture.text(), head + text);
  }
  ASSERT_TRUE(c.desiredPlacement(0, 0, out));
  EXPECT_EQ(out, before);

  // Counts that do not agree: a second description, a second manipulator, nothing bound.
  PrintCapture capture;
  sample.system().velocityControlSystem().setManipulatorCount(2);
  EXPECT_FALSE(c.integrityCheck());
  KtStatedSystem pair;
  ASSERT_TRUE(ktReadObjectFromFile(pair, dataFile("arm_and_customer.xml")));
  KtPositionControlContainer unbound, oneDescription;
  oneDescription.system().velocityControlSystem().setManipulatorCount(1);
  EXPECT_FALSE(oneDescription.bind(pair));
  KtManipulatorSystemState result;
  EXPECT_FALSE(unbound.calculateState(1.0, result));
  EXPECT_EQ(capture.text(), head +
                                "integrityCheck(): the number of control descriptions, 2, does not match the "
                                "number of manipulators, 1.\n" +
                                head +
                                "initializeStates(): the number of actual placements, 1, does not equal the "
                                "number of manipulators,2.\n" +
                                head +
                                "initializeStates(): the number of control descriptions, 1, does not equal "
                                "the number of manipulators,2.\n" +
                                head + "calculateState(): no stated system is bound.\n");
}

// A filter gain of 200 acts as 125 = 1/0.008 with a time step of 0.008 s, so one step closes a small
// error instead of overshooting it; a lower threshold shortens the speed by threshold / speed. Read
// after a new desired placement and a blended measured state, the diagnostics keep their values.
TEST(KtPositionControlSystemTest, FilterGainIsLimitedToOneStepErrorReduction) {
  const Kt::Vector error(1e-4, -2e-4, 1.5e-4);
  for (const double threshold : {100.0, 0.01}) {
    const KtPointEndEffector point = flangePoint(200.0, threshold);
    BoundArm arm(controlOf({&point}));
    const Kt::coordinateSystemTransformation start = arm.actual();
    const KtManipulatorSystemState startState = arm.stated.state();
    ASSERT_TRUE(arm.container.setDesiredPlacement(
        0, 0, Kt::coordinateSystemTransformation(start.translation() + error)));
    ASSERT_TRUE(arm.container.calculateGeneralMotion(0, 0.008));
    const std::vector<double>& commanded = arm.system().commandedVelocities(0)->velocity(0);
    const double speed = std::fmin(125.0 * error.mag(), threshold);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(commanded[k], speed * error[k] / error.mag(), 1e-12);

    ASSERT_TRUE(arm.advance(0.008));
    ASSERT_TRUE(arm.container.setDesiredPlacement(0, 0, start));
    ASSERT_TRUE(arm.container.updateState(startState, 1.0));
    const KtPropagationResultData& data = arm.container.propagationResults()[0];
    EXPECT_NEAR(data.linearErrorBefore(), error.mag(), 1e-15);
    EXPECT_NEAR(data.linearErrorAfter(), error.mag() - speed * 0.008, 1e-2 * error.mag());
    EXPECT_NEAR(data.filterScaleFactors()[0], speed / (125.0 * error.mag()), 1e-12);
  }
}

// An unknown return mode is reported and the solved rates come back; "finiteDifference" gives the
// displacement over the interval, which shows a joint that its limit held back.
TEST(KtPositionControlSystemTest, ReturnModesGiveSolvedRatesOrDisplacementOverTime) {
  const std::vector<double> rates = {0.1, -0.2, 0.3, 0.5, -0.1, 0.2, 0.1};
  BoundArm arm(fixedRates(rates));
  std::vector<double> start = {0.0, 0.0, 0.0, -0.08,
                               0.0, 1.0, 0.0};  // joint 4 is 0.0102 below its upper limit
  setJoints(arm.stated, start);
  ASSERT_TRUE(arm.container.bind(arm.stated));
  KtManipulatorSystemState result;
  arm.system().setVelocityStateReturnMode(static_cast<KtVelocityStateReturnMode>(7));
  PrintCapture capture;
  ASSERT_TRUE(arm.container.calculateState(0.04, result));
  EXPECT_EQ(
      capture.text(),
      "KtPositionControlSystem::calculateState()-> bad velocity state return mode: 7; using the position "
      "control result.\n");
  EXPECT_EQ(result.velocityStates()[0].jointVelocities(), rates);

  arm.system().setVelocityStateReturnMode(KtVelocityStateReturnMode::finiteDifference);
  const std::vector<double> before = arm.joints();
  ASSERT_TRUE(arm.container.calculateState(0.08, result));
  const std::vector<double>& difference = result.velocityStates()[0].jointVelocities();
  for (std::size_t j = 0; j < rates.size(); ++j) {
    const double expected = j == 3 ? (-0.0698 - before[j]) / 0.04 : rates[j];
    EXPECT_NEAR(difference[j], expected, 1e-12) << "joint " << j;
  }
  EXPECT_EQ(arm.container.propagationResults()[0].clampedJoints(), std::vector<std::size_t>{3});
  EXPECT_EQ(arm.stated.state().velocityStates()[0].jointVelocities(), rates);
}

// The sample document loads without a message, is written back byte for byte and validates; each
// variant loads as its own class, keeps the children it does not interpret and steps exactly as the
// plain system; a container keeps exactly one system.
TEST(KtPositionControlSystemTest, DocumentsRoundTripWithVariantsAndTheirExtras) {
  const std::string name = "craig_arm_position_control.xml";
  const std::string original = readBytes(dataFile(name.c_str()));
  KtPositionControlContainer sample;
  PrintCapture capture;
  ASSERT_TRUE(ktTestRead(sample, original, name));
  EXPECT_EQ(ktTestWrite(sample, name), original);
  EXPECT_TRUE(endeffector_test::validatesAgainstOwnSchema(sample, "position_control"));
  EXPECT_EQ(capture.text(), "");

  const std::string plain = "ct:positionControlSystem>";
  const std::string extras =
      " <ct:converter kind=\"linear\">\n   <ct:gain>2</ct:gain>\n  </ct:converter>\n  "
      "<ct:delay>0.004</ct:delay>\n ";
  const std::vector<std::pair<std::string, const std::type_info*>> variants = {
      {"positionControlSystemWithSimulation", &typeid(KtPositionControlSystemWithSimulation)},
      {"positionControlSystemWithConverter", &typeid(KtPositionControlSystemWithConverter)},
      {"positionControlSystemWithAcceleration", &typeid(KtPositionControlSystemWithAcceleration)}};
  const auto moveFlange = [](BoundArm&& arm) {
    const Kt::coordinateSystemTransformation start = arm.actual();
    const Kt::Vector shifted = start.translation() + Kt::Vector(0.05, 0.0, -0.02);
    EXPECT_TRUE(arm.container.setDesiredPlacement(0, 0, {shifted, start.orientation()}));
    EXPECT_TRUE(arm.advance(0.1));
    return arm.joints();
  };
  const std::vector<double> plainJoints = moveFlange(BoundArm());
  for (const auto& [element, type] : variants) {
    std::string text = original;
    text.replace(text.find(plain), plain.size(), "ct:" + element + ">");
    const std::size_t end = text.rfind("</" + plain);
    text.replace(end, plain.size() + 2, extras + "</ct:" + element + ">");
    KtPositionControlContainer container;
    ASSERT_TRUE(ktTestRead(container, text, name)) << element;
    EXPECT_EQ(typeid(container.system()), *type);
    EXPECT_EQ(ktTestWrite(container, name), text) << element;
    KtPositionControlContainer copy = container;
    EXPECT_TRUE(copy.isEqual(container));
    auto system = std::unique_ptr<KtPositionControlSystem>(
        static_cast<KtPositionControlSystem*>(container.system().clone().release()));
    EXPECT_EQ(moveFlange(BoundArm(std::move(system))), plainJoints) << element;
  }
  EXPECT_EQ(capture.text(), "");

  const std::string twoSystems =
      "<ct:positionControlContainer "
      "xmlns:ct=\"http://kt.example.org/namespace/ct\"><ct:positionControlSystem/>"
      "<ct:positionControlSystem/></ct:positionControlContainer>";
  const std::string none = "<ct:positionControlContainer xmlns:ct=\"http://kt.example.org/namespace/ct\"/>";
  for (const std::string& text : {twoSystems, none}) {
    KtPositionControlContainer container;
    const auto [read, printed] = ktTestReadPrinting(container, text);
    EXPECT_TRUE(read);
    EXPECT_EQ(container.size(), 1u);
    EXPECT_NE(printed.find("KtPositionControlContainer Warning: "), std::string::npos) << printed;
  }
}

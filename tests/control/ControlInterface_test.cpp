#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ControlTestSupport.h"
#include "control/KtControlSupport.h"
#include "geometry/KtShape.h"
#include "manipulator/KtDenavitHartenberg.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFile.h"

namespace {

using Kt::coordinateSystemTransformation;

coordinateSystemTransformation somePose() {
  Kt::Orientation turn;
  turn.setFrom321Euler(0.3, -0.2, 0.1);
  return coordinateSystemTransformation(Kt::Vector(0.4, -0.3, 0.2), turn);
}

void expectSamePose(const coordinateSystemTransformation& a, const coordinateSystemTransformation& b,
                    double tolerance) {
  EXPECT_TRUE(a.translation().approxEq(b.translation(), tolerance));
  EXPECT_TRUE(a.orientation().approxEq(b.orientation(), tolerance));
}

TEST(ControlInterface, EverythingFailsQuietlyBeforeInitialization) {
  PrintCapture capture;
  orlix::controlInterface control;
  std::vector<double> values, rates;
  coordinateSystemTransformation pose = somePose();
  std::vector<std::vector<double>> rows{{1.0}};
  KtPropagationResultData results;
  results.setStepsTaken(3);
  double distance = 0.0;
  Kt::Vector a, b;

  EXPECT_FALSE(control.setTime(1.0));
  EXPECT_FALSE(control.calculateNewJointValuesAndRates(1.0, values, rates));
  EXPECT_FALSE(control.computeEndEffectorPose({0.1}, pose));
  EXPECT_FALSE(control.getLastActualEndEffectorPose(pose));
  EXPECT_FALSE(control.setCustomerPose(pose));
  EXPECT_FALSE(control.getCraigDhParameters(rows));
  EXPECT_FALSE(control.resetAll({0.1}, pose));
  EXPECT_FALSE(control.resetJointAngles({0.1}));
  EXPECT_FALSE(control.setDesiredEndEffectorPose(pose, 0));
  EXPECT_FALSE(control.getLastManipulatorToCustomerDistance(distance, a, b, 0));
  EXPECT_FALSE(control.loadAndApplyNewEndEffectorSet(sampleFile("craig_arm_flange_set.xml")));
  EXPECT_EQ(control.addShape(KtSphere(0.1), pose, "ball"), 0u);
  EXPECT_EQ(control.endEffectorMotionThreshold(0), 0.0);
  control.setEndEffectorMotionThreshold(0.5, 0);
  control.setIsHardConstraint(false, 0);
  EXPECT_FALSE(control.getPropagationResults(results));
  EXPECT_EQ(results.stepsTaken(), 0u);
  EXPECT_TRUE(rows.empty());
  EXPECT_TRUE(values.empty());
  EXPECT_EQ(&control.customerPose(), &coordinateSystemTransformation::identity());
  EXPECT_EQ(capture.text(), "");
}

// The manipulator-system and control files are also found under ../data/, the configuration
// file only where it is named.
TEST(ControlInterface, FilesFallBackToDataBesideExceptTheConfiguration) {
  ScratchRun scratch({"craig_arm.xml", "craig_arm_position_control.xml", "craig_arm_simulation.xml"});
  PrintCapture capture;
  struct Case {
    std::string system, control, configuration;
    bool loads;
  };
  const Case cases[] = {
      {"craig_arm.xml", "craig_arm_position_control.xml", "", true},
      {sampleFile("craig_arm.xml"), "craig_arm_position_control.xml", "", true},
      {"craig_arm.xml", "missing.xml", "", false},
      {"missing.xml", "craig_arm_position_control.xml", "", false},
      {"craig_arm.xml", "craig_arm_position_control.xml", "craig_arm_simulation.xml", false},
      {"", "", "../data/craig_arm_simulation.xml", true},
      {"missing.xml", "missing.xml", sampleFile("craig_arm_simulation.xml"), true},
  };
  for (const Case& c : cases) {
    InspectableInterface control;
    control.turnOffRendering();
    control.setManipulatorSystemFilename(c.system);
    control.setControlSystemFilename(c.control);
    control.setConfigurationFilename(c.configuration);
    EXPECT_EQ(control.initializeAll({}, coordinateSystemTransformation::identity()), c.loads)
        << c.system << " " << c.control << " " << c.configuration;
    EXPECT_EQ(control.stated() != nullptr, c.loads);
    EXPECT_EQ(control.setTime(0.5), c.loads);
  }
}

// Joint values (inside the limits) are copied as far as both the values and the arm's joints go;
// the outputs always hold seven values.
TEST(ControlInterface, InitialJointValuesAreTruncatedToTheArm) {
  KtStatedSystem file;
  ASSERT_TRUE(ktReadObjectFromFile(file, sampleFile("craig_arm.xml")));
  const std::vector<KtReal> fileJoints = file.state().positionStates()[0].jointPositions();
  ASSERT_EQ(fileJoints.size(), 7u);
  const std::vector<std::vector<double>> inputs = {
      {}, {0.1, -0.2, 0.3}, {0.1, 0.2, 0.3, -0.4, 0.5, 0.6, 0.7, 0.8, 0.9}};
  for (const std::vector<double>& input : inputs) {
    InspectableInterface control;
    ASSERT_TRUE(initializeSample(control, "craig_arm.xml", input));
    std::vector<double> values, rates;
    // A target time at the state's own time moves nothing.
    ASSERT_TRUE(control.calculateNewJointValuesAndRates(0.0, values, rates));
    ASSERT_EQ(values.size(), 7u);
    ASSERT_EQ(rates.size(), 7u);
    for (std::size_t j = 0; j < 7; ++j) {
      EXPECT_EQ(values[j], j < input.size() ? input[j] : fileJoints[j]) << input.size() << " " << j;
      EXPECT_EQ(rates[j], 0.0);
    }
  }
}

// The customer is the last manipulator for its pose, while the distance is always measured to
// manipulator 1.
TEST(ControlInterface, CustomerIsTheLastManipulatorAndDistanceNamesTheSecond) {
  InspectableInterface single;
  ASSERT_TRUE(initializeSample(single));
  EXPECT_FALSE(single.setCustomerPose(somePose()));
  EXPECT_EQ(&single.customerPose(), &coordinateSystemTransformation::identity());

  InspectableInterface control;
  PrintCapture capture;  // the arm's control does not cover the customer
  ASSERT_TRUE(initializeSample(control, "arm_and_customer.xml"));
  const coordinateSystemTransformation before =
      control.stated()->state().positionStates()[1].coordinateSystemTransform();
  ASSERT_EQ(control.addShape(KtBox(0.1, 0.2, 0.3), coordinateSystemTransformation(), "box"), 2u);
  const coordinateSystemTransformation pose = somePose();
  EXPECT_TRUE(control.setCustomerPose(pose));
  expectSamePose(control.customerPose(), pose, 0.0);
  expectSamePose(control.stated()->state().positionStates()[2].coordinateSystemTransform(), pose, 0.0);
  expectSamePose(control.stated()->state().positionStates()[1].coordinateSystemTransform(), before, 0.0);

  capture.clear();
  double distance = 0.0;
  Kt::Vector armPoint(1.0, 1.0, 1.0), customerPoint(1.0, 1.0, 1.0);
  EXPECT_FALSE(control.getLastManipulatorToCustomerDistance(distance, armPoint, customerPoint, 7));
  EXPECT_GE(distance, 1e300);
  EXPECT_EQ(armPoint, Kt::Vector());
  EXPECT_EQ(customerPoint, Kt::Vector());
  EXPECT_EQ(capture.text(), "");
}

TEST(ControlInterface, SleepTruncatesToWholeMilliseconds) {
  static std::vector<unsigned long> slept;
  const KtMillisecondSleep previous = ktSetMillisecondSleep([](unsigned long ms) { slept.push_back(ms); });
  const struct {
    double seconds;
    unsigned long milliseconds;
  } cases[] = {{0.0015, 1},
               {0.0009, 0},
               {2.0, 2000},
               {0.0, 0},
               {-1.0, 0},
               {std::nan(""), 0},
               {1e300, std::numeric_limits<unsigned long>::max()}};
  for (const auto& c : cases) {
    slept.clear();
    Kt::baseControlInterface::sleep(c.seconds);
    EXPECT_EQ(slept, std::vector<unsigned long>{c.milliseconds}) << c.seconds;
  }
  ktSetMillisecondSleep(previous);
}

TEST(ControlInterface, ControlFileNameIsKeptWhenItsLoadFails) {
  orlix::controlInterface uninitialized;
  EXPECT_FALSE(uninitialized.loadAndApplyNewControlSystem(sampleFile("craig_arm_position_control.xml")));
  EXPECT_EQ(uninitialized.controlSystemFilename(), sampleFile("craig_arm_position_control.xml"));

  orlix::controlInterface control;
  PrintCapture capture;
  ASSERT_TRUE(initializeSample(control, "arm_and_customer.xml"));
  EXPECT_FALSE(control.loadAndApplyNewControlSystem("missing.xml"));
  EXPECT_EQ(control.controlSystemFilename(), "missing.xml");
  // A control for the arm alone is extended to the customer, so that it can step the system.
  EXPECT_TRUE(control.loadAndApplyNewControlSystem(sampleFile("craig_arm_position_control.xml")));
  std::vector<double> values, rates;
  EXPECT_TRUE(control.calculateNewJointValuesAndRates(0.1, values, rates));
}

// A copy (or an assigned-to object) takes the names and the rendering switch, nothing owned.
TEST(ControlInterface, CopiesMustBeInitializedAgain) {
  InspectableInterface original;
  original.setConfigurationFilename(sampleFile("craig_arm_simulation.xml"));
  original.turnOffRendering();
  ASSERT_TRUE(original.initializeAll({}, coordinateSystemTransformation::identity()));

  InspectableInterface assigned;
  ASSERT_TRUE(initializeSample(assigned));
  assigned = original;
  const InspectableInterface copied(original);
  for (const InspectableInterface* copy : {&copied, static_cast<const InspectableInterface*>(&assigned)}) {
    EXPECT_EQ(copy->stated(), nullptr);
    EXPECT_EQ(copy->control(), nullptr);
    EXPECT_EQ(copy->configurationFilename(), original.configurationFilename());
    EXPECT_EQ(copy->controlSystemFilename(), original.controlSystemFilename());
  }
  WindowRecorder recorder;
  ASSERT_TRUE(assigned.initializeAll({}, coordinateSystemTransformation::identity()));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_TRUE(original.setTime(0.1));
}

TEST(ControlInterface, CraigRowsAreTheLinksAAlphaAndD) {
  PrintCapture capture;  // the sample control names links of the other arm
  for (const char* file : {"craig_arm.xml", "paul_arm.xml"}) {
    orlix::controlInterface control;
    ASSERT_TRUE(initializeSample(control, file));
    KtStatedSystem stated;
    ASSERT_TRUE(ktReadObjectFromFile(stated, sampleFile(file)));
    const KtIndividualManipulator& arm = stated.system().manipulator(0);
    std::vector<std::vector<double>> rows;
    ASSERT_TRUE(control.getCraigDhParameters(rows));
    ASSERT_EQ(rows.size(), arm.jointDof());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const KtDenavitHartenberg& dh = *arm.link(i).denavitHartenberg();
      if (dh.dhType() == KtDhType::craig)
        EXPECT_EQ(rows[i], (std::vector<double>{dh.a(), dh.alpha(), dh.d()})) << file << " " << i;
      else
        EXPECT_TRUE(rows[i].empty()) << file << " " << i;
    }
  }
}

// After a calculation toward a desired pose, the pose computed for the joints it reports is the
// actual pose it reports; computing it leaves the live state alone.
TEST(ControlInterface, ComputedPoseMatchesTheActualPoseWithoutMovingTheArm) {
  InspectableInterface control;
  ASSERT_TRUE(initializeSample(control, "craig_arm.xml", {0.1, 0.5, -0.2, -1.2, 0.3, 0.6, 0.1}));
  coordinateSystemTransformation start;
  ASSERT_TRUE(control.getLastActualEndEffectorPose(start));
  coordinateSystemTransformation target = start;
  target.setTranslation(start.translation() + Kt::Vector(0.05, -0.03, 0.02));
  ASSERT_TRUE(control.setDesiredEndEffectorPose(target, 0));
  std::vector<double> values, rates;
  ASSERT_TRUE(control.calculateNewJointValuesAndRates(0.2, values, rates));
  KtPropagationResultData results;
  ASSERT_TRUE(control.getPropagationResults(results));
  EXPECT_GT(results.stepsTaken(), 0u);

  coordinateSystemTransformation actual, computed;
  ASSERT_TRUE(control.getLastActualEndEffectorPose(actual));
  EXPECT_GT((actual.translation() - start.translation()).mag(), 1e-3);
  const KtManipulatorSystemState live = control.stated()->state();
  ASSERT_TRUE(control.computeEndEffectorPose(values, computed));
  expectSamePose(computed, actual, 1e-12);
  ASSERT_TRUE(control.computeEndEffectorPose({0.0, 0.0, 0.0}, computed));
  EXPECT_TRUE(control.stated()->state().isEqual(live));
  EXPECT_GT((computed.translation() - actual.translation()).mag(), 1e-3);
}

TEST(ControlInterface, ThresholdAndHardnessChangeOnlyAnEndEffectorInRange) {
  InspectableInterface control;
  ASSERT_TRUE(initializeSample(control));
  const KtEndEffectorSet& set = *control.control()->system().velocityControlSystem().endEffectorSet(0);
  ASSERT_EQ(set.size(), 2u);
  control.setEndEffectorMotionThreshold(0.25, 1);
  control.setIsHardConstraint(true, 1);
  control.setEndEffectorMotionThreshold(0.5, 2);
  control.setIsHardConstraint(false, 2);
  EXPECT_EQ(control.endEffectorMotionThreshold(1), 0.25);
  EXPECT_TRUE(set.endEffector(1).isHardConstraint());
  EXPECT_EQ(control.endEffectorMotionThreshold(2), 0.0);
  EXPECT_TRUE(control.loadAndApplyNewEndEffectorSet(sampleFile("craig_arm_point_set.xml")));
  EXPECT_EQ(set.size(), 1u);
}

// A step that the control refuses for a value that is not finite hands out the last good values.
TEST(ControlInterface, NoNonFiniteValueReachesTheHost) {
  InspectableInterface control;
  ASSERT_TRUE(initializeSample(control, "craig_arm.xml", {0.1, 0.5, -0.2, -1.2, 0.3, 0.6, 0.1}));
  std::vector<double> good, goodRates;
  ASSERT_TRUE(control.calculateNewJointValuesAndRates(0.05, good, goodRates));
  control.stated()->state().velocityStates()[0].jointVelocities()[2] = std::nan("");
  control.stated()->state().positionStates()[0].jointPositions()[2] = std::nan("");
  PrintCapture capture;
  std::vector<double> values, rates;
  EXPECT_FALSE(control.calculateNewJointValuesAndRates(0.1, values, rates));
  EXPECT_EQ(values, good);
  EXPECT_EQ(rates, goodRates);
}

// The window is opened and given the loaded system at initialization; each command that moves
// the system shows the state and renders a frame.
TEST(ControlInterface, RenderWindowIsDrivenInOrder) {
  WindowRecorder recorder;
  PrintCapture capture;
  InspectableInterface control;
  ASSERT_TRUE(initializeSample(control, "arm_and_customer.xml", {}, true));
  std::vector<double> values, rates;
  using Log = std::vector<std::string>;
  const struct {
    std::function<bool()> command;
    Log expected;
  } steps[] = {
      {[] { return true; }, {"open 256x256", "system of 2"}},
      {[&] { return control.calculateNewJointValuesAndRates(0.0, values, rates); }, {"state", "render"}},
      {[&] { return control.resetAll({0.1}, somePose()); }, {"state", "render"}},
      {[&] { return control.setCustomerPose(somePose()); }, {"state", "render"}},
      {[&] { return control.addShape(KtCapsule(0.1, 0.3), somePose(), "capsule") == 2; },
       {"parameters", "system of 3 with parameters", "render"}},
  };
  for (const auto& step : steps) {
    EXPECT_TRUE(step.command());
    EXPECT_EQ(recorder.log, step.expected);
    recorder.log.clear();
  }
  control.turnOffRendering();
  EXPECT_FALSE(control.hasWindow());
  EXPECT_TRUE(control.resetJointAngles({0.2}));
  EXPECT_TRUE(recorder.log.empty());
}

// Without a display the default window cannot render; the interface carries on regardless.
TEST(ControlInterface, HeadlessWindowDoesNotStopTheControl) {
  PrintCapture capture;
  InspectableInterface control;
  ASSERT_TRUE(initializeSample(control, "arm_and_customer.xml", {}, true));
  EXPECT_TRUE(control.hasWindow());
  std::vector<double> values, rates;
  EXPECT_TRUE(control.calculateNewJointValuesAndRates(0.0, values, rates));
  EXPECT_TRUE(control.resetAll({0.1}, somePose()));
  EXPECT_FALSE(control.setCustomerPose(somePose()));
  expectSamePose(control.customerPose(), somePose(), 0.0);
}

}  // namespace

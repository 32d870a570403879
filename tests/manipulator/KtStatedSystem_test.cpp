#include "manipulator/KtStatedSystem.h"

#include <gtest/gtest.h>

#include <limits>

#include "geometry/KtShape.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace manipulator_test;

namespace {

KtStatedSystem twoArmSystem() {
  KtStatedSystem stated;
  stated.system().addManipulator(makeSerialArm(craigArmRows()));
  stated.system().addManipulator(makeSerialArm(paulArmRows()));
  return stated;
}

}  // namespace

TEST(KtStatedSystemTest, MissingStatesAreAddedWithMessages) {
  KtStatedSystem stated = twoArmSystem();
  stated.state().positionStates().resize(1);
  stated.state().velocityStates().resize(1);
  stated.state().positionStates()[0].setJointPositions({0.1, 0.2});
  const std::string text = ktTestWrite(stated);
  KtStatedSystem loaded;
  PrintCapture capture;
  ASSERT_TRUE(ktTestRead(loaded, text));
  const std::string positions =
      "KtStatedSystem::validateLowLevelDimensions: joint positions do not match the numbers of degrees of "
      "freedom--correcting.\n";
  const std::string velocities =
      "KtStatedSystem::validateLowLevelDimensions: joint velocities do not match the numbers of degrees of "
      "freedom--correcting.\n";
  EXPECT_EQ(capture.text(),
            "KtStatedSystem::validateTopLevelDimensions(): number of states does not equal the number of "
            "systems in the input file--correcting.\n" +
                positions + velocities + positions + velocities);
  ASSERT_EQ(loaded.state().positionStates().size(), 2u);
  EXPECT_EQ(loaded.state().positionStates()[0].jointPositions(),
            std::vector<double>({0.1, 0.2, 0, 0, 0, 0, 0}));
  EXPECT_EQ(loaded.state().velocityStates()[1].jointVelocities().size(), 7u);
  capture.clear();
  EXPECT_TRUE(loaded.validateLowLevelDimensions());
  EXPECT_EQ(capture.text(), "");

  // A system state alone matches its velocity states to its position states.
  KtManipulatorSystemState state;
  state.positionStates().resize(2);
  state.positionStates()[1].setJointPositions({1, 2, 3});
  capture.clear();
  EXPECT_FALSE(state.validateLowLevelDimensions());
  EXPECT_EQ(
      capture.text(),
      "KtManipulatorSystemState::validateTopLevelDimensions(): number of position states does not match the "
      "velocity states--correcting.\n"
      "KtManipulatorSystemState::validateLowLevelDimensions: joint positions do notmatch joint "
      "velocities--correcting.\n");
  EXPECT_EQ(state.velocityStates()[1].jointVelocities().size(), 3u);
}

TEST(KtStatedSystemTest, IndexChecksReportWithTheirExactTexts) {
  KtStatedSystem stated = twoArmSystem();
  stated.validateLowLevelDimensions();
  PrintCapture capture;
  EXPECT_FALSE(stated.setIndividualState(2, KtPositionState()));
  EXPECT_FALSE(stated.setIndividualState(5, KtVelocityState()));
  EXPECT_FALSE(stated.setIndividualCoordinateSystemTransformation(-1, Kt::coordinateSystemTransformation()));
  EXPECT_FALSE(stated.rotateIndividualBaseVelocity(3, Kt::Orientation()));
  EXPECT_EQ(stated.system().jointDof(4), 0u);
  EXPECT_FALSE(stated.system().setJointLimit(2, 0, -1, 1));
  EXPECT_FALSE(stated.system().replaceLinkProperties(-1, "link1", KtManipulatorLink()));
  EXPECT_FALSE(stated.system().aboutToModifyManipulator(9));
  KtIntegrationStatus status;
  EXPECT_EQ(stated.activeState(2), nullptr);
  EXPECT_EQ(stated.activeState(-1), nullptr);
  EXPECT_FALSE(stated.integrateIndividualState(2, 0.1, status));
  stated.state().velocityStates().resize(1);
  EXPECT_FALSE(stated.integrateIndividualState(1, 0.1, status));
  Kt::Vector point(1.0, 1.0, 1.0), otherPoint(1.0, 1.0, 1.0);
  EXPECT_EQ(stated.manipulatorDistance(0, 2, 0.0, 5.0, point, otherPoint, 0, 0), 5.0);
  EXPECT_EQ(stated.addShapeManipulator(KtSphere(0.1), Kt::coordinateSystemTransformation(), "ball"), 0u);
  EXPECT_EQ(stated.system().size(), 2u);
  EXPECT_EQ(
      capture.text(),
      "KtStatedSystem::setIndividualState(): manipulator index 2 to big for position state size, 2\n"
      "KtStatedSystem::setIndividualState(): manipulator index 5 to big for velocity state size, 2\n"
      "KtStatedSystem::setIndividualCoordinateSystemTransformation(): manipulator index -1 to big for "
      "position state size, 2\n"
      "KtStatedSystem::rotateIndividualBaseVelocity(): manipulator index 3 to big for velocity state "
      "size, 2\n"
      "KtManipulatorSystem::jointDof-->manipulator at index (4) undefined\n"
      "KtManipulatorSystem::setJointLimit() - invalid manipulator index.\n"
      "KtManipulatorSystem::replaceLinkProperties() - invalid manipulator index.\n"
      "KtManipulatorSystem::aboutToModifyManipulator(): bad index (9).\n"
      "KtStatedSystem::activeState(): manipulator index 2 to big for system size, 2\n"
      "KtStatedSystem::activeState(): manipulator index -1 to big for system size, 2\n"
      "KtStatedSystem::integrateIndividualState(): manipulator index 2 to big for system size, 2\n"
      "KtStatedSystem::integrateIndividualState(): manipulator index 1 to big for velocity state size, 1\n"
      "KtStatedSystem::manipulatorDistance(): manipulator index 2 to big for system size, 2\n"
      "KtStatedSystem::addShapeManipulator(): the state holds 2 position and 1 velocity states for 2 "
      "manipulators.\n");
}

// A shape becomes a fixed manipulator without joints, at rest at its pose, and its shape stays
// with it through copies.
TEST(KtStatedSystemTest, ShapesJoinAsManipulatorsOfTheirOwn) {
  KtStatedSystem stated = twoArmSystem();
  stated.validateTopLevelDimensions();
  stated.validateLowLevelDimensions();
  const Kt::coordinateSystemTransformation pose(Kt::Vector(0.5, 0.2, 0.1), Kt::Orientation::zRotation(0.4));
  PrintCapture capture;
  ASSERT_EQ(stated.addShapeManipulator(KtCapsule(0.05, 0.3), pose, "tool"), 2u);
  ASSERT_EQ(stated.addShapeManipulator(KtBox(0.1, 0.2, 0.3), pose, "crate"), 3u);
  KtStatedSystem copy = stated;
  for (const KtStatedSystem* system : {&stated, &copy}) {
    const KtIndividualManipulator& tool = system->system().manipulator(2);
    EXPECT_EQ(tool.identifier(), "tool");
    EXPECT_EQ(tool.jointDof(), 0u);
    EXPECT_TRUE(tool.isFixedBase());
    EXPECT_EQ(system->state().positionStates()[2].coordinateSystemTransform(), pose);
    EXPECT_TRUE(system->state().velocityStates()[3].jointVelocities().empty());
    ASSERT_NE(system->addedShape(2), nullptr);
    const auto* capsule = dynamic_cast<const KtCapsule*>(system->addedShape(2));
    ASSERT_NE(capsule, nullptr);
    EXPECT_EQ(capsule->length(), 0.3);
    EXPECT_STREQ(system->addedShape(3)->kindName(), "box");
    EXPECT_EQ(system->addedShape(1), nullptr);
  }
  EXPECT_NE(copy.addedShape(2), stated.addedShape(2));
  ASSERT_NE(stated.activeState(3), nullptr);
  ASSERT_TRUE(ktTestRead(copy, ktTestWrite(stated)));
  EXPECT_EQ(copy.system().manipulator(3).identifier(), "crate");
  EXPECT_EQ(copy.addedShape(2), nullptr);
  EXPECT_EQ(capture.text(), "");
}

TEST(KtStatedSystemTest, BaseVelocityRotatesAsAVector) {
  TestRandom rng(41);
  KtStatedSystem stated = twoArmSystem();
  stated.validateLowLevelDimensions();
  KtVelocityState velocity;
  velocity.generalVelocity().setLinear(Kt::Vector(1, 2, 3));
  velocity.generalVelocity().setAngular(Kt::Vector(-1, 0.5, 2));
  ASSERT_TRUE(stated.setIndividualState(1, velocity));
  const Kt::Orientation rotation = randomPose(rng).orientation();
  ASSERT_TRUE(stated.rotateIndividualBaseVelocity(1, rotation));
  const KtGeneralMotion& turned = stated.state().velocityStates()[1].generalVelocity();
  EXPECT_NEAR(turned.linear().mag(), Kt::Vector(1, 2, 3).mag(), 1e-14);
  EXPECT_TRUE(turned.angular().approxEq(rotation * Kt::Vector(-1, 0.5, 2), 1e-15));
}

// Integration clamps inclusively at the limits and reports reaching them; extra velocities
// beyond the joints are ignored and missing ones leave joints alone; the base moves by its
// velocity. A NaN or infinite result (from a non-finite rate, or inf·0) must neither bypass the
// limits nor be stored: the previous value stays and the status says so.
TEST(KtStatedSystemTest, IntegrationClampsAtTheLimitsAndKeepsWhatWouldBecomeNonFinite) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  auto arm =
      makeSerialArm(std::vector<DhRow>(3, DhRow{KtDhType::craig, KtJointType::rotational, 0, 0, 0, 0}));
  for (std::size_t i = 0; i < 3; ++i) arm->linkForModification(i).setJointLimits(-1.0, 1.0);
  const Kt::coordinateSystemTransformation pose(Kt::Vector(1, 2, 3), Kt::Orientation::xRotation(0.5));
  struct Case {
    std::vector<double> q, rates;
    double dt;
    Kt::Vector linear, angular;
    std::vector<double> joints;
    bool limitReached, rejected;
  };
  const std::vector<double> start = {0.5, -0.5, 0.25};
  const Case cases[] = {
      {{0, 0.2, -0.2}, {1, 1, -1}, 0.5, {}, {}, {0.5, 0.7, -0.7}, false, false},
      {{0.5, 0, 0}, {1, 0, 0}, 0.5, {}, {}, {1.0, 0, 0}, true, false},     // lands exactly on the upper limit
      {{0, -0.5, 0}, {0, -1, 0}, 0.5, {}, {}, {0, -1.0, 0}, true, false},  // and on the lower one
      {{0.9, -0.9, 0}, {4, -4, 0}, 0.5, {}, {}, {1.0, -1.0, 0.0}, true, false},
      {{0.1, 0.1, 0.1}, {0.2}, 0.5, {}, {}, {0.2, 0.1, 0.1}, false, false},
      {start, {0.5, 1, 0}, 0.1, {}, {}, {0.55, -0.4, 0.25}, false, false},
      {start, {0, 0, 0}, 0.01, Kt::Vector(0, 2, 0), Kt::Vector(0, 0, 0.1), start, false, false},
      {start, {nan, 1, 0}, 0.1, {}, {}, {0.5, -0.4, 0.25}, false, true},
      {start, {inf, 0, -inf}, 0.0, {}, {}, start, false, true},
      {start, {1e308, 0, 0}, 1e10, {}, {}, start, false, true},
      {start, {0, 0, 0}, 0.1, Kt::Vector(nan, 0, 0), {}, start, false, true},
      {start, {0, 0, 0}, 0.0, Kt::Vector(0, inf, 0), Kt::Vector(0, 0, inf), start, false, true},
  };
  for (const Case& c : cases) {
    KtPositionState positions;
    positions.setJointPositions(c.q);
    positions.setCoordinateSystemTransform(pose);
    KtVelocityState velocities;
    velocities.setJointVelocities(c.rates);
    velocities.generalVelocity().setLinear(c.linear);
    velocities.generalVelocity().setAngular(c.angular);
    KtIntegrationStatus status;
    arm->integrateState(velocities, c.dt, positions, status);
    EXPECT_EQ(status.nonFiniteRejected, c.rejected) << c.rates[0] << " " << c.dt;
    EXPECT_EQ(status.limitReached, c.limitReached) << c.rates[0] << " " << c.dt;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(positions.jointPositions()[i], c.joints[i], 1e-15) << i;
    const Kt::coordinateSystemTransformation& after = positions.coordinateSystemTransform();
    if (c.rejected || c.linear.mag() + c.angular.mag() == 0.0) {
      EXPECT_TRUE(after.translation() == pose.translation() && after.orientation() == pose.orientation());
      continue;
    }
    Kt::Orientation turned = pose.orientation();
    turned.integrateReferenceFrameAngularVelocity(c.angular, c.dt);
    EXPECT_TRUE(after.translation().approxEq(pose.translation() + c.linear * c.dt, 1e-15));
    EXPECT_TRUE(after.orientation().approxEq(turned, 1e-15));
  }
}

// Limits are an interval, unbounded where an infinity of the right sign stands; anything
// else (inverted, NaN, the wrong infinity) is refused and the old limits stay.
TEST(KtStatedSystemTest, SetJointLimitAcceptsOnlyAnInterval) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  KtStatedSystem stated = twoArmSystem();
  const KtManipulatorLink& link = stated.system().manipulator(1).link(2);
  const struct {
    double lower, upper;
    bool accepted;
  } cases[] = {{-1, 1, true},       {0.5, 0.5, true},   {-inf, inf, true}, {-inf, 2, true},
               {1, -1, false},      {nan, 1, false},    {0, nan, false},   {inf, inf, false},
               {-inf, -inf, false}, {inf, -inf, false}, {3, inf, true}};
  PrintCapture capture;
  for (const auto& c : cases) {
    const double lower = link.lowerLimitConstraint(), upper = link.upperLimitConstraint();
    EXPECT_EQ(stated.system().setJointLimit(1, 2, c.lower, c.upper), c.accepted) << c.lower << " " << c.upper;
    EXPECT_EQ(link.lowerLimitConstraint(), c.accepted ? c.lower : lower);
    EXPECT_EQ(link.upperLimitConstraint(), c.accepted ? c.upper : upper);
  }
  std::string expected;
  for (const char* limits :
       {"1 and upper limit -1", "nan and upper limit 1", "0 and upper limit nan", "inf and upper limit inf",
        "-inf and upper limit -inf", "inf and upper limit -inf"})
    expected += "KtManipulatorLink::setJointLimits(): lower limit " + std::string(limits) +
                " do not form an interval.\n";
  EXPECT_EQ(capture.text(), expected);
}

TEST(KtStatedSystemTest, InterpolationBlendsJointsAndReportsMismatches) {
  TestRandom rng(42);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    KtPositionState a, b, blend;
    a.setJointPositions(randomJoints(rng, 4));
    b.setJointPositions(randomJoints(rng, 4));
    a.setCoordinateSystemTransform(randomPose(rng));
    b.setCoordinateSystemTransform(randomPose(rng));
    const double s = rng.uniform(0, 1);
    ASSERT_TRUE(blend.linearInterpolation(a, b, s));
    for (std::size_t j = 0; j < 4; ++j) {
      const double lo = std::min(a.jointPositions()[j], b.jointPositions()[j]);
      const double hi = std::max(a.jointPositions()[j], b.jointPositions()[j]);
      EXPECT_GE(blend.jointPositions()[j], lo - 1e-15);
      EXPECT_LE(blend.jointPositions()[j], hi + 1e-15);
    }
    ASSERT_TRUE(blend.linearInterpolation(a, b, 1.0));
    EXPECT_LT(frameDistance(blend.coordinateSystemTransform(), b.coordinateSystemTransform()), 1e-12);
  }
  KtPositionState a, b, blend;
  a.setJointPositions({1, 2});
  b.setJointPositions({1});
  KtManipulatorSystemState one, two, target;
  one.positionStates().resize(1);
  PrintCapture capture;
  EXPECT_FALSE(blend.linearInterpolation(a, b, 0.5));
  EXPECT_FALSE(target.linearFactorInterpolation(one, two, 0.5));
  EXPECT_EQ(capture.text(),
            "KtPositionState::linearInterpolation(): the two joint-position sizes (2 and 1) do not match\n"
            "KtManipulatorSystemState::linearFactorInterpolation: positionStates size mismatch.\n");
  two.positionStates().resize(1);
  one.setTime(1.0);
  two.setTime(3.0);
  EXPECT_TRUE(target.linearFactorInterpolation(one, two, 0.25));
  EXPECT_EQ(target.time(), 1.5);
}

TEST(KtStatedSystemTest, LinkReferencesAndSelfCollisionExclusions) {
  auto arm = makeSerialArm(craigArmRows());
  KtManipulatorLink& link = arm->linkForModification(2);
  link.setLinkReference("link5");
  EXPECT_EQ(link.referencedLink(), &arm->link(4));
  PrintCapture capture;
  link.setLinkReference("nowhere");
  EXPECT_EQ(link.referencedLink(), &link);
  EXPECT_EQ(
      capture.text(),
      "KtManipulatorLink::setLinkReference(): could not find link with label nowhere for referencing.  Using "
      "self.\n");
  EXPECT_TRUE(arm->canCollide(1, 5));
  arm->excludeSelfCollision("link6", "link2");
  EXPECT_FALSE(arm->canCollide(1, 5));
  EXPECT_FALSE(arm->canCollide(5, 1));
  EXPECT_FALSE(arm->canCollide(3, 3));
}

#include <gtest/gtest.h>

#include <functional>

#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtSpatialMomentumEndEffector.h"
#include "support/PrintCapture.h"

using namespace endeffector_test;
using manipulator_test::expectNear;

namespace {

const char* const kSamples[] = {"craig_arm.xml", "paul_arm.xml"};

std::size_t columnCount(const KtIndividualManipulator& arm) {
  return arm.jointDof() + (arm.isFixedBase() ? 0 : 6);
}

Kt::ReArray jacobianOf(const KtEndEffector& endEffector, KtStatedSystem& stated) {
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  Kt::ReArray jacobian(endEffector.rowCount(), columnCount(arm));
  endEffector.insertJacobianComponent(arm, 0, endEffector.relativeLinkData(), arm.isFixedBase(),
                                      *stated.activeState(0), jacobian);
  return jacobian;
}

}  // namespace

// J q̇ is the manipulator's momentum computed body by body from the link velocities: Σ m v at
// each centre of mass, and Σ (I w + m (c − C) × v) about the common centre C. The centre-of-mass
// rows give the momentum over the mass (its acceleration is the composite momentum's rate over
// the mass).
TEST(KtMassEndEffectorsTest, MomentumRowsTimesRatesAreTheMomentum) {
  TestRandom rng(62);
  for (const char* name : kSamples) {
    for (int c = 0; c < std::max(2, TestRandom::cases() / 25); ++c) {
      KtStatedSystem stated = massiveSample(name, rng, c % 2 == 1);
      const KtIndividualManipulator& arm = stated.system().manipulator(0);
      KtManipulatorActiveState& state = *stated.activeState(0);
      std::vector<const KtManipulatorLink*> bodies = {&arm};
      for (std::size_t i = 0; i < arm.jointDof(); ++i) bodies.push_back(&arm.link(i));
      KtReal mass = 0.0;
      Kt::Vector firstMoment, linear, angular;
      for (const KtManipulatorLink* body : bodies) {
        mass += body->massProperties().mass();
        firstMoment += body->primaryFrameInSystem(state) * body->massProperties().centerOfMass() *
                       body->massProperties().mass();
      }
      const Kt::Vector center = firstMoment / mass;
      for (const KtManipulatorLink* body : bodies) {
        const KtMassProperties& properties = body->massProperties();
        KtGeneralMotion frame;
        ASSERT_TRUE(body->dhFrameVelocityInSystem(state, frame));
        const Kt::Vector c = body->primaryFrameInSystem(state) * properties.centerOfMass();
        const Kt::Vector momentum =
            (frame.linear() + frame.angular().cross(c - body->dhFrameInSystem(state).translation())) *
            properties.mass();
        const Kt::Orientation& axes = body->primaryFrameInSystem(state).orientation();
        linear += momentum;
        angular += axes * (properties.inertiaAboutCenterOfMass() * (axes.inverse() * frame.angular())) +
                   (c - center).cross(momentum);
      }
      const std::string what = std::string(name) + (c % 2 == 1 ? " free" : " fixed");
      KtSpatialMomentumEndEffector momentum;
      momentum.setIncludeAngular(true);
      const Kt::ReArray rows = jacobianOf(momentum, stated);
      expectNear(timesRates(rows, 0, stated), linear, 1e-9, what + " linear");
      expectNear(timesRates(rows, 3, stated), angular, 1e-9, what + " angular");
      KtCenterOfMassEndEffector com;
      expectNear(timesRates(jacobianOf(com, stated), 0, stated), linear / mass, 1e-9, what + " com");
      Kt::Vector compositeLinear, compositeAngular;
      KtGeneralMotion velocity;
      const Kt::Orientation& baseAxes = arm.dhFrameInSystem(state).orientation();
      ASSERT_TRUE(arm.compositeSpatialMomentumRateInLocal(state, compositeLinear, compositeAngular));
      ASSERT_TRUE(com.calculateAcceleration(arm, state, velocity));
      expectNear(velocity.linear(), baseAxes * compositeLinear / mass, 1e-9, what + " com acceleration");
    }
  }
}

// Every failure prints its exact message and leaves its output alone (a bad reference link
// still lets the rows of the own chains be written).
TEST(KtMassEndEffectorsTest, FailuresReportExactly) {
  TestRandom rng(63);
  KtStatedSystem massless = sampleSystem("paul_arm.xml", rng);
  KtStatedSystem massive = massiveSample("craig_arm.xml", rng, false);
  const KtIndividualManipulator &bare = massless.system().manipulator(0),
                                &arm = massive.system().manipulator(0);
  KtManipulatorActiveState &bareState = *massless.activeState(0), &state = *massive.activeState(0);
  KtEndEffectorRelativeLinkData badReference;
  badReference.setRelativeLinkId("noSuchLink");
  badReference.setIsRelativeLink(true);
  KtCenterOfMassEndEffector com, relativeCom;
  relativeCom.setRelativeLinkData(badReference);
  KtSpatialMomentumEndEffector momentum, relativeMomentum;
  relativeMomentum.setRelativeLinkData(badReference);
  Kt::ReArray matrix = filled(3, 7, 5.0), small = filled(2, 7, 5.0), scratch(3, 7);
  Kt::coordinateSystemTransformation placement(Kt::Vector(1, 2, 3));
  KtGeneralMotion motion(Kt::Vector(1, 1, 1), Kt::Vector(1, 1, 1));
  const struct {
    std::function<void()> act;
    std::string message;
  } cases[] = {
      {[&] { EXPECT_FALSE(com.calculatePlacement(bare, bareState, placement)); },
       "KtCenterOfMassEndEffector::calculatePlacement(): manipulator paulArm has no mass.\n"},
      {[&] { com.insertJacobianComponent(bare, 0, {}, true, bareState, matrix); },
       "KtCenterOfMassEndEffector::insertJacobianComponent(): manipulator paulArm has no mass.\n"},
      {[&] { EXPECT_FALSE(com.calculateVelocity(bare, bareState, motion)); },
       "KtCenterOfMassEndEffector::calculateVelocity(): manipulator paulArm has no mass.\n"},
      {[&] { EXPECT_FALSE(relativeCom.calculatePlacement(arm, state, placement)); },
       "KtCenterOfMassEndEffector::calculatePlacement(): bad index on relative link: -1.\n"},
      {[&] { EXPECT_FALSE(relativeCom.calculateAcceleration(arm, state, motion)); },
       "KtCenterOfMassEndEffector::calculateAcceleration(): bad index on relative link: -1.\n"},
      {[&] { EXPECT_FALSE(relativeMomentum.calculatePlacement(arm, state, placement)); },
       "KtSpatialMomentumEndEffector::calculatePlacement(): bad index on relative link: -1.\n"},
      {[&] { relativeCom.insertJacobianComponent(arm, 0, badReference, true, state, scratch); },
       "KtCenterOfMassEndEffector::insertJacobianComponent(): bad index on relative link: -1.\n"},
      {[&] { relativeMomentum.insertSparsityComponent(arm, 0, badReference, true, state, scratch); },
       "KtSpatialMomentumEndEffector::insertSparsityComponent(): bad index on relative link: -1.\n"},
      {[&] { com.insertSparsityComponent(arm, 0, {}, true, state, small); },
       "KtCenterOfMassEndEffector::insertSparsityComponent(): rows 0 to 2 and 7 columns do not fit a 2 x 7 "
       "matrix.\n"},
      {[&] { momentum.insertJacobianComponent(arm, 1, {}, true, state, matrix); },
       "KtSpatialMomentumEndEffector::insertJacobianComponent(): rows 1 to 3 and 7 columns do not fit a 3 x "
       "7 matrix.\n"},
  };
  for (const auto& c : cases) {
    PrintCapture capture;
    c.act();
    EXPECT_EQ(capture.text(), c.message);
  }
  for (std::size_t r = 0; r < 3; ++r)
    for (std::size_t col = 0; col < 7; ++col) EXPECT_EQ(matrix[r][col], 5.0);
  EXPECT_EQ(placement.translation(), Kt::Vector(1, 2, 3));
  EXPECT_EQ(motion.linear(), Kt::Vector(1, 1, 1));
}

// The momentum filter commands the desired momenta plus the feed-forward, the editing labels
// reaching them; the momentum is no distance.
TEST(KtMassEndEffectorsTest, MomentumFilterCommandsTheDesiredMomenta) {
  KtSpatialMomentumEndEffector momentum;
  momentum.setDesiredLinearMomentum(Kt::Vector(1, 2, 3));
  momentum.setDesiredAngularMomentum(Kt::Vector(4, 5, 6));
  const Kt::coordinateSystemTransformation at;
  KtEndEffectorVelocityEntries commanded;
  momentum.filterEndEffectorVelocity(at, at, {}, 0.01, commanded);
  EXPECT_EQ(commanded, (KtEndEffectorVelocityEntries{1, 2, 3}));
  EXPECT_TRUE(momentum.setEditingValue("angular_y", "-5"));
  momentum.setIncludeAngular(true);
  EXPECT_EQ(momentum.rowCount(), 6u);
  momentum.filterEndEffectorVelocity(at, at, {1, 1, 1, 1, 1, 1}, 0.01, commanded);
  EXPECT_EQ(commanded, (KtEndEffectorVelocityEntries{2, 3, 4, 5, -4, 7}));
  EXPECT_EQ(momentum.linearDistance(at, Kt::coordinateSystemTransformation(Kt::Vector(1, 0, 0))), 0.0);
}

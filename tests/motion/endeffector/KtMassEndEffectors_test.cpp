#include <gtest/gtest.h>

#include <functional>

#include "motion/endeffector/EndEffectorOracle.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtSpatialMomentumEndEffector.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace endeffector_test;
using manipulator_test::expectNear;
using manipulator_test::randomMassProperties;

namespace {

const char* const kSamples[] = {"craig_arm.xml", "paul_arm.xml"};

// A sample at a random state, its links given random masses where the sample has none and its
// base a random mass, with the base fixed or free and random joint rates (and base velocity).
KtStatedSystem massiveSample(const char* name, TestRandom& rng, bool freeBase) {
  KtStatedSystem stated = sampleSystem(name, rng);
  KtIndividualManipulator& arm = stated.system().manipulator(0);
  for (std::size_t i = 0; i < arm.jointDof(); ++i)
    if (arm.link(i).massProperties().isMassless())
      arm.linkForModification(i).setMassProperties(randomMassProperties(rng));
  arm.setMassProperties(randomMassProperties(rng));
  arm.setFixedBase(!freeBase);
  KtVelocityState rates;
  rates.setJointVelocities(manipulator_test::randomJoints(rng, arm.jointDof(), 2.0));
  const auto vector = [&rng] {
    return Kt::Vector(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1));
  };
  if (freeBase) rates.generalVelocity() = KtGeneralMotion(vector(), vector());  // a fixed base stays put
  stated.setIndividualState(0, rates);
  return stated;
}

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

// Rows k.. of J times the joint rates and base velocity of the state, as a vector.
Kt::Vector timesRates(const Kt::ReArray& jacobian, std::size_t firstRow, KtStatedSystem& stated) {
  const KtVelocityState& rates = stated.state().velocityStates()[0];
  const std::size_t joints = rates.jointVelocities().size();
  Kt::Vector product;
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t c = 0; c < jacobian.columns(); ++c) {
      const Kt::Vector& base =
          c < joints + 3 ? rates.generalVelocity().linear() : rates.generalVelocity().angular();
      product[k] +=
          jacobian[firstRow + k][c] * (c < joints ? rates.jointVelocities()[c] : base[(c - joints) % 3]);
    }
  }
  return product;
}

// A matrix whose every entry is 5, to see which entries a call writes.
Kt::ReArray filled(std::size_t rows, std::size_t columns) {
  Kt::ReArray matrix(rows, columns);
  for (std::size_t r = 0; r < rows; ++r)
    for (std::size_t c = 0; c < columns; ++c) matrix[r][c] = 5.0;
  return matrix;
}

}  // namespace

// The centre-of-mass rows are the rates of its own placement (central differences), absolute
// and relative, fixed and free base; they give its velocity, and the sparsity covers every
// non-zero entry.
TEST(KtMassEndEffectorsTest, CenterOfMassRowsAreRatesOfItsPlacement) {
  TestRandom rng(61);
  for (const char* name : kSamples) {
    for (int c = 0; c < std::max(4, TestRandom::cases() / 25); ++c) {
      const bool freeBase = c % 2 == 1, relative = c % 4 >= 2;
      KtStatedSystem stated = massiveSample(name, rng, freeBase);
      const KtIndividualManipulator& arm = stated.system().manipulator(0);
      KtCenterOfMassEndEffector com;
      KtEndEffectorRelativeLinkData data;
      data.setRelativeLinkId(arm.link(2).identifier());
      data.setIsRelativeLink(relative);
      com.setRelativeLinkData(data);
      const Kt::ReArray jacobian = jacobianOf(com, stated);
      const Kt::ReArray rates = placementRates(stated, com, freeBase);
      const Kt::Orientation axes =
          relative ? arm.link(2).primaryFrameInSystem(*stated.activeState(0)).orientation()
                   : Kt::Orientation();
      Kt::ReArray expected(3, rates.columns());
      for (std::size_t col = 0; col < rates.columns(); ++col) {
        const Kt::Vector rate = axes * Kt::Vector(rates[0][col], rates[1][col], rates[2][col]);
        for (std::size_t k = 0; k < 3; ++k) expected[k][col] = rate[k];
      }
      const std::string what =
          std::string(name) + (freeBase ? " free" : " fixed") + (relative ? " relative" : "");
      expectMatrixNear(jacobian, expected, 1e-6, what);
      KtGeneralMotion velocity;
      ASSERT_TRUE(com.calculateVelocity(arm, *stated.activeState(0), velocity));
      expectNear(velocity.linear(), timesRates(jacobian, 0, stated), 1e-9, what + " velocity");
      Kt::ReArray sparsity(3, columnCount(arm));
      com.insertSparsityComponent(arm, 0, data, arm.isFixedBase(), *stated.activeState(0), sparsity);
      for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t col = 0; col < jacobian.columns(); ++col)
          EXPECT_TRUE(jacobian[r][col] == 0.0 || sparsity[r][col] == 1.0)
              << what << " at " << r << ", " << col;
    }
  }
}

// J q̇ is the manipulator's momentum computed body by body from the link velocities: Σ m v at
// each centre of mass, and Σ (I w + m (c − C) × v) about the common centre C. It is also the
// base's composite momentum, and the centre-of-mass rows give the momentum over the mass (its
// acceleration is the composite momentum's rate over the mass).
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
      Kt::Vector compositeLinear, compositeAngular;
      ASSERT_TRUE(arm.compositeSpatialMomentumInLocal(state, compositeLinear, compositeAngular));
      const Kt::Orientation& baseAxes = arm.dhFrameInSystem(state).orientation();
      expectNear(baseAxes * compositeLinear, linear, 1e-9, what + " composite linear");
      expectNear(baseAxes * compositeAngular, angular, 1e-9, what + " composite angular");

      KtCenterOfMassEndEffector com;
      expectNear(timesRates(jacobianOf(com, stated), 0, stated), linear / mass, 1e-9, what + " com");
      KtGeneralMotion velocity;
      ASSERT_TRUE(com.calculateVelocity(arm, state, velocity));
      expectNear(velocity.linear(), linear / mass, 1e-9, what + " com velocity");
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
  Kt::ReArray matrix = filled(3, 7), small = filled(2, 7), scratch(3, 7);
  Kt::coordinateSystemTransformation placement(Kt::Vector(1, 2, 3));
  KtGeneralMotion motion(Kt::Vector(1, 1, 1), Kt::Vector(1, 1, 1));
  KtEndEffectorVelocityEntries commanded = {7.0};
  const Kt::coordinateSystemTransformation at;
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
       "7 "
       "matrix.\n"},
      {[&] {
         com.filterEndEffectorVelocity(at, at, {1.0, 2.0}, 0.01, commanded);
       },
       "KtCenterOfMassEndEffector::filterEndEffectorVelocity input velocity size wrong.\n"},
      {[&] {
         momentum.filterEndEffectorVelocity(at, at, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0}, 0.01, commanded);
       },
       "KtSpatialMomentumEndEffector::filterEndEffectorVelocity input velocity size wrong.\n"},
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
  EXPECT_EQ(commanded, KtEndEffectorVelocityEntries{7.0});
}

// The momentum filter commands the desired momenta plus the feed-forward; the centre-of-mass
// filter limits the correction to its threshold; editing labels reach the parameters; both
// classes come back unchanged from a document.
TEST(KtMassEndEffectorsTest, FiltersEditingAndDocuments) {
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

  KtCenterOfMassEndEffector com;
  EXPECT_TRUE(com.setEditingValue("filter_threshold", "0.25"));
  EXPECT_EQ(com.motionThreshold(), 0.25);
  const Kt::coordinateSystemTransformation far(Kt::Vector(0, 3, 4));
  com.filterEndEffectorVelocity(at, far, {0, 0, 1}, 0.01, commanded);
  EXPECT_EQ(commanded.size(), 3u);
  expectNear(Kt::Vector(commanded[0], commanded[1], commanded[2]), Kt::Vector(0, 0.15, 1.2), 1e-15, "filter");
  EXPECT_DOUBLE_EQ(com.normalizedDistance(at, far), 20.0);

  for (const KtEndEffector* endEffector : std::initializer_list<const KtEndEffector*>{&com, &momentum}) {
    std::unique_ptr<KtXmlObject> read = endEffector->newInstance();
    ASSERT_TRUE(ktTestRead(*read, ktTestWrite(*endEffector)));
    EXPECT_TRUE(read->isEqual(*endEffector));
  }
}

TEST(KtMassEndEffectorsTest, WarmHotPathsDoNotAllocate) {
  TestRandom rng(64);
  KtStatedSystem stated = massiveSample("craig_arm.xml", rng, true);
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  KtCenterOfMassEndEffector com;
  KtSpatialMomentumEndEffector momentum;
  momentum.setIncludeAngular(true);
  Kt::ReArray jacobian(9, 13), sparsity(9, 13);
  Kt::coordinateSystemTransformation placement;
  KtGeneralMotion motion;
  KtEndEffectorVelocityEntries commanded(6), feedForward(3, 0.5);
  const auto run = [&] {
    for (const KtEndEffector* endEffector : std::initializer_list<const KtEndEffector*>{&com, &momentum}) {
      const std::size_t row = endEffector == &com ? 0 : 3;
      endEffector->calculatePlacement(arm, state, placement);
      endEffector->calculateVelocity(arm, state, motion);
      endEffector->insertJacobianComponent(arm, row, {}, false, state, jacobian);
      endEffector->insertSparsityComponent(arm, row, {}, false, state, sparsity);
    }
    com.filterEndEffectorVelocity(placement, placement, feedForward, 0.01, commanded);
    momentum.filterEndEffectorVelocity(placement, placement, {}, 0.01, commanded);
  };
  run();
  NoAllocationGuard guard;
  run();
}

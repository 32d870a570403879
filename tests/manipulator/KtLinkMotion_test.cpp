#include <gtest/gtest.h>

#include "manipulator/ManipulatorTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"

using namespace manipulator_test;

namespace {

// A moving manipulator: joint positions and rates, and a base that translates and turns at
// constant rates. Its pose at any time t is known in closed form, which gives the finite
// differences their reference.
struct Motion {
  Kt::coordinateSystemTransformation basePose;
  Kt::Vector baseLinear, baseAngular;
  std::vector<double> q, rates;

  static Motion random(TestRandom& rng, std::size_t joints) {
    const Kt::coordinateSystemTransformation pose = randomPose(rng);
    const Kt::Vector linear = randomVector(rng), angular = randomVector(rng);
    return {pose, linear, angular, randomJoints(rng, joints), randomJoints(rng, joints, 2.0)};
  }

  KtVelocityState velocityState() const {
    KtVelocityState state;
    state.setJointVelocities(rates);
    state.generalVelocity().setLinear(baseLinear);
    state.generalVelocity().setAngular(baseAngular);
    return state;
  }

  // The active state at time t, with the (constant) velocity state.
  void place(KtManipulatorActiveState& active, double t) const {
    Kt::Orientation turn;
    turn.setFromAngleAxis(baseAngular.mag() * t, baseAngular.unitVector());
    active.activePositionState().setBasePose(Kt::coordinateSystemTransformation(
        basePose.translation() + baseLinear * t, turn * basePose.orientation()));
    std::vector<double> joints = q;
    for (std::size_t i = 0; i < joints.size(); ++i) joints[i] += rates[i] * t;
    active.activePositionState().setJointPositions(joints);
    active.setVelocityState(velocityState());
  }
};

// An arm of every D-H and joint type whose links carry primary offsets, with a side branch of
// two links, and mass on every link and on the base.
std::unique_ptr<KtIndividualManipulator> movingArm(TestRandom& rng) {
  auto arm = mixedArm(rng, 10);
  const int branch =
      arm->addLink(3, makeLink(randomJoint(rng, KtDhType::craig, KtJointType::rotational), "side1"));
  arm->addLink(branch, makeLink(randomJoint(rng, KtDhType::paul, KtJointType::prismatic), "side2"));
  for (std::size_t i = 0; i < arm->jointDof(); i += 3)
    arm->linkForModification(i).kinematics().setPrimaryFrame(randomPose(rng));
  for (std::size_t i = 0; i < arm->jointDof(); ++i)
    arm->linkForModification(i).setMassProperties(randomMassProperties(rng));
  arm->setMassProperties(randomMassProperties(rng));
  return arm;
}

constexpr double kStep = 1e-5;
constexpr double kTolerance = 1e-7;

using MomentumQuery = bool (KtManipulatorLink::*)(KtManipulatorActiveState&, Kt::Vector&, Kt::Vector&) const;

// A momentum query's vectors in system axes.
std::pair<Kt::Vector, Kt::Vector> inSystem(const KtManipulatorLink& link, KtManipulatorActiveState& state,
                                           MomentumQuery query) {
  Kt::Vector linear, angular;
  EXPECT_TRUE((link.*query)(state, linear, angular));
  const Kt::Orientation& toSystem = link.dhFrameInSystem(state).orientation();
  return {toSystem * linear, toSystem * angular};
}

Kt::Vector centerInSystem(const KtManipulatorLink& link, KtManipulatorActiveState& state) {
  return link.primaryFrameInSystem(state) * link.massProperties().centerOfMass();
}

void collectSubtree(const KtManipulatorLink& link, std::vector<const KtManipulatorLink*>& links) {
  links.push_back(&link);
  for (std::size_t i = 0; i < link.childCount(); ++i) collectSubtree(link.child(i), links);
}

}  // namespace

// For seeded random motions of an arm of every joint type with a side branch and mass on every
// body, at the base and every link: the velocities of the frames, the motion of the centre of
// mass and the momenta (m v and I w, w from the frames; composite ones gathered from the subtree
// about its common centre of mass) are the time derivatives of the frames along the motion, and
// the accelerations and momentum rates those of the velocities and momenta, by central
// differences. Accelerations are reported in the D-H frame's axes.
TEST(KtLinkMotionTest, MotionsAndMomentaAreDerivativesAlongTheMotion) {
  TestRandom rng(41);
  const auto arm = movingArm(rng);
  const auto rate = [](const Kt::Vector& behind, const Kt::Vector& ahead) {
    return (ahead - behind) * (0.5 / kStep);
  };
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const Motion motion = Motion::random(rng, arm->jointDof());
    KtManipulatorActiveState now, before, after;
    motion.place(now, 0.0);
    motion.place(before, -kStep);
    motion.place(after, kStep);
    for (int index = -1; index < static_cast<int>(arm->jointDof()); ++index) {
      const KtManipulatorLink& link = index < 0 ? *arm : arm->link(static_cast<std::size_t>(index));
      const std::string name = "link " + std::to_string(index);
      const Kt::coordinateSystemTransformation &dh0 = link.dhFrameInSystem(before),
                                               &dh1 = link.dhFrameInSystem(after);
      const Kt::Vector dhLinear = rate(dh0.translation(), dh1.translation());
      const Kt::Vector angular = angularRate(dh0.orientation(), dh1.orientation(), 2 * kStep);
      const Kt::Orientation toLocal = link.dhFrameInSystem(now).orientation().inverse();
      KtGeneralMotion velocity, v0, v1, acceleration;
      ASSERT_TRUE(link.dhFrameVelocityInSystem(now, velocity));
      expectNear(velocity.linear(), dhLinear, kTolerance, name + " linear");
      expectNear(velocity.angular(), angular, kTolerance, name + " angular");
      ASSERT_TRUE(link.dhFrameVelocityInLocal(now, velocity));
      expectNear(velocity.linear(), toLocal * dhLinear, kTolerance, name + " local linear");
      expectNear(velocity.angular(), toLocal * angular, kTolerance, name + " local angular");
      ASSERT_TRUE(link.primaryFrameVelocityInSystem(now, velocity));
      expectNear(velocity.linear(),
                 rate(link.primaryFrameInSystem(before).translation(),
                      link.primaryFrameInSystem(after).translation()),
                 kTolerance, name + " primary linear");
      expectNear(velocity.angular(), angular, kTolerance, name + " primary angular");

      link.dhFrameVelocityInSystem(before, v0);
      link.dhFrameVelocityInSystem(after, v1);
      ASSERT_TRUE(link.dhFrameAccelerationInLocal(now, acceleration));
      expectNear(acceleration.linear(), toLocal * rate(v0.linear(), v1.linear()), kTolerance,
                 name + " acc linear");
      expectNear(acceleration.angular(), toLocal * rate(v0.angular(), v1.angular()), kTolerance,
                 name + " acc angular");

      const auto systemCom = [&link](KtManipulatorActiveState& state, auto query) {
        KtGeneralMotion local;
        EXPECT_TRUE((link.*query)(state, local));
        return link.dhFrameInSystem(state).orientation() * local.linear();
      };
      const Kt::Vector comVelocity = rate(centerInSystem(link, before), centerInSystem(link, after));
      expectNear(systemCom(now, &KtManipulatorLink::comVelocityInLocal), comVelocity, kTolerance,
                 name + " v");
      expectNear(systemCom(now, &KtManipulatorLink::comAccelerationInLocal),
                 rate(systemCom(before, &KtManipulatorLink::comVelocityInLocal),
                      systemCom(after, &KtManipulatorLink::comVelocityInLocal)),
                 kTolerance, name + " a");

      const KtMassProperties& mass = link.massProperties();
      const Kt::Orientation& axes = link.primaryFrameInSystem(now).orientation();
      const auto [linear, angularMomentum] = inSystem(link, now, &KtManipulatorLink::spatialMomentumInLocal);
      expectNear(linear, comVelocity * mass.mass(), kTolerance, name + " linear momentum");
      expectNear(angularMomentum, axes * (mass.inertiaAboutCenterOfMass() * (axes.inverse() * angular)),
                 kTolerance, name + " angular momentum");

      std::vector<const KtManipulatorLink*> subtree;
      collectSubtree(link, subtree);
      KtReal total = 0.0;
      Kt::Vector firstMoment, gatheredLinear, gatheredAngular;
      for (const KtManipulatorLink* body : subtree) {
        total += body->massProperties().mass();
        firstMoment += centerInSystem(*body, now) * body->massProperties().mass();
      }
      for (const KtManipulatorLink* body : subtree) {
        const auto [p, l] = inSystem(*body, now, &KtManipulatorLink::spatialMomentumInLocal);
        gatheredLinear += p;
        gatheredAngular += l + (centerInSystem(*body, now) - firstMoment / total).cross(p);
      }
      const auto [compositeLinear, compositeAngular] =
          inSystem(link, now, &KtManipulatorLink::compositeSpatialMomentumInLocal);
      expectNear(compositeLinear, gatheredLinear, kTolerance, name + " composite linear");
      expectNear(compositeAngular, gatheredAngular, kTolerance, name + " composite angular");

      const std::pair<MomentumQuery, MomentumQuery> momenta[] = {
          {&KtManipulatorLink::spatialMomentumInLocal, &KtManipulatorLink::spatialMomentumRateInLocal},
          {&KtManipulatorLink::compositeSpatialMomentumInLocal,
           &KtManipulatorLink::compositeSpatialMomentumRateInLocal}};
      for (const auto& [momentum, momentumRate] : momenta) {
        const auto [linear0, angular0] = inSystem(link, before, momentum);
        const auto [linear1, angular1] = inSystem(link, after, momentum);
        const auto [linearRate, angularRate] = inSystem(link, now, momentumRate);
        expectNear(linearRate, rate(linear0, linear1), kTolerance, name + " linear rate");
        expectNear(angularRate, rate(angular0, angular1), kTolerance, name + " angular rate");
      }
    }
  }
}

// Cached motions never outlive what they were computed from: after each kind of change every
// link's motion equals that of a state that computes it afresh.
TEST(KtLinkMotionTest, NoMotionIsStaleAfterAnyChange) {
  TestRandom rng(43);
  auto arm = movingArm(rng);
  Motion motion = Motion::random(rng, arm->jointDof());
  KtManipulatorActiveState active;
  const auto expectFresh = [&](const char* change) {
    KtManipulatorActiveState fresh;
    motion.place(fresh, 0.0);
    for (std::size_t i = arm->jointDof(); i-- > 0;) {
      KtGeneralMotion cached, expected;
      arm->link(i).dhFrameAccelerationInLocal(active, cached);
      arm->link(i).dhFrameAccelerationInLocal(fresh, expected);
      ASSERT_EQ(cached.linear(), expected.linear()) << change << ", link " << i;
      ASSERT_EQ(cached.angular(), expected.angular()) << change << ", link " << i;
      arm->link(i).primaryFrameVelocityInSystem(active, cached);
      arm->link(i).primaryFrameVelocityInSystem(fresh, expected);
      ASSERT_EQ(cached.linear(), expected.linear()) << change << ", link " << i;
      ASSERT_EQ(cached.angular(), expected.angular()) << change << ", link " << i;
    }
  };
  motion.place(active, 0.0);
  expectFresh("first query");
  motion.q[4] += 0.25;
  active.activePositionState().setJointPositions(motion.q);
  expectFresh("a joint position");
  motion.rates[2] -= 0.5;
  active.setVelocityState(motion.velocityState());
  expectFresh("a joint rate");
  motion.baseAngular = Kt::Vector(0.3, -0.2, 0.1);
  active.setVelocityState(motion.velocityState());
  expectFresh("the base velocity");
  motion.basePose = randomPose(rng);
  active.activePositionState().setBasePose(motion.basePose);
  expectFresh("the base pose");
  arm->linkForModification(1).denavitHartenberg()->setA(0.75);
  expectFresh("a model parameter");
}

// Once warm, setting joints (all or one) and rates and asking frames and motions allocate nothing.
TEST(KtLinkMotionTest, WarmQueriesDoNotAllocate) {
  TestRandom rng(44);
  const auto arm = makeSerialArm(craigArmRows());
  const Motion first = Motion::random(rng, 7), second = Motion::random(rng, 7);
  const KtVelocityState firstRates = first.velocityState(), secondRates = second.velocityState();
  KtManipulatorActiveState active;
  first.place(active, 0.0);
  KtGeneralMotion motion;
  arm->link(6).dhFrameAccelerationInLocal(active, motion);
  NoAllocationGuard guard;
  for (int i = 0; i < 10; ++i) {
    active.activePositionState().setJointPositions(i % 2 == 0 ? second.q : first.q);
    active.setVelocityState(i % 2 == 0 ? secondRates : firstRates);
    for (std::size_t link = 0; link < 7; ++link) arm->link(link).dhFrameAccelerationInLocal(active, motion);
    active.activePositionState().setJointPosition(2, 0.1 * i);
    for (std::size_t link = 0; link < 7; ++link) arm->link(link).primaryFrameInSystem(active);
  }
}

// A state one link short: frames are the identity and motions zero, each with its message.
TEST(KtLinkMotionTest, OutOfRangeIndicesReportAndGiveIdentityOrZero) {
  const auto arm = makeSerialArm(craigArmRows());
  KtManipulatorActiveState active;
  active.setVelocityState(
      Motion{{}, {1, 2, 3}, {0.1, 0.2, 0.3}, {}, std::vector<double>(7, 1.0)}.velocityState());
  active.activePositionState().setJointPositions(std::vector<double>(7, 0.3));
  arm->link(6).dhFrameInSystem(active);
  active.activePositionState().resizeLinkFrames(6);  // a state one link short
  const KtManipulatorLink& link = arm->link(6);
  PrintCapture capture;
  EXPECT_EQ(link.primaryFrameInSystem(active).mode(), Kt::coordinateSystemTransformation::modeIdentity);
  EXPECT_EQ(link.dhFrameInSystem(active).mode(), Kt::coordinateSystemTransformation::modeIdentity);
  EXPECT_FALSE(arm->canCollide(0, 7));
  KtGeneralMotion motion(Kt::Vector(1, 1, 1), Kt::Vector(1, 1, 1));
  Kt::Vector linear(1, 1, 1), angular(1, 1, 1);
  EXPECT_FALSE(link.primaryFrameVelocityInSystem(active, motion));
  EXPECT_EQ(motion.linear(), Kt::Vector());
  EXPECT_FALSE(link.dhFrameVelocityInSystem(active, motion));
  EXPECT_FALSE(link.dhFrameVelocityInLocal(active, motion));
  EXPECT_FALSE(link.comVelocityInLocal(active, motion));
  EXPECT_FALSE(link.comAccelerationInLocal(active, motion));
  EXPECT_FALSE(link.dhFrameAccelerationInLocal(active, motion));
  EXPECT_FALSE(link.dhFrameForceInLocal(active, linear, angular));
  EXPECT_FALSE(arm->dhFrameForceInLocal(active, linear, angular));  // the base has no joint force
  EXPECT_FALSE(link.spatialMomentumInLocal(active, linear, angular));
  EXPECT_FALSE(link.spatialMomentumRateInLocal(active, linear, angular));
  EXPECT_FALSE(link.compositeSpatialMomentumInLocal(active, linear, angular));
  EXPECT_FALSE(link.compositeSpatialMomentumRateInLocal(active, linear, angular));
  EXPECT_EQ(linear, Kt::Vector());
  EXPECT_EQ(
      capture.text(),
      "KtManipulatorLink::primaryFrameInSystem(): index 6 out of range 6.\n"
      "KtManipulatorLink::dhFrameInSystem(): index out of range.\n"
      "KtIndividualManipulator::canCollide(): indices (0,7) out of range.  Returning False.\n"
      "KtManipulatorLink::primaryFrameVelocityInSystem(): index 6  out of range 6.\n"
      "KtManipulatorLink::dhFrameVelocityInSystem(): index out of range.\n"
      "KtManipulatorLink::dhFrameVelocityInLocal(): link index 6 not in the range of the active state.\n"
      "This can be caused by the system and state not having the same size.\n"
      "KtManipulatorLink::comVelocityInLocal(): link index 6 not in the range of the active state.\n"
      "KtManipulatorLink::comAccelerationInLocal(): link index 6 not in the range of the active state.\n"
      "KtManipulatorLink::dhFrameAccelerationInLocal(): index out of range.\n"
      "KtManipulatorLink::dhFrameForceInLocal(): acc. index out of range.\n"
      "KtManipulatorLink::dhFrameForceInLocal(): force index out of range.\n"
      "KtManipulatorLink::spatialMomentumInLocal(): index (6) out of range.\n"
      "KtManipulatorLink::spatialMomentumRateInLocal(): index (6) out of range.\n"
      "KtManipulatorLink::compositeSpatialMomentumInLocal(): index (6) out of range.\n"
      "KtManipulatorLink::compositeSpatialMomentumRateInLocal(): index (6) out of range.\n");

  // In range, the centre-of-mass motion of a massless link is that of its primary frame's
  // origin (here the D-H frame's), and the link carries no momentum.
  capture.clear();
  KtGeneralMotion com, dh;
  EXPECT_TRUE(arm->link(5).comVelocityInLocal(active, com));
  arm->link(5).dhFrameVelocityInLocal(active, dh);
  EXPECT_EQ(com.linear(), dh.linear());
  EXPECT_NE(com.linear(), Kt::Vector());
  EXPECT_TRUE(arm->link(5).compositeSpatialMomentumInLocal(active, linear, angular));
  EXPECT_EQ(capture.text(), "");
}

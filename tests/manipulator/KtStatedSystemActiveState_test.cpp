#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/AllocationCounter.h"
#include "xml/KtXmlTextDocuments.h"

using namespace manipulator_test;

namespace {

KtPositionState randomPosition(TestRandom& rng) {
  KtPositionState position;
  position.setJointPositions(randomJoints(rng, 7));
  position.setCoordinateSystemTransform(randomPose(rng));
  return position;
}

KtVelocityState randomVelocity(TestRandom& rng) {
  KtVelocityState velocity;
  velocity.setJointVelocities(randomJoints(rng, 7, 2.0));
  velocity.generalVelocity().setLinear(randomPose(rng).translation());
  velocity.generalVelocity().setAngular(randomPose(rng).translation());
  return velocity;
}

KtStatedSystem randomTwoArmSystem(TestRandom& rng) {
  KtStatedSystem stated;
  stated.system().addManipulator(mixedArm(rng, 7));
  stated.system().addManipulator(makeSerialArm(craigArmRows()));
  stated.state().positionStates().resize(2);
  stated.state().velocityStates().resize(2);
  for (int m = 0; m < 2; ++m) stated.setIndividualState(m, randomPosition(rng), randomVelocity(rng));
  EXPECT_TRUE(stated.validateLowLevelDimensions());
  return stated;
}

// Every frame and link velocity of an arm for an active state, deepest link first so that a
// stale ancestor would be used rather than refreshed.
struct Kinematics {
  std::vector<Kt::coordinateSystemTransformation> frames;
  std::vector<Kt::Vector> velocities;
  bool operator==(const Kinematics&) const = default;
};

Kinematics kinematicsOf(const KtIndividualManipulator& arm, KtManipulatorActiveState& active) {
  Kinematics result;
  result.frames.push_back(arm.dhFrameInSystem(active));
  KtGeneralMotion velocity;
  for (std::size_t i = arm.jointDof(); i-- > 0;) {
    result.frames.push_back(arm.link(i).dhFrameInSystem(active));
    result.frames.push_back(arm.link(i).primaryFrameInSystem(active));
    arm.link(i).dhFrameVelocityInSystem(active, velocity);
    result.velocities.push_back(velocity.linear());
    result.velocities.push_back(velocity.angular());
  }
  return result;
}

Kinematics freshKinematics(const KtStatedSystem& stated, std::size_t m) {
  KtManipulatorActiveState fresh;
  fresh.activePositionState().setPositionState(stated.state().positionStates()[m]);
  fresh.setVelocityState(stated.state().velocityStates()[m]);
  return kinematicsOf(stated.system().manipulator(m), fresh);
}

}  // namespace

// After any write, the owned active states answer what a freshly built active state answers,
// and a second query without a write finds every frame and motion still cached.
TEST(KtStatedSystemActiveStateTest, EveryWritePathShowsInTheNextQueryAndOnlyThen) {
  // Each way of changing a stated system, applied to a random manipulator; the copy path checks
  // the new copy instead.
  using Stated = KtStatedSystem;
  std::unique_ptr<Stated> copy;
  const auto pick = [](TestRandom& rng) { return rng.integer(0, 1); };
  const std::vector<std::pair<const char*, std::function<void(Stated&, TestRandom&)>>> paths = {
      {"position", [&](Stated& s, TestRandom& r) { s.setIndividualState(pick(r), randomPosition(r)); }},
      {"velocity", [&](Stated& s, TestRandom& r) { s.setIndividualState(pick(r), randomVelocity(r)); }},
      {"both", [&](Stated& s,
                   TestRandom& r) { s.setIndividualState(pick(r), randomPosition(r), randomVelocity(r)); }},
      {"base pose",
       [&](Stated& s, TestRandom& r) {
         s.setIndividualCoordinateSystemTransformation(pick(r), randomPose(r));
       }},
      {"base velocity",
       [&](Stated& s, TestRandom& r) {
         s.rotateIndividualBaseVelocity(pick(r), randomPose(r).orientation());
       }},
      {"integration",
       [&](Stated& s, TestRandom& r) {
         KtIntegrationStatus status;
         s.integrateIndividualState(pick(r), r.uniform(0.001, 0.1), status);
       }},
      {"state held mutably",
       [&](Stated& s, TestRandom& r) { s.state().positionStates()[pick(r)].jointPositions()[3] += 0.25; }},
      {"read",
       [&](Stated& s, TestRandom& r) {
         Stated changed = s;
         changed.setIndividualState(pick(r), randomPosition(r), randomVelocity(r));
         ASSERT_TRUE(ktTestRead(s, ktTestWrite(changed)));
       }},
      {"assignment",
       [&](Stated& s, TestRandom& r) {
         Stated other = randomTwoArmSystem(r);
         kinematicsOf(other.system().manipulator(0), *other.activeState(0));
         s = other;
       }},
      {"copy",
       [&](Stated& s, TestRandom& r) {
         s.setIndividualState(pick(r), randomPosition(r));
         copy = std::make_unique<Stated>(s);
       }},
      {"system replaced", [&](Stated& s, TestRandom& r) { s.system() = randomTwoArmSystem(r).system(); }},
      {"model changed",
       [&](Stated& s, TestRandom& r) {
         s.system().manipulator(pick(r)).linkForModification(2).denavitHartenberg()->setA(
             r.uniform(-0.5, 0.5));
       }},
  };
  TestRandom rng(61);
  // Each case takes the next write path, so that every path is seen whatever the case count.
  const std::size_t cases =
      std::max<std::size_t>(static_cast<std::size_t>(TestRandom::cases()), paths.size());
  for (std::size_t c = 0; c < cases && !HasFailure(); ++c) {
    const auto& [name, write] = paths[c % paths.size()];
    KtStatedSystem stated = randomTwoArmSystem(rng);
    for (int m = 0; m < 2; ++m) kinematicsOf(stated.system().manipulator(m), *stated.activeState(m));
    copy.reset();
    write(stated, rng);
    KtStatedSystem& written = copy ? *copy : stated;
    for (int m = 0; m < 2; ++m) {
      const KtIndividualManipulator& arm = written.system().manipulator(static_cast<std::size_t>(m));
      KtManipulatorActiveState& active = *written.activeState(m);
      EXPECT_TRUE(kinematicsOf(arm, active) == freshKinematics(written, static_cast<std::size_t>(m)))
          << name << ", manipulator " << m;
      const std::uint64_t frameChanges = active.activePositionState().frameChanges();
      EXPECT_EQ(written.activeState(m), &active) << name;
      EXPECT_EQ(active.activePositionState().frameChanges(), frameChanges) << name;
      for (std::size_t i = 0; i < arm.jointDof(); ++i) {
        EXPECT_TRUE(active.activePositionState().linkFrames(i).isValid() &&
                    active.linkMotions().link(i).valid)
            << name << " link " << i;
      }
    }
  }
}

TEST(KtStatedSystemActiveStateTest, SettingJointsIntegratingAndQueryingAllocateNothingOnceWarm) {
  TestRandom rng(62);
  KtStatedSystem stated = randomTwoArmSystem(rng);
  const KtPositionState first = randomPosition(rng), second = randomPosition(rng);
  const KtManipulatorLink& last = stated.system().manipulator(1).link(6);
  KtIntegrationStatus status;
  last.primaryFrameInSystem(*stated.activeState(1));
  NoAllocationGuard guard;
  for (int i = 0; i < 10; ++i) {
    stated.setIndividualState(1, i % 2 == 0 ? second : first);
    last.primaryFrameInSystem(*stated.activeState(1));
    stated.integrateIndividualState(1, 0.01, status);
    last.primaryFrameInSystem(*stated.activeState(1));
  }
}

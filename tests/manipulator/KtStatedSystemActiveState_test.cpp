#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFile.h"

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

// Each way of changing a stated system, applied to a random manipulator; it answers the stated
// system to check, which is a new one for a copy.
using WritePath = std::function<KtStatedSystem&(KtStatedSystem&, TestRandom&)>;

}  // namespace

// After any write, the owned active states answer what a freshly built active state answers,
// and a second query without a write finds every frame and motion still cached.
TEST(KtStatedSystemActiveStateTest, EveryWritePathShowsInTheNextQueryAndOnlyThen) {
  std::unique_ptr<KtStatedSystem> copy;
  const auto pick = [](TestRandom& rng) { return rng.integer(0, 1); };
  const std::vector<std::pair<const char*, WritePath>> paths = {
      {"position",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.setIndividualState(pick(rng), randomPosition(rng));
         return s;
       }},
      {"velocity",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.setIndividualState(pick(rng), randomVelocity(rng));
         return s;
       }},
      {"both",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.setIndividualState(pick(rng), randomPosition(rng), randomVelocity(rng));
         return s;
       }},
      {"base pose",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.setIndividualCoordinateSystemTransformation(pick(rng), randomPose(rng));
         return s;
       }},
      {"base velocity",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.rotateIndividualBaseVelocity(pick(rng), randomPose(rng).orientation());
         return s;
       }},
      {"integration",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         KtIntegrationStatus status;
         s.integrateIndividualState(pick(rng), rng.uniform(0.001, 0.1), status);
         return s;
       }},
      {"state held mutably",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.state().positionStates()[static_cast<std::size_t>(pick(rng))].jointPositions()[3] += 0.25;
         return s;
       }},
      {"read",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         KtStatedSystem changed = s;
         changed.setIndividualState(pick(rng), randomPosition(rng), randomVelocity(rng));
         std::stringstream document;
         EXPECT_TRUE(ktWriteObjectToStream(changed, document, "sync.xml"));
         EXPECT_TRUE(ktReadObjectFromStream(s, document, "sync.xml"));
         return s;
       }},
      {"assignment",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         KtStatedSystem other = randomTwoArmSystem(rng);
         kinematicsOf(other.system().manipulator(0), *other.activeState(0));
         s = other;
         return s;
       }},
      {"copy",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.setIndividualState(pick(rng), randomPosition(rng));
         copy = std::make_unique<KtStatedSystem>(s);
         return *copy;
       }},
      {"system replaced",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.system() = randomTwoArmSystem(rng).system();
         return s;
       }},
      {"model changed",
       [&](KtStatedSystem& s, TestRandom& rng) -> KtStatedSystem& {
         s.system()
             .manipulator(static_cast<std::size_t>(pick(rng)))
             .linkForModification(2)
             .denavitHartenberg()
             ->setA(rng.uniform(-0.5, 0.5));
         return s;
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
    KtStatedSystem& written = write(stated, rng);
    for (int m = 0; m < 2; ++m) {
      const KtIndividualManipulator& arm = written.system().manipulator(static_cast<std::size_t>(m));
      KtManipulatorActiveState& active = *written.activeState(m);
      EXPECT_TRUE(kinematicsOf(arm, active) == freshKinematics(written, static_cast<std::size_t>(m)))
          << name << ", manipulator " << m;
      const std::uint64_t frameChanges = active.activePositionState().frameChanges();
      EXPECT_EQ(written.activeState(m), &active) << name;
      EXPECT_EQ(active.activePositionState().frameChanges(), frameChanges) << name;
      for (std::size_t i = 0; i < arm.jointDof(); ++i) {
        EXPECT_TRUE(active.activePositionState().linkFrames(i).isValid()) << name << " link " << i;
        EXPECT_TRUE(active.linkMotions().link(i).valid) << name << " link " << i;
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

TEST(KtStatedSystemActiveStateTest, IndicesThatNameNoManipulatorAreReported) {
  TestRandom rng(63);
  KtStatedSystem stated = randomTwoArmSystem(rng);
  KtIntegrationStatus status;
  PrintCapture capture;
  EXPECT_EQ(stated.activeState(2), nullptr);
  EXPECT_EQ(stated.activeState(-1), nullptr);
  EXPECT_FALSE(stated.integrateIndividualState(2, 0.1, status));
  stated.state().velocityStates().resize(1);
  EXPECT_FALSE(stated.integrateIndividualState(1, 0.1, status));
  EXPECT_EQ(capture.text(),
            "KtStatedSystem::activeState(): manipulator index 2 to big for system size, 2\n"
            "KtStatedSystem::activeState(): manipulator index -1 to big for system size, 2\n"
            "KtStatedSystem::integrateIndividualState(): manipulator index 2 to big for system size, 2\n"
            "KtStatedSystem::integrateIndividualState(): manipulator index 1 to big for velocity state size, "
            "1\n");
}

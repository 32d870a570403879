#include <gtest/gtest.h>

#include <functional>

#include "manipulator/KtAttachment.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace manipulator_test;

namespace {

// A small tree: two branches below link 0, one of them two links deep; the base and one link
// carry primary frames.
std::unique_ptr<KtIndividualManipulator> treeArm(TestRandom& rng) {
  auto arm = std::make_unique<KtIndividualManipulator>();
  const auto row = [&rng](KtDhType type) {
    return DhRow{
        type, KtJointType::rotational, rng.uniform(-1, 1), rng.uniform(-kPi, kPi), rng.uniform(-1, 1), 0};
  };
  const int root = arm->addLink(KtManipulatorLink::kBaseLinkIndex, makeLink(row(KtDhType::craig), "root"));
  const int left = arm->addLink(root, makeLink(row(KtDhType::paul), "left"));
  arm->addLink(left, makeLink(row(KtDhType::craig), "leftTip"));
  arm->addLink(root, makeLink(row(KtDhType::paul), "right"));
  arm->linkForModification(3).kinematics().setPrimaryFrame(randomPose(rng));
  arm->kinematics().setPrimaryFrame(randomPose(rng));
  return arm;
}

}  // namespace

// The sample documents' arms and a chain of every D-H and joint type, at random base poses and
// joints: D-H frames and primary frames (the samples carry primary offsets) agree with KDL.
TEST(KtForwardKinematicsTest, ArmsOfEveryTypeAgreeWithKdl) {
  TestRandom rng(21);
  for (const auto& arm : {loadSampleArm("craig_arm.xml"), loadSampleArm("paul_arm.xml"), mixedArm(rng, 10)}) {
    KtManipulatorActiveState active;
    for (int i = 0; i < TestRandom::cases(); ++i) {
      const Kt::coordinateSystemTransformation base = randomPose(rng);
      const std::vector<double> q = randomJoints(rng, arm->jointDof());
      active.activePositionState().setBasePose(base);
      active.activePositionState().setJointPositions(q);
      const std::vector<KDL::Frame> expected = kdlFrames(*arm, base, q);
      for (std::size_t i = arm->jointDof(); i-- > 0;) {
        const KtManipulatorLink& link = arm->link(i);
        ASSERT_LT(frameDistance(link.dhFrameInSystem(active), expected[i]), 1e-12) << i;
        ASSERT_LT(frameDistance(link.primaryFrameInSystem(active),
                                expected[i] * toKdl(link.kinematics().primaryFrame())),
                  1e-12)
            << i;
      }
    }
  }
}

// Links are numbered depth first in pre-order. A query carries on past the link asked as long as
// the chain does not branch: on the serial arm asking link 2 brings every later link up to date,
// in the tree asking the root (which has two children) computes the root alone, and asking the
// deepest link computes its ancestors, whose frames its sibling branch then shares.
TEST(KtForwardKinematicsTest, QueriesRunOnAlongUnbranchedChainsAndSiblingsShareTheirParent) {
  TestRandom rng(28);
  const auto serial = makeSerialArm(craigArmRows());
  const auto tree = treeArm(rng);
  const char* names[] = {"root", "left", "leftTip", "right"};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(tree->link(i).identifier(), names[i]);
  EXPECT_TRUE(tree->link(3).parentLink() == &tree->link(0) && tree->link(0).parentLink() == tree.get());
  EXPECT_EQ(tree->linkIndex(), KtManipulatorLink::kBaseLinkIndex);
  const struct {
    const KtIndividualManipulator& arm;
    std::size_t asked;
    std::vector<bool> valid;
  } cases[] = {{*serial, 2, {true, true, true, true, true, true, true}},
               {*tree, 0, {true, false, false, false}},
               {*tree, 2, {true, true, true, false}}};
  for (const auto& c : cases) {
    KtManipulatorActiveState active;
    active.activePositionState().setJointPositions(randomJoints(rng, c.arm.jointDof()));
    c.arm.link(c.asked).primaryFrameInSystem(active);
    const auto& records = active.activePositionState();
    for (std::size_t i = 0; i < records.linkCount(); ++i)
      EXPECT_EQ(records.linkFrames(i).isValid(), c.valid[i]) << c.asked << " " << i;
    const std::uint64_t parentComputations = c.arm.link(0).kinematics().transformComputations();
    c.arm.link(c.arm.jointDof() - 1).dhFrameInSystem(active);
    EXPECT_EQ(c.arm.link(0).kinematics().transformComputations(), parentComputations);
    expectFramesFresh(c.arm, active);
  }
}

// After each kind of change (joints, base, parameters, primary frames, placement, the tree
// itself, another manipulator asking through the same state), and whichever link is asked first
// after it, every frame is as computed afresh: bit for bit what a fresh state computes, and
// within rounding of the reference frames.
TEST(KtForwardKinematicsTest, NoFrameIsStaleAfterAnyChange) {
  TestRandom rng(24);
  for (int round = 0; round < TestRandom::cases() / 10 + 1; ++round) {
    auto arm = treeArm(rng), other = treeArm(rng);
    KtManipulatorActiveState active;
    KtManipulatorActivePositionState& positions = active.activePositionState();
    const auto extra = DhRow{KtDhType::craig, KtJointType::prismatic, 0.2, 0.3, 0.1, 0.4};
    const auto newLeft = DhRow{KtDhType::paul, KtJointType::rotational, 0.7, 0.1, 0.2, 0.0};
    const std::function<void()> changes[] = {
        [&] { positions.setJointPositions(randomJoints(rng, 4)), positions.setBasePose(randomPose(rng)); },
        [&] {
          positions.setJointPosition(static_cast<std::size_t>(rng.integer(0, 3)), rng.uniform(-kPi, kPi));
        },
        [&] { positions.setBasePose(randomPose(rng)); },
        [&] {
          KtPositionState whole;
          whole.setJointPositions(randomJoints(rng, 4));
          positions.setPositionState(whole);
        },
        [&] { arm->linkForModification(0).denavitHartenberg()->setA(rng.uniform(-1, 1)); },
        [&] { arm->linkForModification(1).denavitHartenberg()->setAlpha(rng.uniform(-kPi, kPi)); },
        [&] { arm->linkForModification(2).kinematics().setPrimaryFrame(randomPose(rng)); },
        [&] { arm->setCoordinateSystemTransform(randomPose(rng)); },
        [&] { ASSERT_TRUE(arm->transformLinkSubtreeBy("left", randomPose(rng))); },
        // A new link in the middle of the numbering, then a replaced subtree.
        [&] {
          arm->addLink(0, makeLink(extra, "extra"));
          positions.setJointPositions(randomJoints(rng, arm->jointDof()));
        },
        [&] {
          ASSERT_TRUE(arm->replaceLinkAndChildren("left", *makeLink(newLeft, "newLeft")));
          EXPECT_EQ(arm->jointDof(), 4u);
        },
        [&] {
          positions.setJointPositions(randomJoints(rng, other->jointDof()));
          expectFramesFresh(*other, active);
        },
    };
    for (const auto& change : changes) {
      change();
      const auto first = static_cast<std::size_t>(rng.integer(0, static_cast<int>(arm->jointDof()) - 1));
      arm->link(first).dhFrameInSystem(active);
      KtManipulatorActiveState fresh;
      fresh.activePositionState().setPositionState(positions.positionState());
      for (std::size_t link = 0; link < arm->jointDof(); ++link) {
        ASSERT_EQ(arm->link(link).primaryFrameInSystem(active), arm->link(link).primaryFrameInSystem(fresh))
            << "link " << link << " after asking link " << first;
        ASSERT_EQ(arm->link(link).dhFrameInSystem(active), arm->link(link).dhFrameInSystem(fresh));
      }
      expectFramesFresh(*arm, active);
    }
  }
}

// Only joints whose value changed are recomputed; the joints' own transformations, which the
// frames do not need, come out as computed afresh.
TEST(KtForwardKinematicsTest, OnlyChangedJointsAreRecomputed) {
  TestRandom rng(25);
  const auto arm = makeSerialArm(craigArmRows());
  KtManipulatorActiveState active;
  const auto computations = [&arm] {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < arm->jointDof(); ++i)
      total += arm->link(i).kinematics().transformComputations();
    return total;
  };
  std::vector<double> q = randomJoints(rng, 7);
  const auto expectJointTransformsFresh = [&arm, &q] {
    for (std::size_t i = 0; i < 7; ++i) {
      Kt::coordinateSystemTransformation fresh;
      arm->link(i).kinematics().calculateTransform(fresh, q[i]);
      EXPECT_EQ(arm->link(i).kinematics().dhTransform(q[i]), fresh) << i;
    }
  };
  active.activePositionState().setJointPositions(q);
  arm->link(6).primaryFrameInSystem(active);
  expectJointTransformsFresh();
  const std::uint64_t afterFirst = computations();
  arm->link(6).primaryFrameInSystem(active);
  arm->link(2).dhFrameInSystem(active);
  EXPECT_EQ(computations(), afterFirst);

  q[3] += 0.1;
  active.activePositionState().setJointPositions(q);
  // Links before the changed joint keep their frames; after it, only joint 3 is new.
  EXPECT_TRUE(active.activePositionState().linkFrames(2).isValid());
  EXPECT_FALSE(active.activePositionState().linkFrames(3).isValid());
  arm->link(6).dhFrameInSystem(active);
  EXPECT_EQ(computations(), afterFirst + 1);
  expectJointTransformsFresh();
  EXPECT_EQ(computations(), afterFirst + 1);
}

// The cached frames go into a document and come back exactly, valid or not, the primary
// frames included whether or not the link has a primary offset.
TEST(KtForwardKinematicsTest, CachedFramesSurviveWritingAndReading) {
  TestRandom rng(29);
  const auto arm = treeArm(rng);
  KtManipulatorActiveState active;
  KtManipulatorActivePositionState& written = active.activePositionState();
  written.setJointPositions(randomJoints(rng, 4));
  arm->link(2).primaryFrameInSystem(active);  // links 0 to 2 and the base, not link 3
  KtManipulatorActivePositionState read;
  ASSERT_TRUE(ktTestRead(read, ktTestWrite(written)));
  EXPECT_TRUE(read.isEqual(written) && written.isEqual(read));
  ASSERT_EQ(read.linkCount(), 4u);
  EXPECT_FALSE(read.linkFrames(3).isValid());
  for (int i = -1; i < 4; ++i) {
    const auto& frames = [i](KtManipulatorActivePositionState& s) -> const KtLinkFrames& {
      return i < 0 ? s.baseFrames() : s.linkFrames(static_cast<std::size_t>(i));
    };
    EXPECT_EQ(frames(read).isValid(), frames(written).isValid()) << i;
    if (!frames(written).isValid()) continue;
    EXPECT_EQ(frames(read).dhFrame(), frames(written).dhFrame()) << i;
    EXPECT_EQ(frames(read).primaryFrame(), frames(written).primaryFrame()) << i;
  }
}

TEST(KtForwardKinematicsTest, AttachmentsSitOnTheirLinksPrimaryFrame) {
  TestRandom rng(29);
  auto arm = makeSerialArm(craigArmRows());
  arm->linkForModification(3).kinematics().setPrimaryFrame(randomPose(rng));
  KtManipulatorActiveState active;
  active.activePositionState().setBasePose(randomPose(rng));
  active.activePositionState().setJointPositions(randomJoints(rng, 7));
  const KtPositionState& state = active.activePositionState().positionState();
  const Kt::coordinateSystemTransformation offset = randomPose(rng);
  Kt::coordinateSystemTransformation placement;
  ASSERT_TRUE(KtAttachment("link4", offset).calculateFramePlacement(*arm, active, placement));
  const KtManipulatorLink& link = arm->link(3);
  EXPECT_LT(frameDistance(placement,
                          referenceDhFrame(link, *arm, state) * link.kinematics().primaryFrame() * offset),
            1e-12);
  ASSERT_TRUE(KtAttachment("arm", offset).calculateFramePlacement(*arm, active, placement));
  EXPECT_LT(frameDistance(placement, referenceDhFrame(*arm, *arm, state) * offset), 1e-12);

  PrintCapture capture;
  EXPECT_FALSE(KtAttachment("gripper", offset).calculateFramePlacement(*arm, active, placement));
  EXPECT_EQ(capture.text(),
            "KtAttachment::calculateFramePlacement():  bad label on link attachment: gripper.\n");
}

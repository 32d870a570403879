#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/KtEndEffectorTool.h"
#include "motion/endeffector/KtFrameEndEffector.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacementVector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtSpatialMomentumEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

const std::vector<std::size_t> kMixedRows = {3, 6, 1, 2};

// A point on the last link, a frame on a middle one, a sum of two joints, and an x-y point
// measured against a link nearer the base.
KtEndEffectorSet mixedSet(const KtIndividualManipulator& arm) {
  const auto label = [&arm](std::size_t index) { return arm.link(index).identifier(); };
  KtPointEndEffector point;
  point.setLinkIdentifier(label(arm.jointDof() - 1));
  point.setPoint(Kt::Vector(0.1, 0.0, 0.2));
  KtFrameEndEffector frame;
  frame.setLinkIdentifier(label(3));
  frame.setFrame(
      Kt::coordinateSystemTransformation(Kt::Vector(0.0, -0.3, 0.0), Kt::Orientation(0.6, 0, 0.8, 0)));
  KtLinearConstraintEndEffector sum;
  sum.setJointLabels({label(0), label(4)});
  sum.setJointWeights({1.0, -0.5});
  KtXyEndEffector xy;
  xy.setLinkIdentifier(label(5));
  KtEndEffectorRelativeLinkData reference;
  reference.setRelativeLinkId(label(1));
  reference.setIsRelativeLink(true);
  xy.setRelativeLinkData(reference);
  KtEndEffectorSet set;
  set.addEndEffector(point);
  set.addEndEffector(frame);
  set.addEndEffector(sum);
  set.addEndEffector(xy);
  return set;
}

// First rows must be the running sums of the members' own row counts.
void expectLayout(const KtEndEffectorSet& set, const std::vector<std::size_t>& rows,
                  const std::string& what) {
  ASSERT_EQ(set.size(), rows.size()) << what;
  std::size_t first = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_TRUE(set.rowCount(i) == rows[i] && set.endEffector(i).rowCount() == rows[i])
        << what << " member " << i;
    EXPECT_EQ(set.firstRow(i), first) << what << " member " << i;
    first += rows[i];
  }
  EXPECT_EQ(set.totalRowCount(), first) << what;
}

KtStatedSystem craigSystem() {
  TestRandom rng(7);
  return endeffector_test::sampleSystem("craig_arm.xml", rng);
}

}  // namespace

// Each member's block of the stacked Jacobian and sparsity is exactly what the member writes
// into a matrix of its own, entries it leaves alone included: the tool clears what an earlier
// call wrote there.
TEST(KtEndEffectorSetTest, StackedRowsAreEachMembersOwnRowsAtItsFirstRow) {
  TestRandom rng(91);
  for (const char* file : {"craig_arm.xml", "paul_arm.xml"})
    for (const bool freeBase : {false, true})
      for (int c = 0; c < TestRandom::cases(); ++c) {
        KtStatedSystem stated = endeffector_test::sampleSystem(file, rng);
        const KtIndividualManipulator& arm = stated.system().manipulator(0);
        KtManipulatorActiveState& state = *stated.activeState(0);
        KtEndEffectorSet set = mixedSet(arm);
        set.endEffector(1).setLinkIdentifier(arm.link(6).identifier());
        set.jacobian(arm, !freeBase, state);
        set.endEffector(1).setLinkIdentifier(arm.link(3).identifier());

        const Kt::ReArray& stacked = set.jacobian(arm, !freeBase, state);
        Kt::ReArray sparsity;
        ASSERT_TRUE(set.initializeSparsityMatrix(stated, 0, !freeBase, sparsity));
        expectLayout(set, kMixedRows, file);
        const std::size_t columns = arm.jointDof() + (freeBase ? 6 : 0);
        ASSERT_EQ(stacked.columns(), columns);
        for (std::size_t i = 0; i < set.size(); ++i) {
          const KtEndEffector& member = set.endEffector(i);
          Kt::ReArray own(member.rowCount(), columns), ownSparsity(member.rowCount(), columns);
          member.insertJacobianComponent(arm, 0, member.relativeLinkData(), !freeBase, state, own);
          member.insertSparsityComponent(arm, 0, member.relativeLinkData(), !freeBase, state, ownSparsity);
          for (std::size_t r = 0; r < member.rowCount(); ++r)
            for (std::size_t col = 0; col < columns; ++col) {
              EXPECT_EQ(stacked[set.firstRow(i) + r][col], own[r][col]) << file << " member " << i;
              EXPECT_EQ(sparsity[set.firstRow(i) + r][col], ownSparsity[r][col]) << file << " member " << i;
            }
        }
      }
}

TEST(KtEndEffectorSetTest, EveryChangeOfTheListRefreshesTheRowLayout) {
  KtStatedSystem stated = craigSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const KtEndEffectorSet mixed = mixedSet(arm);
  KtEndEffectorSet set = mixed;
  const auto check = [&](const std::vector<std::size_t>& rows, const char* what) {
    expectLayout(set, rows, what);
    EXPECT_EQ(set.jacobian(arm, true, *stated.activeState(0)).rows(), set.totalRowCount()) << what;
  };
  ASSERT_TRUE(set.addEndEffector(std::make_unique<KtSpatialMomentumEndEffector>()));
  check({3, 6, 1, 2, 3}, "add");
  dynamic_cast<KtSpatialMomentumEndEffector&>(set.endEffector(4)).setIncludeAngular(true);
  set.refresh();
  check({3, 6, 1, 2, 6}, "member changed, then refresh");
  ASSERT_TRUE(set.removeEndEffector(1));
  check({3, 1, 2, 6}, "remove");
  ASSERT_TRUE(set.replaceEndEffector(0, mixed.endEffector(1)));
  check({6, 1, 2, 6}, "replace");
  KtEndEffectorVector assigned = mixed.endEffectors();
  assigned.erase(2);
  set.setEndEffectors(assigned);
  check({3, 6, 2}, "assign");
  ASSERT_TRUE(ktTestRead(set, ktTestWrite(mixed)));
  check(kMixedRows, "read");
  set = KtEndEffectorSet(set);
  check(kMixedRows, "copy");
  for (const int last : {3, 2, 1, 0}) ASSERT_TRUE(set.removeEndEffector(last));
  check({}, "remove all");
}

TEST(KtEndEffectorSetTest, BadIndicesAndMissingPartsPrintTheirMessageAndChangeNothing) {
  KtStatedSystem stated = craigSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  KtEndEffectorSet set = mixedSet(arm);
  KtEndEffectorSet badLabel;
  KtPointEndEffector lost;
  lost.setLinkIdentifier("noSuchLink");
  badLabel.addEndEffector(lost);
  Kt::ReArray filled(2, 2);
  filled[1][0] = 7.0;
  Kt::ReArray sparsity = filled;
  KtManipulatorEndEffectorVelocity velocities;
  velocities.resize(1);
  velocities.velocity(0) = {1.0, 2.0};
  const KtManipulatorEndEffectorVelocity velocitiesBefore = velocities;
  KtManipulatorEndEffectorPlacement placements;
  placements.resize(4);
  const Kt::coordinateSystemTransformation marker(Kt::Vector(1.0, 2.0, 3.0),
                                                  Kt::Orientation(0.0, 1.0, 0.0, 0.0));
  Kt::coordinateSystemTransformation output = marker;
  using Placement = KtManipulatorEndEffectorPlacement;
  const char* const noTool =
      "KtEndEffectorTool::calcEndEffectorPlacement(): attempt to calculate end-effector placement without "
      "valid manipulator and end-effector\n";

  const std::vector<std::pair<std::function<bool()>, const char*>> cases = {
      {[&] { return set.relativeLinkData(-1) == nullptr; },
       "KtEndEffectorSet::relativeLinkData(): bad end-effector index (-1)."},
      {[&] { return set.relativeLinkData(4) == nullptr; },
       "KtEndEffectorSet::relativeLinkData(): bad end-effector index (4)."},
      {[&] { return !set.addEndEffector(nullptr); },
       "KtEndEffectorSet::addEndEffector(): null end effector.\n"},
      {[&] { return !set.removeEndEffector(4); },
       "KtEndEffectorSet::removeEndEffector(): bad end-effector index (4)."},
      {[&] { return !set.replaceEndEffector(-2, lost); },
       "KtEndEffectorSet::replaceEndEffector(): bad end-effector index (-2)."},
      {[&] { return !set.initializeSparsityMatrix(stated, 1, true, sparsity); },
       "KtEndEffectorSet::initializeSparsityMatrix(): index 1 out of range.\n"},
      {[&] { return !set.initializeSparsityMatrix(stated, -1, false, sparsity); },
       "KtEndEffectorSet::initializeSparsityMatrix(): index -1 out of range.\n"},
      {[&] { return !set.setVelocityFromColumn(velocities, std::vector<KtReal>(11, 0.5)); },
       "KtEndEffectorSet::setVelocityFromColumn(): column size, 11, is too small.\n"},
      {[&] { return !KtEndEffectorTool(&arm, nullptr).calcEndEffectorPlacement(state, output); }, noTool},
      {[&] { return !KtEndEffectorTool(nullptr, &lost).calcEndEffectorPlacement(state, output); }, noTool},
      {[&] { return !placements.setOffsetInSystem(4, marker); },
       "KtManipulatorEndEffectorPlacement::setOffsetInSystem(), bad index (4)."},
      {[&] { return !placements.offsetInSystem(-1, output); },
       "KtManipulatorEndEffectorPlacement::offsetInSystem(), bad index (-1)."},
      {[&] { return !Placement::guideFrameInSystem(4, set, arm, state, output); },
       "KtManipulatorEndEffectorPlacement::guideFrameInSystem(), bad index (4)."},
      {[&] { return !Placement::guideFrameInSystem(0, badLabel, arm, state, output); },
       "KtManipulatorEndEffectorPlacement::guideFrameInSystem() bad link ID (-1)\n"},
  };
  for (const auto& [fails, message] : cases) {
    PrintCapture capture;
    EXPECT_TRUE(fails()) << message;
    EXPECT_EQ(capture.text(), message);
    EXPECT_TRUE(set.totalRowCount() == 12 && set.size() == 4 && sparsity == filled &&
                velocities.isEqual(velocitiesBefore) && output == marker)
        << message;
  }
}

TEST(KtEndEffectorSetTest, VelocityColumnIsHandedOutInSetOrderWhateverTheListHeld) {
  KtStatedSystem stated = craigSystem();
  const KtEndEffectorSet set = mixedSet(stated.system().manipulator(0));
  std::vector<KtReal> column(set.totalRowCount() + 3);
  for (std::size_t k = 0; k < column.size(); ++k) column[k] = 10.0 + static_cast<KtReal>(k);
  for (const std::size_t heldBefore : {0ul, 2ul, 7ul}) {
    KtManipulatorEndEffectorVelocity velocities;
    velocities.resize(heldBefore);
    for (std::size_t i = 0; i < heldBefore; ++i) velocities.velocity(i).assign(9, -1.0);
    ASSERT_TRUE(set.setVelocityFromColumn(velocities, column));
    ASSERT_EQ(velocities.size(), set.size());
    std::vector<KtReal> joined;
    for (std::size_t i = 0; i < set.size(); ++i) {
      EXPECT_EQ(velocities.velocity(i).size(), set.endEffector(i).rowCount()) << heldBefore;
      joined.insert(joined.end(), velocities.velocity(i).begin(), velocities.velocity(i).end());
    }
    EXPECT_EQ(joined, std::vector<KtReal>(column.begin(), column.begin() + 12)) << heldBefore;
  }
}

// Sets, placements and velocities save, load and save again to the same bytes and validate
// against the generated schema; only end effectors are taken into a set's list.
TEST(KtEndEffectorSetTest, DocumentsRoundTripByteForByteAndValidate) {
  KtStatedSystem stated = craigSystem();
  KtEndEffectorSet set = mixedSet(stated.system().manipulator(0));
  set.endEffector(1).setIsHardConstraint(false);
  KtManipulatorEndEffectorPlacementVector placements;
  placements.resize(2);
  placements[0].resize(2);
  placements[1].resize(1);
  ASSERT_TRUE(placements[0].setOffsetInSystem(
      1, Kt::coordinateSystemTransformation(Kt::Vector(0.5, -1.0, 2.0), Kt::Orientation(0.6, 0, 0.8, 0))));
  KtManipulatorEndEffectorVelocity velocities;
  velocities.resize(3);
  velocities.velocity(0) = {1.0, 2.5, -3.0};
  velocities.velocity(2) = {0.125};

  for (const KtXmlObject* object :
       std::initializer_list<const KtXmlObject*>{&set, &placements, &velocities}) {
    const std::string once = ktTestWrittenTwice(*object, *object->newInstance());
    EXPECT_TRUE(endeffector_test::validatesAgainstOwnSchema(*object, "roundTrip")) << once;
  }

  std::string foreign = ktTestWrite(set);
  foreign.insert(foreign.find("<ct:frameEndEffector>"), "<ct:pointMotionFilter/>");
  KtEndEffectorSet read;
  PrintCapture capture;
  EXPECT_TRUE(ktTestRead(read, foreign));
  ASSERT_EQ(capture.messages().size(), 1u) << capture.text();
  EXPECT_NE(capture.text().find("could not be read and is skipped"), std::string::npos) << capture.text();
  expectLayout(read, kMixedRows, "foreign entry");
}

// Every sample set of data/ (one per concrete class) loads without a message, saves to the same
// bytes, validates, places its member and stacks non-zero rows on its arm. Then a set of all their members
// and the mixed set stacks, marks its sparsity and hands out a column without allocating once warm.
TEST(KtEndEffectorSetTest, SampleSetsRoundTripAndStackingAllocatesNothingOnceWarm) {
  KtStatedSystem stated;
  ASSERT_TRUE(ktReadObjectFromFile(stated, std::string(KT_TEST_DATA_DIR) + "/craig_arm.xml"));
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtEndEffectorSet all = mixedSet(arm);
  int samples = 0;
  for (const auto& entry : std::filesystem::directory_iterator(KT_TEST_DATA_DIR)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with("craig_arm_") || !name.ends_with("_set.xml")) continue;
    ++samples;
    const std::string original = readBytes(entry.path().string());
    KtEndEffectorSet set;
    PrintCapture capture;
    ASSERT_TRUE(ktTestRead(set, original, name)) << name;
    EXPECT_EQ(ktTestWrite(set, name), original) << name;
    EXPECT_TRUE(endeffector_test::validatesAgainstOwnSchema(set, "sample")) << name;
    KtManipulatorActiveState& state = *stated.activeState(0);
    const Kt::ReArray& rows = set.jacobian(arm, true, state);
    EXPECT_TRUE(rows.rows() > 0 && rows.infinityNorm() > 0.0) << name;
    // The flange frame, at the identity on the last link, is placed at the link's own frame.
    Kt::coordinateSystemTransformation placement, guide;
    EXPECT_TRUE(KtEndEffectorTool(&arm, &set.endEffector(0)).calcEndEffectorPlacement(state, placement))
        << name;
    if (name == "craig_arm_flange_set.xml") {
      ASSERT_TRUE(KtManipulatorEndEffectorPlacement::guideFrameInSystem(0, set, arm, state, guide));
      for (const Kt::Vector& v : {Kt::Vector(), Kt::Vector(1, 0, 0), Kt::Vector(0, 1, 0)})
        EXPECT_LT((guide * v - placement * v).mag(), 1e-12);
    }
    EXPECT_EQ(capture.text(), "") << name;
    for (std::size_t i = 0; i < set.size(); ++i) all.addEndEffector(set.endEffector(i));
  }
  EXPECT_EQ(samples, 12);

  Kt::ReArray sparsity;
  KtManipulatorEndEffectorVelocity velocities;
  const std::vector<KtReal> column(all.totalRowCount(), 0.25);
  const auto stack = [&] {
    all.jacobian(arm, false, *stated.activeState(0));
    all.initializeSparsityMatrix(stated, 0, false, sparsity);
    all.setVelocityFromColumn(velocities, column);
  };
  stack();
  KtPositionState moved = stated.state().positionStates()[0];
  moved.jointPositions()[2] += 0.3;
  stated.setIndividualState(0, moved);
  NoAllocationGuard guard;
  stack();
}

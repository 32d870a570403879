#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "motion/endeffector/EndEffectorOracle.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/KtEndEffectorTool.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacementVector.h"
#include "motion/endeffector/RowsTestEndEffector.h"
#include "motion/endeffector/SchemaCheck.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFactory.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

using endeffector_test::RowsTestEndEffector;

const bool registered = [] {
  KtXmlFactory::defaultFactory().registerClass<RowsTestEndEffector>();
  return true;
}();

const std::vector<std::size_t> kMixedRows = {3, 6, 1, 2};

// Members of 3, 6, 1 and 2 rows: on the last, a middle and a near link, one of them relative
// to a link of another branch of the chain, and one on the base.
KtEndEffectorSet mixedSet(const KtIndividualManipulator& arm) {
  const auto label = [&arm](std::size_t index) { return arm.link(index).identifier(); };
  KtEndEffectorSet set;
  set.addEndEffector(RowsTestEndEffector(label(arm.jointDof() - 1), 3, Kt::Vector(0.1, 0.0, 0.2)));
  set.addEndEffector(RowsTestEndEffector(label(3), 6, Kt::Vector(0.0, -0.3, 0.0)));
  RowsTestEndEffector relative(label(5), 1, Kt::Vector(0.2, 0.2, 0.0));
  KtEndEffectorRelativeLinkData reference;
  reference.setRelativeLinkId(label(1));
  reference.setIsRelativeLink(true);
  relative.setRelativeLinkData(reference);
  set.addEndEffector(relative);
  set.addEndEffector(RowsTestEndEffector(arm.identifier(), 2, Kt::Vector(0.0, 0.0, 0.5)));
  return set;
}

// First rows must be the running sums of the members' own row counts.
void expectLayout(const KtEndEffectorSet& set, const std::vector<std::size_t>& rows,
                  const std::string& what) {
  ASSERT_EQ(set.size(), rows.size()) << what;
  std::size_t first = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(set.endEffector(i).rowCount(), rows[i]) << what << " member " << i;
    EXPECT_EQ(set.rowCount(i), rows[i]) << what << " member " << i;
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

TEST(KtEndEffectorSetTest, StackedRowsAreEachMembersOwnRowsAtItsFirstRow) {
  TestRandom rng(91);
  for (const char* file : {"craig_arm.xml", "paul_arm.xml"}) {
    for (const bool freeBase : {false, true}) {
      for (int c = 0; c < TestRandom::cases(); ++c) {
        KtStatedSystem stated = endeffector_test::sampleSystem(file, rng);
        const KtIndividualManipulator& arm = stated.system().manipulator(0);
        KtManipulatorActiveState& state = *stated.activeState(0);
        KtEndEffectorSet set = mixedSet(arm);
        // Leave entries everywhere in the tool's matrix first: the second call must clear them.
        for (std::size_t i = 0; i < set.size(); ++i)
          set.endEffector(i).setLinkIdentifier(arm.link(6).identifier());
        set.jacobian(arm, !freeBase, state);
        const KtEndEffectorSet placed = mixedSet(arm);
        for (std::size_t i = 0; i < set.size(); ++i)
          set.endEffector(i).setLinkIdentifier(placed.endEffector(i).linkIdentifier());

        const Kt::ReArray& stacked = set.jacobian(arm, !freeBase, state);
        Kt::ReArray sparsity;
        ASSERT_TRUE(set.initializeSparsityMatrix(stated, 0, !freeBase, sparsity));
        expectLayout(set, kMixedRows, file);
        const std::size_t columns = arm.jointDof() + (freeBase ? 6 : 0);
        ASSERT_EQ(stacked.rows(), set.totalRowCount());
        ASSERT_EQ(stacked.columns(), columns);
        for (std::size_t i = 0; i < set.size(); ++i) {
          const KtEndEffector& member = set.endEffector(i);
          Kt::ReArray own(member.rowCount(), columns), ownSparsity(member.rowCount(), columns);
          member.insertJacobianComponent(arm, 0, member.relativeLinkData(), !freeBase, state, own);
          member.insertSparsityComponent(arm, 0, member.relativeLinkData(), !freeBase, state, ownSparsity);
          for (std::size_t r = 0; r < member.rowCount(); ++r) {
            for (std::size_t col = 0; col < columns; ++col) {
              EXPECT_EQ(stacked[set.firstRow(i) + r][col], own[r][col]) << file << " member " << i;
              EXPECT_EQ(sparsity[set.firstRow(i) + r][col], ownSparsity[r][col]) << file << " member " << i;
            }
          }
        }
      }
    }
  }
}

TEST(KtEndEffectorSetTest, EveryChangeOfTheListRefreshesTheRowLayout) {
  KtStatedSystem stated = craigSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const std::string last = arm.link(6).identifier();
  const auto member = [&last](unsigned long rows) { return RowsTestEndEffector(last, rows, Kt::Vector()); };
  KtEndEffectorVector assigned;
  for (unsigned long rows : {6ul, 1ul})
    assigned.push_back(std::make_unique<RowsTestEndEffector>(member(rows)));
  KtEndEffectorSet written;
  for (unsigned long rows : {2ul, 2ul, 2ul}) written.addEndEffector(member(rows));
  const std::string text = ktTestWrite(written);

  struct Change {
    const char* what;
    std::function<void(KtEndEffectorSet&)> change;
    std::vector<std::size_t> rows;
  };
  const std::vector<Change> changes = {
      {"add",
       [&](KtEndEffectorSet& s) { s.addEndEffector(std::make_unique<RowsTestEndEffector>(member(5))); },
       {3, 6, 1, 2, 5}},
      {"remove", [](KtEndEffectorSet& s) { EXPECT_TRUE(s.removeEndEffector(1)); }, {3, 1, 2, 5}},
      {"replace",
       [&](KtEndEffectorSet& s) { EXPECT_TRUE(s.replaceEndEffector(0, member(4))); },
       {4, 1, 2, 5}},
      {"assign", [&](KtEndEffectorSet& s) { s.setEndEffectors(assigned); }, {6, 1}},
      {"member then refresh",
       [](KtEndEffectorSet& s) {
         dynamic_cast<RowsTestEndEffector&>(s.endEffector(1)).setRows(3);
         s.refresh();
       },
       {6, 3}},
      {"read", [&](KtEndEffectorSet& s) { EXPECT_TRUE(ktTestRead(s, text)); }, {2, 2, 2}},
      {"copy", [](KtEndEffectorSet& s) { s = KtEndEffectorSet(s); }, {2, 2, 2}},
      {"remove all",
       [](KtEndEffectorSet& s) {
         EXPECT_TRUE(s.removeEndEffector(2) && s.removeEndEffector(0) && s.removeEndEffector(0));
       },
       {}},
  };
  KtEndEffectorSet set = mixedSet(arm);
  for (const Change& change : changes) {
    change.change(set);
    expectLayout(set, change.rows, change.what);
    EXPECT_EQ(set.jacobian(arm, true, *stated.activeState(0)).rows(), set.totalRowCount()) << change.what;
  }
}

TEST(KtEndEffectorSetTest, BadIndicesAndMissingPartsPrintTheirMessageAndChangeNothing) {
  KtStatedSystem stated = craigSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  KtEndEffectorSet set = mixedSet(arm);
  KtEndEffectorSet badLabel;
  badLabel.addEndEffector(RowsTestEndEffector("noSuchLink", 3, Kt::Vector()));
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
  const auto unchanged = [&] {
    return set.totalRowCount() == 12 && set.size() == 4 && sparsity == filled &&
           velocities.isEqual(velocitiesBefore) && output == marker;
  };

  struct Case {
    std::function<bool()> fails;
    const char* message;
  };
  const std::vector<Case> cases = {
      {[&] { return set.relativeLinkData(-1) == nullptr; },
       "KtEndEffectorSet::relativeLinkData(): bad end-effector index (-1)."},
      {[&] { return set.relativeLinkData(4) == nullptr; },
       "KtEndEffectorSet::relativeLinkData(): bad end-effector index (4)."},
      {[&] { return !set.addEndEffector(nullptr); },
       "KtEndEffectorSet::addEndEffector(): null end effector.\n"},
      {[&] { return !set.removeEndEffector(4); },
       "KtEndEffectorSet::removeEndEffector(): bad end-effector index (4)."},
      {[&] { return !set.replaceEndEffector(-2, badLabel.endEffector(0)); },
       "KtEndEffectorSet::replaceEndEffector(): bad end-effector index (-2)."},
      {[&] { return !set.initializeSparsityMatrix(stated, 1, true, sparsity); },
       "KtEndEffectorSet::initializeSparsityMatrix(): index 1 out of range.\n"},
      {[&] { return !set.initializeSparsityMatrix(stated, -1, false, sparsity); },
       "KtEndEffectorSet::initializeSparsityMatrix(): index -1 out of range.\n"},
      {[&] { return !set.setVelocityFromColumn(velocities, std::vector<KtReal>(11, 0.5)); },
       "KtEndEffectorSet::setVelocityFromColumn(): column size, 11, is too small.\n"},
      {[&] { return !KtEndEffectorTool(&arm, nullptr).calcEndEffectorPlacement(state, output); },
       "KtEndEffectorTool::calcEndEffectorPlacement(): attempt to calculate end-effector placement without "
       "valid "
       "manipulator and end-effector\n"},
      {[&] {
         return !KtEndEffectorTool(nullptr, &set.endEffector(0)).calcEndEffectorPlacement(state, output);
       },
       "KtEndEffectorTool::calcEndEffectorPlacement(): attempt to calculate end-effector placement without "
       "valid "
       "manipulator and end-effector\n"},
      {[&] { return !placements.setOffsetInSystem(4, marker); },
       "KtManipulatorEndEffectorPlacement::setOffsetInSystem(), bad index (4)."},
      {[&] { return !placements.offsetInSystem(-1, output); },
       "KtManipulatorEndEffectorPlacement::offsetInSystem(), bad index (-1)."},
      {[&] { return !KtManipulatorEndEffectorPlacement::guideFrameInSystem(4, set, arm, state, output); },
       "KtManipulatorEndEffectorPlacement::guideFrameInSystem(), bad index (4)."},
      {[&] {
         return !KtManipulatorEndEffectorPlacement::guideFrameInSystem(0, badLabel, arm, state, output);
       },
       "KtManipulatorEndEffectorPlacement::guideFrameInSystem() bad link ID (-1)\n"},
  };
  for (const Case& c : cases) {
    PrintCapture capture;
    EXPECT_TRUE(c.fails()) << c.message;
    EXPECT_EQ(capture.text(), c.message);
    EXPECT_TRUE(unchanged()) << c.message;
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

TEST(KtEndEffectorSetTest, DocumentsRoundTripByteForByteAndValidate) {
  KtStatedSystem stated = craigSystem();
  KtEndEffectorSet set = mixedSet(stated.system().manipulator(0));
  set.endEffector(1).setIsHardConstraint(false);
  KtManipulatorEndEffectorPlacement first, second;
  first.resize(2);
  ASSERT_TRUE(first.setOffsetInSystem(
      1,
      Kt::coordinateSystemTransformation(Kt::Vector(0.5, -1.0, 2.0), Kt::Orientation(0.6, 0.0, 0.8, 0.0))));
  second.resize(1);
  KtManipulatorEndEffectorPlacementVector placements;
  placements.push_back(first);
  placements.push_back(second);
  KtManipulatorEndEffectorVelocity velocities;
  velocities.resize(3);
  velocities.velocity(0) = {1.0, 2.5, -3.0};
  velocities.velocity(2) = {0.125};

  const auto roundTrip = [](const KtXmlObject& object) {
    const std::string once = ktTestWrite(object);
    const std::unique_ptr<KtXmlObject> read = object.newInstance();
    EXPECT_TRUE(ktTestRead(*read, once));
    EXPECT_TRUE(read->isEqual(object)) << once;
    EXPECT_EQ(ktTestWrite(*read), once);
    EXPECT_TRUE(endeffector_test::validatesAgainstOwnSchema(object, "roundTrip")) << once;
    return once;
  };
  const std::string setText = roundTrip(set);
  for (const char* written : {"<ct:endEffectors>", "<ct:rowsTestEndEffector>", "<ct:isRelativeLink>true"})
    EXPECT_NE(setText.find(written), std::string::npos) << written << " in\n" << setText;
  roundTrip(placements);
  roundTrip(velocities);

  // Only end effectors stand in the list: another element is skipped with a warning.
  std::string foreign = setText;
  foreign.insert(foreign.find("<ct:rowsTestEndEffector>"), "<ct:pointMotionFilter/>");
  KtEndEffectorSet read;
  PrintCapture capture;
  EXPECT_TRUE(ktTestRead(read, foreign));
  ASSERT_EQ(capture.messages().size(), 1u) << capture.text();
  EXPECT_NE(capture.text().find("could not be read and is skipped"), std::string::npos) << capture.text();
  expectLayout(read, kMixedRows, "foreign entry");
}

TEST(KtEndEffectorSetTest, ToolAndGuideFramePlaceTheMembersPoints) {
  KtStatedSystem stated = craigSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  const KtEndEffectorSet set = mixedSet(arm);
  const std::vector<Kt::Vector> points = {Kt::Vector(0.1, 0.0, 0.2), Kt::Vector(0.0, -0.3, 0.0),
                                          Kt::Vector(0.2, 0.2, 0.0), Kt::Vector(0.0, 0.0, 0.5)};
  for (const int i : {0, 1, 3}) {  // the absolute members: their placement is in system coordinates
    Kt::coordinateSystemTransformation placement, guide;
    ASSERT_TRUE(KtEndEffectorTool(&arm, &set.endEffector(i)).calcEndEffectorPlacement(state, placement));
    ASSERT_TRUE(KtManipulatorEndEffectorPlacement::guideFrameInSystem(i, set, arm, state, guide));
    manipulator_test::expectNear(guide * points[i], placement.translation(), 1e-12,
                                 "member " + std::to_string(i));
  }
  Kt::coordinateSystemTransformation base;
  ASSERT_TRUE(KtManipulatorEndEffectorPlacement::guideFrameInSystem(3, set, arm, state, base));
  EXPECT_EQ(base, stated.state().positionStates()[0].coordinateSystemTransform());
}

TEST(KtEndEffectorSetTest, StackingAllocatesNothingOnceWarm) {
  KtStatedSystem stated = craigSystem();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  // The stand-ins and the members of every sample set, one of each concrete class.
  KtEndEffectorSet set = mixedSet(arm);
  for (const auto& entry : std::filesystem::directory_iterator(KT_TEST_DATA_DIR)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with("craig_arm_") || !name.ends_with("_set.xml")) continue;
    KtEndEffectorSet sample;
    ASSERT_TRUE(ktReadObjectFromFile(sample, entry.path().string()));
    for (std::size_t i = 0; i < sample.size(); ++i) set.addEndEffector(sample.endEffector(i));
  }
  ASSERT_GT(set.size(), 12u);
  Kt::ReArray sparsity;
  KtManipulatorEndEffectorVelocity velocities;
  const std::vector<KtReal> column(set.totalRowCount(), 0.25);
  const auto stack = [&] {
    set.jacobian(arm, false, *stated.activeState(0));
    set.initializeSparsityMatrix(stated, 0, false, sparsity);
    set.setVelocityFromColumn(velocities, column);
  };
  stack();
  KtPositionState moved = stated.state().positionStates()[0];
  moved.jointPositions()[2] += 0.3;
  stated.setIndividualState(0, moved);
  NoAllocationGuard guard;
  stack();
}

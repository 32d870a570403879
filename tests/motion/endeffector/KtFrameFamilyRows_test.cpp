#include <gtest/gtest.h>

#include <kdl/chainjnttojacsolver.hpp>
#include <kdl/jacobian.hpp>

#include "motion/endeffector/EndEffectorOracle.h"
#include "motion/endeffector/FrameFamilyTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"

using namespace endeffector_test;
using namespace frame_family_test;
using manipulator_test::randomPose;

namespace {

constexpr double kUntouched = 7.25;

Kt::ReArray filled(std::size_t rows, std::size_t columns, double value) {
  Kt::ReArray matrix(rows, columns);
  for (std::size_t r = 0; r < rows; ++r)
    for (std::size_t c = 0; c < columns; ++c) matrix[r][c] = value;
  return matrix;
}

// The member's rows by central differences of the end effector's own placement: the motion of
// the rows' point and the turn of the frame per column, turned from the placement's axes into
// system axes by `reference`, then selected in the axes of the end-effector frame `frame`.
Kt::ReArray differenceRows(const Member& member, KtStatedSystem& stated, const KtEndEffector& endEffector,
                           std::size_t columns, const Kt::Orientation& reference,
                           const Kt::Orientation& frame) {
  const Kt::Vector point = rowPoint(endEffector);
  Kt::ReArray rows(member.components.size(), columns);
  for (std::size_t c = 0; c < columns; ++c) {
    const auto before = movedPlacement(stated, endEffector, c, -kDifferenceStep);
    const auto after = movedPlacement(stated, endEffector, c, kDifferenceStep);
    const Kt::Vector linear = reference * ((after * point - before * point) * (0.5 / kDifferenceStep));
    const Kt::Vector angular =
        reference * angularRate(before.orientation(), after.orientation(), 2 * kDifferenceStep);
    const std::vector<double> selected = selectedRows(member, frame, linear, angular);
    for (std::size_t r = 0; r < selected.size(); ++r) rows[r][c] = selected[r];
  }
  return rows;
}

}  // namespace

// The frame's rows on any link of the sample arms agree with KDL's Jacobian solver on the
// chain that ends in the end-effector frame (reference point its origin, system axes).
TEST(KtFrameFamilyRowsTest, FrameRowsAgreeWithKdl) {
  TestRandom rng(71);
  for (const char* arm : {"craig_arm.xml", "paul_arm.xml"}) {
    for (int c = 0; c < TestRandom::cases(); ++c) {
      KtStatedSystem stated = sampleSystem(arm, rng);
      const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
      const std::size_t n = manipulator.jointDof();
      const std::size_t index = static_cast<std::size_t>(rng.integer(0, static_cast<int>(n) - 1));
      const KtManipulatorLink& link = manipulator.link(index);
      KtFrameEndEffector frame;
      frame.setLinkIdentifier(link.identifier());
      frame.setFrame(randomPose(rng, 0.3));

      const KtPositionState& position = stated.state().positionStates()[0];
      std::vector<int> ends;
      const KDL::Chain arms =
          manipulator_test::kdlChain(manipulator, position.coordinateSystemTransform(), ends);
      KDL::Chain chain;
      for (int s = 0; s < ends[index]; ++s) chain.addSegment(arms.getSegment(static_cast<unsigned>(s)));
      chain.addSegment(
          KDL::Segment(KDL::Joint(KDL::Joint::None),
                       manipulator_test::toKdl(link.kinematics().primaryFrame() * frame.frame())));
      const std::vector<double> q(position.jointPositions().begin(),
                                  position.jointPositions().begin() + static_cast<std::ptrdiff_t>(index + 1));
      KDL::Jacobian expected(static_cast<unsigned>(index + 1));
      ASSERT_EQ(KDL::ChainJntToJacSolver(chain).JntToJac(manipulator_test::kdlJoints(q), expected), 0);

      Kt::ReArray jacobian(6, n);
      frame.insertJacobianComponent(manipulator, 0, frame.relativeLinkData(), true, *stated.activeState(0),
                                    jacobian);
      for (std::size_t r = 0; r < 6; ++r)
        for (std::size_t k = 0; k < n; ++k)
          EXPECT_NEAR(jacobian[r][k],
                      k <= index ? expected(static_cast<unsigned>(r), static_cast<unsigned>(k)) : 0.0, 1e-12)
              << arm << " row " << r << " column " << k;
    }
  }
}

// Every member's rows are the rates of its own placement over the joints and base motions,
// absolute (fixed and free base) and relative to a random link or the base; rows outside the
// block keep their entries, and the sparsity marks at least every non-zero entry.
TEST(KtFrameFamilyRowsTest, RowsAreRatesOfTheOwnPlacementAndSparsityCoversThem) {
  TestRandom rng(72);
  for (const Member& member : members()) {
    for (const char* arm : {"craig_arm.xml", "paul_arm.xml"}) {
      for (int c = 0; c < TestRandom::cases(); ++c) {
        SCOPED_TRACE(testing::Message() << member.className << " " << arm << " case " << c);
        KtStatedSystem stated = sampleSystem(arm, rng);
        const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
        const int n = static_cast<int>(manipulator.jointDof());
        const auto endEffector = member.make();
        endEffector->setLinkIdentifier(
            manipulator.link(static_cast<std::size_t>(rng.integer(0, n - 1))).identifier());
        setOffset(*endEffector, randomPose(rng, 0.3));
        if (auto* lookAt = dynamic_cast<KtLookAtEndEffector*>(endEffector.get()))
          lookAt->setFocusDistance(rng.uniform(0.2, 2.0));
        const int referenceIndex = rng.integer(-2, n - 1);  // -2: absolute, -1: the base
        const KtManipulatorLink& reference =
            referenceIndex == -1 ? manipulator
                                 : manipulator.link(static_cast<std::size_t>(std::max(referenceIndex, 0)));
        KtEndEffectorRelativeLinkData relative;
        relative.setIsRelativeLink(referenceIndex >= -1);
        relative.setRelativeLinkId(reference.identifier());
        endEffector->setRelativeLinkData(relative);
        const bool freeBase = rng.integer(0, 1) == 1;

        KtManipulatorActiveState& state = *stated.activeState(0);
        Kt::coordinateSystemTransformation frame;
        ASSERT_TRUE(endEffector->calculateFramePlacement(manipulator, state, frame));
        const Kt::Orientation toSystem = relative.isRelativeLink()
                                             ? reference.primaryFrameInSystem(state).orientation()
                                             : Kt::Orientation();
        const std::size_t rows = member.components.size(),
                          columns = manipulator.jointDof() + (freeBase ? 6 : 0);
        ASSERT_EQ(endEffector->rowCount(), rows);

        Kt::ReArray jacobian(rows + 2, columns), sparsity(rows + 2, columns);
        for (std::size_t k = 0; k < columns; ++k) jacobian[0][k] = jacobian[rows + 1][k] = kUntouched;
        endEffector->insertJacobianComponent(manipulator, 1, relative, !freeBase, state, jacobian);
        endEffector->insertSparsityComponent(manipulator, 1, relative, !freeBase, *stated.activeState(0),
                                             sparsity);
        const Kt::ReArray expected =
            differenceRows(member, stated, *endEffector, columns, toSystem, frame.orientation());
        for (std::size_t k = 0; k < columns; ++k) {
          EXPECT_EQ(jacobian[0][k], kUntouched);
          EXPECT_EQ(jacobian[rows + 1][k], kUntouched);
          EXPECT_EQ(sparsity[0][k] + sparsity[rows + 1][k], 0.0);
          for (std::size_t r = 0; r < rows; ++r) {
            const double entry = jacobian[r + 1][k];
            EXPECT_NEAR(entry, expected[r][k], 1e-6 * std::max(1.0, std::abs(expected[r][k])))
                << "row " << r << " column " << k;
            EXPECT_TRUE(sparsity[r + 1][k] == 1.0 || (sparsity[r + 1][k] == 0.0 && entry == 0.0))
                << "row " << r << " column " << k;
          }
        }
      }
    }
  }
}

// Bad labels, bad reference links, blocks that do not fit and feed-forwards of the wrong size
// are reported with their exact texts; nothing is written except, for a bad reference link,
// the own chain's columns (the absolute ones with a fixed base).
TEST(KtFrameFamilyRowsTest, FailuresAreReportedExactlyAndWriteOnlyWhatTheyMay) {
  TestRandom rng(73);
  KtStatedSystem stated = sampleSystem("craig_arm.xml", rng);
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  const std::size_t n = manipulator.jointDof();
  KtEndEffectorRelativeLinkData absolute, missing;
  missing.setIsRelativeLink(true);
  missing.setRelativeLinkId("elsewhere");
  for (const Member& member : members()) {
    SCOPED_TRACE(member.className);
    const std::string name = member.className;
    const std::size_t rows = member.components.size();
    const auto good = member.make();
    good->setLinkIdentifier("craigArmLink5");
    good->setRelativeLinkData(missing);
    const auto bad = member.make();
    bad->setLinkIdentifier("nowhere");

    const auto write = [&](const KtEndEffector& endEffector, const KtEndEffectorRelativeLinkData& relative,
                           bool sparsity, std::size_t matrixRows, std::size_t firstRow) {
      Kt::ReArray matrix = filled(matrixRows, n + 6, kUntouched);
      PrintCapture capture;
      if (sparsity)
        endEffector.insertSparsityComponent(manipulator, firstRow, relative, false, state, matrix);
      else
        endEffector.insertJacobianComponent(manipulator, firstRow, relative, false, state, matrix);
      return std::make_pair(capture.text(), matrix);
    };
    const std::string tooSmall = "rows 1 to " + std::to_string(rows) + " and 13 columns do not fit a " +
                                 std::to_string(rows) + " x 13 matrix.\n";
    const struct {
      const KtEndEffector* endEffector;
      const KtEndEffectorRelativeLinkData* relative;
      bool sparsity;
      std::size_t firstRow;
      std::string message;
    } cases[] = {
        {bad.get(), &absolute, false, 0,
         "KtFrameEndEffector::insertJacobianComponent(): bad label on frame end effector: nowhere.\n"},
        {bad.get(), &absolute, true, 0,
         "KtPointEndEffector::insertSparsityComponent(): bad label on point end effector: nowhere.\n"},
        {good.get(), &absolute, false, 1, name + "::insertJacobianComponent(): " + tooSmall},
        {good.get(), &absolute, true, 1, name + "::insertSparsityComponent(): " + tooSmall},
    };
    for (const auto& c : cases) {
      const auto [text, matrix] = write(*c.endEffector, *c.relative, c.sparsity, rows, c.firstRow);
      EXPECT_EQ(text, c.message);
      EXPECT_TRUE(matrix.approxEq(filled(rows, n + 6, kUntouched), 0.0)) << c.message;
    }

    // A bad reference link: the message, then the absolute rows of the own chain and no base columns.
    const auto [ownText, own] = write(*good, missing, false, rows, 0);
    EXPECT_EQ(ownText, "KtFrameEndEffector::insertJacobianComponent(): bad index on relative link: -1.\n");
    Kt::ReArray fixedBase(rows, n);  // link 5 carries joints 0 to 4
    good->insertJacobianComponent(manipulator, 0, absolute, true, state, fixedBase);
    for (std::size_t r = 0; r < rows; ++r)
      for (std::size_t k = 0; k < n + 6; ++k)
        EXPECT_EQ(own[r][k], k < 5 ? fixedBase[r][k] : kUntouched) << r << k;
    const auto [ownSparsityText, ownSparsity] = write(*good, missing, true, rows, 0);
    EXPECT_EQ(ownSparsityText,
              "KtPointEndEffector::insertSparsityComponent(): bad index on relative pLink: -1.\n");
    EXPECT_EQ(ownSparsity[0][4], 1.0);
    EXPECT_EQ(ownSparsity[0][5], kUntouched);

    const Kt::coordinateSystemTransformation marker(Kt::Vector(1.0, 2.0, 3.0));
    Kt::coordinateSystemTransformation placement = marker;
    for (const auto& [endEffector, message] :
         {std::pair{bad.get(),
                    "KtFrameEndEffector::calculateFramePlacement(): bad label on frame end effector: "
                    "nowhere.\n"},
          std::pair{good.get(),
                    "KtFrameEndEffector::calculatePlacement(): bad label on relative link: elsewhere.\n"}}) {
      PrintCapture capture;
      EXPECT_FALSE(endEffector->calculatePlacement(manipulator, state, placement));
      EXPECT_EQ(capture.text(), message);
      EXPECT_TRUE(placement == marker);
    }

    for (const std::size_t size : {std::size_t{1}, rows == 6 ? std::size_t{5} : rows, std::size_t{7}}) {
      KtEndEffectorVelocityEntries commanded = {4.0};
      PrintCapture capture;
      good->filterEndEffectorVelocity(marker, marker, KtEndEffectorVelocityEntries(size, 1.0), 0.01,
                                      commanded);
      EXPECT_EQ(capture.text(), name + "::filterEndEffectorVelocity input velocity size wrong.");
      EXPECT_EQ(commanded, KtEndEffectorVelocityEntries{4.0});
    }
  }
}

// Once warm, placements, Jacobian and sparsity rows and filtering allocate nothing.
TEST(KtFrameFamilyRowsTest, HotPathsAllocateNothingOnceWarm) {
  TestRandom rng(74);
  KtStatedSystem stated = sampleSystem("paul_arm.xml", rng);
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  KtEndEffectorRelativeLinkData relative, absolute;
  relative.setIsRelativeLink(true);
  relative.setRelativeLinkId("paulArmLink2");
  std::vector<std::unique_ptr<KtFrameMotionEndEffector>> endEffectors;
  for (const Member& member : members()) {
    endEffectors.push_back(member.make());
    endEffectors.back()->setLinkIdentifier("paulArmLink7");
    endEffectors.back()->setRelativeLinkData(relative);
  }
  Kt::ReArray jacobian(6, 13), sparsity(6, 13);
  Kt::coordinateSystemTransformation placement;
  const Kt::coordinateSystemTransformation desired = randomPose(rng);
  const KtEndEffectorVelocityEntries feedForward(6, 0.5);
  KtEndEffectorVelocityEntries commanded;
  commanded.reserve(6);
  const auto run = [&] {
    for (const auto& endEffector : endEffectors) {
      KtManipulatorActiveState& state = *stated.activeState(0);
      endEffector->calculatePlacement(manipulator, state, placement);
      for (const bool fixedBase : {true, false}) {
        endEffector->insertJacobianComponent(manipulator, 0, endEffector->relativeLinkData(), fixedBase,
                                             state, jacobian);
        endEffector->insertSparsityComponent(manipulator, 0, KtEndEffectorRelativeLinkData(), fixedBase,
                                             state, sparsity);
      }
      endEffector->filterEndEffectorVelocity(placement, desired, feedForward, 0.01, commanded);
    }
  };
  run();
  KtPositionState moved = stated.state().positionStates()[0];
  NoAllocationGuard guard;
  for (int i = 0; i < 3; ++i) {
    moved.jointPositions()[static_cast<std::size_t>(i)] += 0.1;
    stated.setIndividualState(0, moved);
    run();
  }
}

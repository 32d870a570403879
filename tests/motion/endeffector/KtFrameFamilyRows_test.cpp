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

}  // namespace

// The frame's rows on any link of the sample arms agree with KDL's Jacobian solver on the chain
// that ends in the end-effector frame (reference point its origin, system axes).
TEST(KtFrameFamilyRowsTest, FrameRowsAgreeWithKdl) {
  TestRandom rng(71);
  for (const char* arm : {"craig_arm.xml", "paul_arm.xml"}) {
    for (int c = 0; c < TestRandom::cases(); ++c) {
      KtStatedSystem stated = sampleSystem(arm, rng);
      const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
      const std::size_t n = manipulator.jointDof(),
                        last = static_cast<std::size_t>(rng.integer(0, int(n) - 1));
      KtFrameEndEffector frame;
      frame.setLinkIdentifier(manipulator.link(last).identifier());
      frame.setFrame(randomPose(rng, 0.3));
      const KtPositionState& position = stated.state().positionStates()[0];
      std::vector<int> ends;
      const KDL::Chain whole =
          manipulator_test::kdlChain(manipulator, position.coordinateSystemTransform(), ends);
      KDL::Chain chain;
      for (int s = 0; s < ends[last]; ++s) chain.addSegment(whole.getSegment(static_cast<unsigned>(s)));
      chain.addSegment(KDL::Segment(
          KDL::Joint(KDL::Joint::None),
          manipulator_test::toKdl(manipulator.link(last).kinematics().primaryFrame() * frame.frame())));
      KDL::Jacobian expected(static_cast<unsigned>(last + 1));
      const std::vector<double> q(position.jointPositions().begin(),
                                  position.jointPositions().begin() + last + 1);
      ASSERT_EQ(KDL::ChainJntToJacSolver(chain).JntToJac(manipulator_test::kdlJoints(q), expected), 0);

      Kt::ReArray jacobian(6, n);
      frame.insertJacobianComponent(manipulator, 0, frame.relativeLinkData(), true, *stated.activeState(0),
                                    jacobian);
      for (unsigned r = 0; r < 6; ++r)
        for (unsigned k = 0; k < n; ++k)
          EXPECT_NEAR(jacobian[r][k], k <= last ? expected(r, k) : 0.0, 1e-12) << arm << " " << r << " " << k;
    }
  }
}

// Every member's rows are the rates of its own placement (at the rows' point, turned into system
// axes, then into the member's axes) over joints and base motions: absolute with a fixed or free
// base, or relative to a random link or the base. Rows outside the block keep their entries; the
// sparsity marks every non-zero entry.
TEST(KtFrameFamilyRowsTest, RowsAreRatesOfTheOwnPlacementAndSparsityCoversThem) {
  TestRandom rng(72);
  for (const Member& member : members()) {
    for (const char* arm : {"craig_arm.xml", "paul_arm.xml"}) {
      for (int c = 0; c < TestRandom::cases(); ++c) {
        SCOPED_TRACE(testing::Message() << member.className << " " << arm << " case " << c);
        KtStatedSystem stated = sampleSystem(arm, rng);
        const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
        const int n = static_cast<int>(manipulator.jointDof()), referenceIndex = rng.integer(-2, n - 1);
        const auto endEffector = member.make();
        endEffector->setLinkIdentifier(
            manipulator.link(static_cast<std::size_t>(rng.integer(0, n - 1))).identifier());
        setOffset(*endEffector, randomPose(rng, 0.3));
        if (auto* lookAt = dynamic_cast<KtLookAtEndEffector*>(endEffector.get()))
          lookAt->setFocusDistance(rng.uniform(0.2, 2.0));
        // -2: absolute, -1: relative to the base.
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
        Kt::ReArray jacobian = filled(rows + 2, columns, kUntouched), sparsity(rows + 2, columns);
        endEffector->insertJacobianComponent(manipulator, 1, relative, !freeBase, state, jacobian);
        endEffector->insertSparsityComponent(manipulator, 1, relative, !freeBase, state, sparsity);

        const Kt::Vector point = rowPoint(*endEffector);
        for (std::size_t k = 0; k < columns; ++k) {
          const auto before = movedPlacement(stated, *endEffector, k, -kDifferenceStep);
          const auto after = movedPlacement(stated, *endEffector, k, kDifferenceStep);
          const std::vector<double> expected = selectedRows(
              member, frame.orientation(),
              toSystem * ((after * point - before * point) * (0.5 / kDifferenceStep)),
              toSystem * angularRate(before.orientation(), after.orientation(), 2 * kDifferenceStep));
          EXPECT_EQ(jacobian[0][k] + jacobian[rows + 1][k] + sparsity[0][k] + sparsity[rows + 1][k],
                    2 * kUntouched);
          for (std::size_t r = 0; r < rows; ++r) {
            // Columns that the end effector does not depend on are left untouched.
            const double entry = jacobian[r + 1][k] == kUntouched ? 0.0 : jacobian[r + 1][k];
            EXPECT_NEAR(entry, expected[r], 1e-6 * std::max(1.0, std::abs(expected[r]))) << r << " " << k;
            EXPECT_TRUE(sparsity[r + 1][k] == 1.0 || (sparsity[r + 1][k] == 0.0 && entry == 0.0))
                << r << " " << k;
          }
        }
      }
    }
  }
}

// Bad labels, bad reference links, blocks that do not fit and feed-forwards of the wrong size are
// reported with their exact texts and write nothing, except that a bad reference link still
// writes the own chain's (absolute) columns and no base columns.
TEST(KtFrameFamilyRowsTest, FailuresAreReportedExactlyAndWriteOnlyWhatTheyMay) {
  TestRandom rng(73);
  KtStatedSystem stated = sampleSystem("craig_arm.xml", rng);
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  KtEndEffectorRelativeLinkData absolute, missing;
  missing.setIsRelativeLink(true);
  missing.setRelativeLinkId("elsewhere");
  const std::string jacobianText = "KtFrameEndEffector::insertJacobianComponent(): ",
                    sparsityText = "KtPointEndEffector::insertSparsityComponent(): ";
  for (const Member& member : members()) {
    SCOPED_TRACE(member.className);
    const std::size_t rows = member.components.size();
    const auto good = member.make(), bad = member.make();
    good->setLinkIdentifier("craigArmLink5");  // joints 0 to 4
    good->setRelativeLinkData(missing);
    bad->setLinkIdentifier("nowhere");
    const std::string tooSmall = "(): rows 1 to " + std::to_string(rows) + " and 13 columns do not fit a " +
                                 std::to_string(rows) + " x 13 matrix.\n";
    const struct {
      const KtEndEffector& endEffector;
      const KtEndEffectorRelativeLinkData& relative;
      bool sparsity;
      std::size_t firstRow, ownColumns;
      std::string message;
    } cases[] = {
        {*bad, absolute, false, 0, 0, jacobianText + "bad label on frame end effector: nowhere.\n"},
        {*bad, absolute, true, 0, 0, sparsityText + "bad label on point end effector: nowhere.\n"},
        {*good, absolute, false, 1, 0, member.className + "::insertJacobianComponent" + tooSmall},
        {*good, absolute, true, 1, 0, member.className + "::insertSparsityComponent" + tooSmall},
        {*good, missing, false, 0, 5, jacobianText + "bad index on relative link: -1.\n"},
        {*good, missing, true, 0, 5, sparsityText + "bad index on relative pLink: -1.\n"},
    };
    Kt::ReArray fixedBase = filled(rows, 13, kUntouched), marks = filled(rows, 13, 1.0);
    good->insertJacobianComponent(manipulator, 0, absolute, true, state, fixedBase);
    for (const auto& c : cases) {
      Kt::ReArray matrix = filled(rows, 13, kUntouched);
      PrintCapture capture;
      if (c.sparsity)
        c.endEffector.insertSparsityComponent(manipulator, c.firstRow, c.relative, false, state, matrix);
      else
        c.endEffector.insertJacobianComponent(manipulator, c.firstRow, c.relative, false, state, matrix);
      EXPECT_EQ(capture.text(), c.message);
      for (std::size_t r = 0; r < rows; ++r)
        for (std::size_t k = 0; k < 13; ++k)
          EXPECT_EQ(matrix[r][k], k < c.ownColumns ? (c.sparsity ? marks : fixedBase)[r][k] : kUntouched)
              << c.message;
    }

    const Kt::coordinateSystemTransformation marker(Kt::Vector(1.0, 2.0, 3.0));
    Kt::coordinateSystemTransformation placement = marker;
    for (const auto& [endEffector, message] :
         {std::pair{
              bad.get(),
              "KtFrameEndEffector::calculateFramePlacement(): bad label on frame end effector: nowhere.\n"},
          std::pair{good.get(),
                    "KtFrameEndEffector::calculatePlacement(): bad label on relative link: elsewhere.\n"}}) {
      PrintCapture capture;
      EXPECT_FALSE(endEffector->calculatePlacement(manipulator, state, placement));
      EXPECT_EQ(capture.text(), message);
      EXPECT_TRUE(placement == marker);
    }
    for (const std::size_t size : {std::size_t{1}, rows == 6 ? 5 : rows, std::size_t{7}}) {
      KtEndEffectorVelocityEntries commanded = {4.0};
      PrintCapture capture;
      good->filterEndEffectorVelocity(marker, marker, KtEndEffectorVelocityEntries(size, 1.0), 0.01,
                                      commanded);
      EXPECT_EQ(capture.text(), member.className + "::filterEndEffectorVelocity input velocity size wrong.");
      EXPECT_EQ(commanded, KtEndEffectorVelocityEntries{4.0});
    }
  }
}

// Once warm, placements, Jacobian and sparsity rows (absolute and relative, fixed and free base)
// and filtering allocate nothing for new joint values.
TEST(KtFrameFamilyRowsTest, HotPathsAllocateNothingOnceWarm) {
  TestRandom rng(74);
  KtStatedSystem stated = sampleSystem("paul_arm.xml", rng);
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  KtEndEffectorRelativeLinkData relative, absolute;
  relative.setIsRelativeLink(true);
  relative.setRelativeLinkId("paulArmLink2");
  Kt::ReArray matrix(6, 13);
  Kt::coordinateSystemTransformation placement;
  const Kt::coordinateSystemTransformation desired = randomPose(rng);
  const KtEndEffectorVelocityEntries feedForward(6, 0.5);
  KtEndEffectorVelocityEntries commanded(6);
  const auto run = [&](const KtFrameMotionEndEffector& endEffector) {
    KtManipulatorActiveState& state = *stated.activeState(0);
    endEffector.calculatePlacement(manipulator, state, placement);
    for (const bool fixedBase : {true, false}) {
      endEffector.insertJacobianComponent(manipulator, 0, relative, fixedBase, state, matrix);
      endEffector.insertSparsityComponent(manipulator, 0, absolute, fixedBase, state, matrix);
    }
    endEffector.filterEndEffectorVelocity(placement, desired, feedForward, 0.01, commanded);
  };
  KtPositionState moved = stated.state().positionStates()[0];
  for (const Member& member : members()) {
    const auto endEffector = member.make();
    endEffector->setLinkIdentifier("paulArmLink7");
    endEffector->setRelativeLinkData(relative);
    run(*endEffector);
    NoAllocationGuard guard;
    moved.jointPositions()[0] += 0.1;
    stated.setIndividualState(0, moved);
    run(*endEffector);
  }
}

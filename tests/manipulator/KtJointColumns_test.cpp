#include <gtest/gtest.h>

#include <kdl/chainjnttojacsolver.hpp>
#include <kdl/jacobian.hpp>

#include "manipulator/KtJointColumns.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"

using namespace manipulator_test;

namespace {

constexpr double kStep = 1e-5;
constexpr double kTolerance = 1e-7;
// Marks entries that no column was written to.
constexpr double kUntouched = 7.25;

// Three entries of one matrix column, from row firstRow on.
Kt::Vector entries(const Kt::ReArray& m, std::size_t firstRow, std::size_t column) {
  return Kt::Vector(m[firstRow][column], m[firstRow + 1][column], m[firstRow + 2][column]);
}

bool onChain(const KtManipulatorLink& link, std::size_t joint) {
  for (const KtManipulatorLink* l = &link; l->linkIndex() >= 0; l = l->parentLink())
    if (static_cast<std::size_t>(l->linkIndex()) == joint) return true;
  return false;
}

// Rows 1..6 of the column against central differences between the states before and after
// (2·kStep apart) of the frame fixed to the link at `offset`: its origin's motion and its turn.
void expectColumn(const KtManipulatorLink& link, const Kt::coordinateSystemTransformation& offset,
                  KtManipulatorActiveState& before, KtManipulatorActiveState& after,
                  const Kt::ReArray& jacobian, std::size_t column, const std::string& what) {
  const Kt::coordinateSystemTransformation f0 = link.dhFrameInSystem(before) * offset,
                                           f1 = link.dhFrameInSystem(after) * offset;
  expectNear(entries(jacobian, 1, column), (f1.translation() - f0.translation()) * (0.5 / kStep), kTolerance,
             what + " linear");
  expectNear(entries(jacobian, 4, column), angularRate(f0.orientation(), f1.orientation(), 2 * kStep),
             kTolerance, what + " angular");
}

}  // namespace

// Every column is the derivative of the link's point and frame over its joint value or base
// motion, and bit for bit what at() gives for that joint; joints off the chain and rows outside
// the block keep what they held. The selected linear or angular rows alone equal those of the
// full block.
TEST(KtJointColumnsTest, ColumnsAreDerivativesOfThePointAndFrame) {
  TestRandom rng(61);
  for (const auto& arm : {loadSampleArm("craig_arm.xml"), loadSampleArm("paul_arm.xml"), mixedArm(rng, 10)}) {
    const std::size_t n = arm->jointDof();
    KtManipulatorActiveState now, before, after;
    for (int c = 0; c < TestRandom::cases(); ++c) {
      const Kt::coordinateSystemTransformation base = randomPose(rng);
      const std::vector<double> q = randomJoints(rng, n);
      const std::size_t index = static_cast<std::size_t>(rng.integer(0, static_cast<int>(n) - 1));
      const KtManipulatorLink& link = arm->link(index);
      const Kt::coordinateSystemTransformation offset = randomPose(rng);
      for (KtManipulatorActiveState* state : {&now, &before, &after}) {
        state->activePositionState().setBasePose(base);
        state->activePositionState().setJointPositions(q);
      }
      const Kt::Vector point = (link.dhFrameInSystem(now) * offset).translation();
      Kt::ReArray jacobian(8, n + 6);
      for (std::size_t r = 0; r < 8; ++r)
        for (std::size_t k = 0; k < n + 6; ++k) jacobian[r][k] = kUntouched;
      ASSERT_TRUE(KtJointColumns::write(*arm, now, index, point, KtJacobianRows::both, jacobian, 1));
      ASSERT_TRUE(KtJointColumns::writeFreeBase(*arm, now, point, KtJacobianRows::both, jacobian, 1));

      for (std::size_t j = 0; j < n; ++j) {
        if (!onChain(link, j)) {
          for (std::size_t r = 0; r < 8; ++r) EXPECT_EQ(jacobian[r][j], kUntouched) << j;
          continue;
        }
        const KtJointColumn column = KtJointColumns::at(arm->link(j), now, point);
        EXPECT_TRUE(entries(jacobian, 1, j) == column.linear && entries(jacobian, 4, j) == column.angular)
            << j;
        before.activePositionState().setJointPosition(j, q[j] - kStep);
        after.activePositionState().setJointPosition(j, q[j] + kStep);
        expectColumn(link, offset, before, after, jacobian, j, "joint " + std::to_string(j));
        before.activePositionState().setJointPosition(j, q[j]);
        after.activePositionState().setJointPosition(j, q[j]);
      }
      for (std::size_t k = 0; k < 6; ++k) {  // base translations, then base rotations
        Kt::Vector axis;
        axis[k % 3] = 1.0;
        for (const double sign : {-1.0, 1.0}) {
          Kt::Orientation turn;
          turn.setFromAngleAxis(k < 3 ? 0.0 : sign * kStep, axis);
          (sign < 0 ? before : after)
              .activePositionState()
              .setBasePose(Kt::coordinateSystemTransformation(
                  base.translation() + axis * (k < 3 ? sign * kStep : 0.0), turn * base.orientation()));
        }
        expectColumn(link, offset, before, after, jacobian, n + k, "base motion " + std::to_string(k));
      }
      for (std::size_t k = 0; k < n + 6; ++k)
        EXPECT_TRUE(jacobian[0][k] == kUntouched && jacobian[7][k] == kUntouched);

      for (const KtJacobianRows rows : {KtJacobianRows::linear, KtJacobianRows::angular}) {
        Kt::ReArray part(3, n + 6);
        ASSERT_TRUE(KtJointColumns::write(*arm, now, index, point, rows, part, 0));
        ASSERT_TRUE(KtJointColumns::writeFreeBase(*arm, now, point, rows, part, 0));
        const std::size_t from = rows == KtJacobianRows::linear ? 1 : 4;
        for (std::size_t k = 0; k < n + 6; ++k) {
          const double expected = onChain(link, k) || k >= n ? 1.0 : 0.0;
          for (std::size_t r = 0; r < 3; ++r) EXPECT_EQ(part[r][k], expected * jacobian[from + r][k]);
        }
      }
    }
  }
}

// The frame columns of the sample arms' last links agree with KDL's Jacobian solver, whose
// reference point is the tip frame's origin and whose axes are those of the chain's root, the
// system frame.
TEST(KtJointColumnsTest, LastLinkFrameColumnsAgreeWithKdl) {
  TestRandom rng(62);
  for (const auto& arm : {loadSampleArm("craig_arm.xml"), loadSampleArm("paul_arm.xml")}) {
    const std::size_t n = arm->jointDof();
    KtManipulatorActiveState active;
    for (int c = 0; c < TestRandom::cases(); ++c) {
      const Kt::coordinateSystemTransformation base = randomPose(rng);
      const std::vector<double> q = randomJoints(rng, n);
      active.activePositionState().setBasePose(base);
      active.activePositionState().setJointPositions(q);
      std::vector<int> ends;
      const KDL::Chain chain = kdlChain(*arm, base, ends);
      KDL::Jacobian expected(static_cast<unsigned>(n));
      ASSERT_EQ(KDL::ChainJntToJacSolver(chain).JntToJac(kdlJoints(q), expected), 0);
      Kt::ReArray jacobian(6, n);
      const Kt::Vector origin = arm->link(n - 1).dhFrameInSystem(active).translation();
      ASSERT_TRUE(KtJointColumns::write(*arm, active, n - 1, origin, KtJacobianRows::both, jacobian, 0));
      for (std::size_t r = 0; r < 6; ++r)
        for (std::size_t k = 0; k < n; ++k)
          EXPECT_NEAR(jacobian[r][k], expected(static_cast<unsigned>(r), static_cast<unsigned>(k)), 1e-12)
              << r << " " << k;
    }
  }
}

// A link index past the last link, or a block that does not fit the matrix, is reported and
// changes nothing.
TEST(KtJointColumnsTest, BadIndexOrShapeReportsAndWritesNothing) {
  const auto arm = makeSerialArm(craigArmRows());
  KtManipulatorActiveState active;
  const Kt::Vector point(0.1, 0.2, 0.3);
  const struct {
    std::size_t link, rows, columns, firstRow;
    bool freeBase;
    KtJacobianRows selected;
    const char* message;
  } cases[] = {
      {7, 6, 7, 0, false, KtJacobianRows::both, "KtJointColumns::write(): link index 7 out of range 7.\n"},
      {6, 6, 7, 1, false, KtJacobianRows::both,
       "KtJointColumns::write(): rows 1 to 6 and 7 columns do not fit a 6 x 7 matrix.\n"},
      {6, 3, 6, 0, false, KtJacobianRows::linear,
       "KtJointColumns::write(): rows 0 to 2 and 7 columns do not fit a 3 x 6 matrix.\n"},
      {0, 4, 12, 1, true, KtJacobianRows::angular,
       "KtJointColumns::writeFreeBase(): rows 1 to 3 and 13 columns do not fit a 4 x 12 matrix.\n"},
  };
  for (const auto& c : cases) {
    Kt::ReArray jacobian(c.rows, c.columns);
    PrintCapture capture;
    EXPECT_FALSE(c.freeBase
                     ? KtJointColumns::writeFreeBase(*arm, active, point, c.selected, jacobian, c.firstRow)
                     : KtJointColumns::write(*arm, active, c.link, point, c.selected, jacobian, c.firstRow));
    EXPECT_EQ(capture.text(), c.message);
    EXPECT_TRUE(jacobian.approxEq(Kt::ReArray(c.rows, c.columns), 0.0));
  }
  PrintCapture capture;
  EXPECT_FALSE(KtJointColumns::forEach(
      *arm, active, 9, point, [](std::size_t, const KtJointColumn&) { ADD_FAILURE() << "visited"; }));
  EXPECT_EQ(capture.text(), "KtJointColumns::forEach(): link index 9 out of range 7.\n");
}

// Once the matrix has its size, writing the columns for new joint values allocates nothing.
TEST(KtJointColumnsTest, WritingAllocatesNothing) {
  TestRandom rng(63);
  const auto arm = makeSerialArm(paulArmRows());
  KtManipulatorActiveState active;
  const std::vector<double> first = randomJoints(rng, 7), second = randomJoints(rng, 7);
  active.activePositionState().setJointPositions(first);
  Kt::ReArray jacobian(6, 13);
  const Kt::Vector point(0.1, 0.2, 0.3);
  KtJointColumns::write(*arm, active, 6, point, KtJacobianRows::both, jacobian, 0);
  NoAllocationGuard guard;
  for (int i = 0; i < 10; ++i) {
    active.activePositionState().setJointPositions(i % 2 == 0 ? second : first);
    KtJointColumns::write(*arm, active, 6, point, KtJacobianRows::both, jacobian, 0);
    KtJointColumns::writeFreeBase(*arm, active, point, KtJacobianRows::both, jacobian, 0);
  }
}

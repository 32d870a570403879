#include <gtest/gtest.h>

#include <kdl/chainjnttojacsolver.hpp>
#include <kdl/jacobian.hpp>

#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "support/PrintCapture.h"

using namespace endeffector_test;

namespace {

constexpr double kUntouched = 7.25;
const char* const kArms[] = {"craig_arm.xml", "paul_arm.xml"};

// Every class whose rows are rates of its own placement, on random links with random offsets,
// absolute or relative to the base or a random link.
std::vector<std::unique_ptr<KtEndEffector>> subjects(const KtIndividualManipulator& arm, TestRandom& rng) {
  const int n = static_cast<int>(arm.jointDof());
  const auto link = [&] { return arm.link(static_cast<std::size_t>(rng.integer(0, n - 1))).identifier(); };
  std::vector<std::unique_ptr<KtEndEffector>> all = everyClass(rng, link(), link());
  std::erase_if(
      all, [](const auto& e) { return dynamic_cast<KtSpatialMomentumEndEffector*>(e.get()) != nullptr; });
  for (const auto& e : all) {
    if (auto* xy = dynamic_cast<KtXyEndEffector*>(e.get()))
      xy->setXyOrientation(randomPose(rng).orientation());
    if (dynamic_cast<KtLinearConstraintEndEffector*>(e.get()) != nullptr) continue;
    e->setLinkIdentifier(link());
    const int reference = rng.integer(-2, n - 1);
    KtEndEffectorRelativeLinkData relative;
    relative.setIsRelativeLink(reference >= -1);
    relative.setRelativeLinkId(reference < 0 ? arm.identifier()
                                             : arm.link(static_cast<std::size_t>(reference)).identifier());
    e->setRelativeLinkData(relative);
  }
  return all;
}

// The rows an end effector should hold for a motion of its row point given in system axes.
std::vector<double> expectedRows(const KtEndEffector& e, const Kt::Orientation& frame,
                                 const Kt::Vector& linear, const Kt::Vector& angular) {
  if (const Member* member = memberOf(e)) return selectedRows(*member, frame, linear, angular);
  if (const auto* xy = dynamic_cast<const KtXyEndEffector*>(&e)) {
    const KtPlanarVector inPlane = xy->planeCoordinates(linear);
    return {inPlane[0], inPlane[1]};
  }
  if (e.rowCount() == 1) return {linear.x()};
  return {linear.x(), linear.y(), linear.z()};
}

// The frame's absolute rows on a fixed base agree with KDL's Jacobian solver on the chain that
// ends in the end-effector frame (reference point its origin, system axes).
void expectKdlRows(KtStatedSystem& stated, const KtFrameEndEffector& frame) {
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  const std::size_t n = manipulator.jointDof();
  std::size_t last = 0;
  while (manipulator.link(last).identifier() != frame.linkIdentifier()) ++last;
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
  frame.insertJacobianComponent(manipulator, 0, KtEndEffectorRelativeLinkData(), true, *stated.activeState(0),
                                jacobian);
  for (unsigned r = 0; r < 6; ++r)
    for (unsigned k = 0; k < n; ++k)
      EXPECT_NEAR(jacobian[r][k], k <= last ? expected(r, k) : 0.0, 1e-12) << "KDL " << r << " " << k;
}

}  // namespace

// Every class's rows are the rates of its own placement (at the rows' point, turned from the
// reference link's axes into system axes, then into the class's rows) over joints and base
// motions, absolute or relative to a random link or the base, with a fixed or free base. Rows
// outside the block keep their entries and the sparsity marks every non-zero entry. A free base
// moves an absolute point exactly by the identity and the cross-product matrix of its offset.
// The frame's absolute rows are also checked against KDL.
TEST(KtEndEffectorRowsTest, RowsAreRatesOfTheOwnPlacementAndSparsityCoversThem) {
  TestRandom rng(72);
  for (const char* arm : kArms) {
    for (int c = 0; c < TestRandom::cases(); ++c) {
      const bool freeBase = rng.integer(0, 1) == 1;
      KtStatedSystem stated = massiveSample(arm, rng, freeBase);
      const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
      const std::size_t columns = manipulator.jointDof() + (freeBase ? 6 : 0);
      for (const auto& subject : subjects(manipulator, rng)) {
        const KtEndEffector& e = *subject;
        const KtEndEffectorRelativeLinkData& relative = e.relativeLinkData();
        SCOPED_TRACE(testing::Message()
                     << className(e) << " " << arm << " case " << c << (freeBase ? " free" : " fixed")
                     << (relative.isRelativeLink() ? " relative" : ""));
        const Kt::ReArray rates = placementRates(stated, e, freeBase, rowPoint(e));
        KtManipulatorActiveState& state = *stated.activeState(0);
        const Kt::Orientation toSystem =
            relative.isRelativeLink()
                ? manipulator.findLink(relative.relativeLinkId())->primaryFrameInSystem(state).orientation()
                : Kt::Orientation();
        Kt::coordinateSystemTransformation frame;
        const auto* frameLike = dynamic_cast<const KtFrameMotionEndEffector*>(&e);
        if (frameLike != nullptr) {
          ASSERT_TRUE(frameLike->calculateFramePlacement(manipulator, state, frame));
        }
        if (className(e) == "KtFrameEndEffector")
          expectKdlRows(stated, dynamic_cast<const KtFrameEndEffector&>(e));
        const std::size_t rows = e.rowCount();
        Kt::ReArray jacobian = filled(rows + 2, columns, kUntouched), sparsity(rows + 2, columns),
                    written(rows + 2, columns);
        e.insertJacobianComponent(manipulator, 1, relative, !freeBase, state, jacobian);
        e.insertSparsityComponent(manipulator, 1, relative, !freeBase, state, sparsity);
        for (std::size_t k = 0; k < columns; ++k) {
          const std::vector<double> expected = expectedRows(
              e, frame.orientation(), toSystem * Kt::Vector(rates[0][k], rates[1][k], rates[2][k]),
              toSystem * Kt::Vector(rates[3][k], rates[4][k], rates[5][k]));
          ASSERT_EQ(expected.size(), rows);
          EXPECT_EQ(jacobian[0][k] + jacobian[rows + 1][k] + sparsity[0][k] + sparsity[rows + 1][k],
                    2 * kUntouched);
          for (std::size_t r = 0; r < rows; ++r) {
            // Columns that the end effector does not depend on may be left untouched.
            const double entry = written[r + 1][k] =
                jacobian[r + 1][k] == kUntouched ? 0.0 : jacobian[r + 1][k];
            EXPECT_NEAR(entry, expected[r], 1e-6 * std::max(1.0, std::abs(expected[r]))) << r << " " << k;
            EXPECT_TRUE(sparsity[r + 1][k] == 1.0 || (sparsity[r + 1][k] == 0.0 && entry == 0.0))
                << r << " " << k;
          }
        }
        // The point's and the centre of mass's velocities are their rows times the state's rates.
        if (rows == 3 && frameLike == nullptr) {
          KtGeneralMotion velocity;
          ASSERT_TRUE(e.calculateVelocity(manipulator, state, velocity));
          manipulator_test::expectNear(velocity.linear(), timesRates(written, 1, stated), 1e-9, "velocity");
        }
        const auto* point = dynamic_cast<const KtPointEndEffector*>(&e);
        if (point == nullptr || relative.isRelativeLink() || !freeBase) continue;
        Kt::Vector p;
        ASSERT_TRUE(point->calculatePointPlacement(manipulator, state, p));
        const Kt::Vector r =
            p - state.activePositionState().positionState().coordinateSystemTransform().translation();
        const double block[3][6] = {
            {1, 0, 0, 0, r.z(), -r.y()}, {0, 1, 0, -r.z(), 0, r.x()}, {0, 0, 1, r.y(), -r.x(), 0}};
        for (std::size_t k = 0; k < 3; ++k)
          for (std::size_t b = 0; b < 6; ++b)
            EXPECT_DOUBLE_EQ(jacobian[k + 1][manipulator.jointDof() + b], block[k][b]);
      }
    }
  }
}

// For every link-carried class: bad labels, bad reference links and blocks that do not fit are
// reported with their exact texts and write nothing, except that a bad reference link still
// writes what the absolute end effector writes on a fixed base (its own chain, no base columns).
// A bad label fails the placement with its message and leaves the output alone.
TEST(KtEndEffectorRowsTest, FailuresAreReportedExactlyAndWriteOnlyWhatTheyMay) {
  TestRandom rng(73);
  KtStatedSystem stated = sampleSystem("craig_arm.xml", rng);
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  KtEndEffectorRelativeLinkData absolute, missing;
  missing.setIsRelativeLink(true);
  missing.setRelativeLinkId("elsewhere");
  std::vector<std::unique_ptr<KtEndEffector>> classes;
  for (const Member& member : members()) classes.push_back(member.make());
  classes.push_back(std::make_unique<KtPointEndEffector>());
  classes.push_back(std::make_unique<KtXyEndEffector>());
  for (const auto& good : classes) {
    const std::string name = className(*good);
    SCOPED_TRACE(name);
    // The frame-like classes report their rows and placements under shared names.
    const bool frameLike = dynamic_cast<const KtFrameMotionEndEffector*>(good.get()) != nullptr;
    const std::string jacobianName = frameLike ? "KtFrameEndEffector" : name,
                      sparsityName = frameLike ? "KtPointEndEffector" : name,
                      badLabel = frameLike ? "frame" : "point";
    const std::string placementMessages[] = {
        frameLike
            ? "KtFrameEndEffector::calculateFramePlacement(): bad label on frame end effector: nowhere.\n"
            : name +
                  (good->rowCount() == 3 ? "::calculatePointPlacement()" : "::calculate2DPointPlacement()") +
                  ": bad label on point end effector: nowhere.\n",
        (frameLike ? std::string("KtFrameEndEffector") : name) +
            "::calculatePlacement(): bad index on relative link: -1.\n"};
    const std::size_t rows = good->rowCount();
    const std::unique_ptr<KtXmlObject> copy = good->newInstance();
    auto& bad = static_cast<KtEndEffector&>(*copy);
    good->setLinkIdentifier("craigArmLink5");
    good->setRelativeLinkData(missing);
    bad.setLinkIdentifier("nowhere");
    const std::string tooSmall = "(): rows 1 to " + std::to_string(rows) + " and 13 columns do not fit a " +
                                 std::to_string(rows) + " x 13 matrix.\n";
    const struct {
      const KtEndEffector& endEffector;
      const KtEndEffectorRelativeLinkData& relative;
      bool sparsity;
      std::size_t firstRow;
      std::string message;
    } cases[] = {
        {bad, absolute, false, 0,
         jacobianName + "::insertJacobianComponent(): bad label on " + badLabel +
             " end effector: nowhere.\n"},
        {bad, absolute, true, 0,
         sparsityName + "::insertSparsityComponent(): bad label on point end effector: nowhere.\n"},
        {*good, absolute, false, 1, name + "::insertJacobianComponent" + tooSmall},
        {*good, absolute, true, 1, name + "::insertSparsityComponent" + tooSmall},
        {*good, missing, false, 0,
         jacobianName + "::insertJacobianComponent(): bad index on relative link: -1.\n"},
        {*good, missing, true, 0,
         sparsityName + "::insertSparsityComponent(): bad index on relative pLink: -1.\n"},
    };
    for (const auto& c : cases) {
      const auto insert = [&](const KtEndEffectorRelativeLinkData& relative, bool fixedBase, Kt::ReArray& m) {
        if (c.sparsity)
          c.endEffector.insertSparsityComponent(manipulator, c.firstRow, relative, fixedBase, state, m);
        else
          c.endEffector.insertJacobianComponent(manipulator, c.firstRow, relative, fixedBase, state, m);
      };
      Kt::ReArray written = filled(rows, 13, kUntouched), expected = written;
      PrintCapture capture;
      insert(c.relative, false, written);
      EXPECT_EQ(capture.text(), c.message);
      if (&c.relative == &missing) insert(absolute, true, expected);
      EXPECT_TRUE(written == expected) << c.message;
    }

    const Kt::coordinateSystemTransformation marker(Kt::Vector(1.0, 2.0, 3.0));
    Kt::coordinateSystemTransformation placement = marker;
    for (const auto& [endEffector, message] :
         {std::pair{&bad, placementMessages[0]}, std::pair{good.get(), placementMessages[1]}}) {
      PrintCapture capture;
      EXPECT_FALSE(endEffector->calculatePlacement(manipulator, state, placement));
      EXPECT_EQ(capture.text(), message);
      EXPECT_TRUE(placement == marker);
    }
  }
}

// Labels that name no joint or the base are reported once, when resolved, and left out; a
// joint named twice gets both weights, a label without a weight the weight 1.
TEST(KtEndEffectorRowsTest, LinearConstraintResolvesItsJointsOnce) {
  TestRandom rng(43);
  KtStatedSystem stated = sampleSystem("craig_arm.xml", rng);
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtLinearConstraintEndEffector sum;
  sum.setJointLabels({"craigArmLink2", "nowhere", "craigArm", "craigArmLink5", "craigArmLink2"});
  sum.setJointWeights({0.5, 2.0, 3.0, 4.0});
  PrintCapture capture;
  sum.setLinkIndices(arm);
  EXPECT_EQ(capture.text(),
            "KtLinearConstraintEndEffector::setLinkIndices(): bad label: nowhere.\n"
            "KtLinearConstraintEndEffector::setLinkIndices(): error: label is for base link\n");
  Kt::ReArray jacobian(1, arm.jointDof() + 6), sparsity(1, arm.jointDof() + 6);
  sum.insertJacobianComponent(arm, 0, KtEndEffectorRelativeLinkData(), false, *stated.activeState(0),
                              jacobian);
  sum.insertSparsityComponent(arm, 0, KtEndEffectorRelativeLinkData(), false, *stated.activeState(0),
                              sparsity);
  EXPECT_EQ(capture.messages().size(), 2u);
  std::vector<KtReal> expected(arm.jointDof() + 6, 0.0), pattern(arm.jointDof() + 6, 0.0);
  expected[1] = 1.5;
  expected[4] = 4.0;
  pattern[1] = pattern[4] = 1.0;
  EXPECT_EQ(jacobian[0], expected);
  EXPECT_EQ(sparsity[0], pattern);
}

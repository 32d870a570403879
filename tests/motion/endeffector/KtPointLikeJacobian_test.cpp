#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "motion/endeffector/EndEffectorOracle.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "support/PrintCapture.h"

namespace {

using endeffector_test::placementRates;
using endeffector_test::sampleSystem;
using PointLike = std::initializer_list<KtLinkPointEndEffector*>;

// The label of link `index` of the arm, or of its base for -1.
std::string labelOf(const KtIndividualManipulator& arm, int index) {
  return index < 0 ? arm.identifier() : arm.link(static_cast<std::size_t>(index)).identifier();
}

}  // namespace

// Each class's rows, written below a row that must stay zero, against central differences of
// its own placement: the point's (brought from the reference link's axes into system axes when
// relative), their projection on the plane axes for the x-y end effector, the sum's for the
// linear constraint. The sparsity rows cover every non-zero, and a free base of an absolute
// point gives exactly the identity and the cross-product matrix of its offset from the base.
TEST(KtPointLikeJacobianTest, RowsAgreeWithPlacementDifferences) {
  TestRandom rng(41);
  for (const char* name : {"craig_arm.xml", "paul_arm.xml"})
    for (int c = 0; c < TestRandom::cases(); ++c)
      for (const bool isRelative : {false, true})
        for (const bool freeBase : {false, true}) {
          KtStatedSystem stated = sampleSystem(name, rng);
          const KtIndividualManipulator& arm = stated.system().manipulator(0);
          const int n = static_cast<int>(arm.jointDof());
          const std::size_t columns = arm.jointDof() + (freeBase ? 6 : 0);
          KtEndEffectorRelativeLinkData relative;
          relative.setIsRelativeLink(isRelative);
          relative.setRelativeLinkId(labelOf(arm, rng.integer(-1, n - 1)));
          KtPointEndEffector point;
          KtXyEndEffector xy;
          const std::string carrying = labelOf(arm, rng.integer(-1, n - 1));
          const Kt::Vector offset(rng.uniform(-0.3, 0.3), rng.uniform(-0.3, 0.3), rng.uniform(-0.3, 0.3));
          for (KtLinkPointEndEffector* e : PointLike{&point, &xy}) {
            e->setLinkIdentifier(carrying);
            e->setPoint(offset);
            e->setRelativeLinkData(relative);
          }
          xy.setXyOrientation(manipulator_test::randomPose(rng).orientation());
          KtLinearConstraintEndEffector sum;
          sum.setJointLabels({labelOf(arm, rng.integer(0, n - 1)), labelOf(arm, rng.integer(0, n - 1))});
          sum.setJointWeights({rng.uniform(-2, 2), rng.uniform(-2, 2)});

          const Kt::ReArray pointRates = placementRates(stated, point, freeBase);
          const Kt::ReArray sumRates = placementRates(stated, sum, freeBase);
          // Taken after the differences, which moved the state and put it back.
          KtManipulatorActiveState& state = *stated.activeState(0);
          const Kt::Orientation toSystem =
              isRelative ? arm.findLink(relative.relativeLinkId())->primaryFrameInSystem(state).orientation()
                         : Kt::Orientation();
          Kt::ReArray expectedPoint(3, columns), expectedXy(2, columns), expectedSum(1, columns);
          for (std::size_t col = 0; col < columns; ++col) {
            const Kt::Vector v =
                toSystem * Kt::Vector(pointRates[0][col], pointRates[1][col], pointRates[2][col]);
            for (std::size_t k = 0; k < 3; ++k) expectedPoint[k][col] = v[k];
            for (std::size_t k = 0; k < 2; ++k) expectedXy[k][col] = xy.planeCoordinates(v)[k];
            expectedSum[0][col] = sumRates[0][col];
          }
          const std::string what = std::string(name) + (isRelative ? " relative" : " absolute") +
                                   (freeBase ? " free base, case " : " fixed base, case ") +
                                   std::to_string(c);
          const auto check = [&](const KtEndEffector& e, const Kt::ReArray& expected) {
            Kt::ReArray jacobian(e.rowCount() + 1, columns), sparsity(e.rowCount() + 1, columns);
            e.insertJacobianComponent(arm, 1, relative, !freeBase, state, jacobian);
            e.insertSparsityComponent(arm, 1, relative, !freeBase, state, sparsity);
            Kt::ReArray rows(e.rowCount(), columns);
            for (std::size_t r = 0; r < rows.rows(); ++r) rows[r] = jacobian[r + 1];
            endeffector_test::expectMatrixNear(rows, expected, 1e-6, what + " " + typeid(e).name());
            EXPECT_EQ(jacobian[0], std::vector<KtReal>(columns, 0.0)) << what;
            for (std::size_t r = 1; r < jacobian.rows(); ++r)
              for (std::size_t col = 0; col < columns; ++col)
                if (jacobian[r][col] != 0.0) {
                  EXPECT_EQ(sparsity[r][col], 1.0) << what << " " << r << ", " << col;
                }
            return rows;
          };
          const Kt::ReArray pointRows = check(point, expectedPoint);
          check(xy, expectedXy);
          check(sum, expectedSum);
          if (isRelative || !freeBase) continue;
          Kt::Vector p;
          ASSERT_TRUE(point.calculatePointPlacement(arm, state, p));
          const Kt::Vector r =
              p - state.activePositionState().positionState().coordinateSystemTransform().translation();
          const double block[3][6] = {
              {1, 0, 0, 0, r.z(), -r.y()}, {0, 1, 0, -r.z(), 0, r.x()}, {0, 0, 1, r.y(), -r.x(), 0}};
          for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t b = 0; b < 6; ++b)
              EXPECT_DOUBLE_EQ(pointRows[k][arm.jointDof() + b], block[k][b]) << what;
        }
}

// A bad carrying label leaves the rows as they were; a bad reference label still writes the
// own chain, as the absolute end effector does, and no base column. Each with its message.
TEST(KtPointLikeJacobianTest, BadLabelsPrintAndWriteOnlyWhatTheyCan) {
  TestRandom rng(42);
  KtStatedSystem stated = sampleSystem("craig_arm.xml", rng);
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState& state = *stated.activeState(0);
  const std::size_t columns = arm.jointDof() + 6;
  KtEndEffectorRelativeLinkData absolute, badReference;
  badReference.setIsRelativeLink(true);
  badReference.setRelativeLinkId("nowhere");
  KtPointEndEffector point;
  KtXyEndEffector xy;
  for (KtLinkPointEndEffector* e : PointLike{&point, &xy}) {
    const std::string cls = e == &point ? "KtPointEndEffector::" : "KtXyEndEffector::";
    const struct {
      const char* label;
      bool sparsity;
      const KtEndEffectorRelativeLinkData& relative;
      std::string message;
    } cases[] = {
        {"nowhere", false, absolute,
         cls + "insertJacobianComponent(): bad label on point end effector: nowhere.\n"},
        {"nowhere", true, absolute,
         cls + "insertSparsityComponent(): bad label on point end effector: nowhere.\n"},
        {"craigArmLink4", false, badReference,
         cls + "insertJacobianComponent(): bad index on relative link: -1.\n"},
        {"craigArmLink4", true, badReference,
         cls + "insertSparsityComponent(): bad index on relative pLink: -1.\n"},
    };
    for (const auto& c : cases) {
      e->setLinkIdentifier(c.label);
      const auto fill = [&](Kt::ReArray& m) {
        for (std::size_t r = 0; r < m.rows(); ++r) m[r].assign(columns, 7.0);
      };
      const auto insert = [&](const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                              Kt::ReArray& m) {
        fill(m);
        if (c.sparsity) {
          e->insertSparsityComponent(arm, 0, relative, isFixedBase, state, m);
        } else {
          e->insertJacobianComponent(arm, 0, relative, isFixedBase, state, m);
        }
      };
      Kt::ReArray written(e->rowCount(), columns), expected(e->rowCount(), columns);
      PrintCapture capture;
      insert(c.relative, false, written);
      EXPECT_EQ(capture.text(), c.message);
      if (&c.relative == &absolute) {
        fill(expected);
      } else {
        insert(absolute, true, expected);
      }
      for (std::size_t r = 0; r < written.rows(); ++r) EXPECT_EQ(written[r], expected[r]) << c.message;
    }
  }

  Kt::coordinateSystemTransformation placement(Kt::Vector(1, 2, 3));
  KtPlanarVector planar = {4.0, 5.0};
  point.setLinkIdentifier("nowhere");
  xy.setLinkIdentifier("nowhere");
  KtPointEndEffector relativePoint;
  relativePoint.setLinkIdentifier("craigArmLink3");
  relativePoint.setRelativeLinkData(badReference);
  PrintCapture capture;
  EXPECT_FALSE(point.calculatePlacement(arm, state, placement));
  EXPECT_FALSE(xy.calculate2DPointPlacement(arm, state, planar));
  EXPECT_FALSE(relativePoint.calculatePlacement(arm, state, placement));
  EXPECT_EQ(capture.text(),
            "KtPointEndEffector::calculatePointPlacement(): bad label on point end effector: nowhere.\n"
            "KtXyEndEffector::calculate2DPointPlacement(): bad label on point end effector: nowhere.\n"
            "KtPointEndEffector::calculatePlacement(): bad index on relative link: -1.\n");
  EXPECT_EQ(placement.translation(), Kt::Vector(1, 2, 3));
  EXPECT_EQ(planar, (KtPlanarVector{4.0, 5.0}));
}

// Labels that name no joint or the base are reported once, when resolved, and left out; a
// joint named twice gets both weights, a label without a weight the weight 1.
TEST(KtPointLikeJacobianTest, LinearConstraintResolvesItsJointsOnce) {
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

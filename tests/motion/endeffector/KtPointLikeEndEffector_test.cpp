#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <initializer_list>
#include <string>

#include "foundation/MathUtil.h"
#include "motion/endeffector/EndEffectorOracle.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

using Placement = Kt::coordinateSystemTransformation;
using All = std::initializer_list<const KtEndEffector*>;

// A plane turned a quarter about the system's x axis: its axes are the system's x and z.
const Kt::Orientation kUprightPlane = Kt::Orientation::xRotation(std::acos(-1.0) / 2);

KtPointMotionFilter pointFilter(KtReal gain, KtReal threshold) {
  KtPointMotionFilter filter;
  filter.setLinearGain(gain);
  filter.setThreshold(threshold);
  return filter;
}

}  // namespace

// The point filter's law through each class, the error along one direction of its rows: the
// gain is capped at 1/dt, the correction clamped to the threshold exactly and the feed-forward
// added after the clamp (an empty one counts as zero). A feed-forward of another size prints
// and leaves the commanded velocity as it was.
TEST(KtPointLikeEndEffectorTest, FiltersCapTheGainAndClampOnlyTheCorrection) {
  const struct {
    KtReal gain, threshold, dt, error, feedForward, expected;
  } cases[] = {
      {200, 1e9, 0.01, 0.5, 0.0, 50.0},    {200, 1e9, 0.001, 0.5, 0.0, 100.0},
      {50, 1e9, 0.01, -0.5, 0.5, -24.5},   {200, 1.0, 0.001, 0.5, 0.25, 1.25},
      {200, 1.0, 0.001, -0.5, -3.0, -4.0},
  };
  const Kt::Vector along(0.6, 0.0, -0.8);
  const std::array<KtReal, 2> planar = {0.8, 0.6};
  const Placement actual(Kt::Vector(1.0, -2.0, 0.5));
  for (const auto& c : cases) {
    KtPointEndEffector point;
    KtXyEndEffector xy;
    KtLinearConstraintEndEffector sum;
    point.setPointMotionFilter(pointFilter(c.gain, c.threshold));
    xy.setPointMotionFilter(pointFilter(c.gain, c.threshold));
    xy.setXyOrientation(kUprightPlane);
    sum.setGain(c.gain);
    sum.setMotionThreshold(c.threshold);
    // The desired point is off along the rows' direction, and off the plane (y) for the x-y one.
    const struct {
      const KtEndEffector& e;
      Kt::Vector offset;
      std::vector<KtReal> unit;
    } classes[] = {{point, along * c.error, {along.x(), along.y(), along.z()}},
                   {xy, Kt::Vector(planar[0] * c.error, 5.0, planar[1] * c.error), {planar[0], planar[1]}},
                   {sum, Kt::Vector(c.error, 3.0, 4.0), {1.0}}};
    for (const auto& k : classes) {
      KtEndEffectorVelocityEntries feedForward, commanded;
      if (c.feedForward != 0.0)
        for (KtReal u : k.unit) feedForward.push_back(c.feedForward * u);
      k.e.filterEndEffectorVelocity(actual, Placement(actual.translation() + k.offset), feedForward, c.dt,
                                    commanded);
      ASSERT_EQ(commanded.size(), k.unit.size());
      for (std::size_t i = 0; i < k.unit.size(); ++i)
        EXPECT_NEAR(commanded[i], c.expected * k.unit[i], 1e-12);
    }
  }

  const KtPointEndEffector point;
  const KtXyEndEffector xy;
  const KtLinearConstraintEndEffector sum;
  KtEndEffectorVelocityEntries commanded = {9.0};
  PrintCapture capture;
  for (const KtEndEffector* e : All{&point, &xy, &sum})
    e->filterEndEffectorVelocity(Placement(), actual, KtEndEffectorVelocityEntries(6, 1.0), 0.01, commanded);
  EXPECT_EQ(capture.text(),
            "KtPointEndEffector::filterEndEffectorVelocity input velocity size wrong."
            "KtXyEndEffector::filterEndEffectorVelocity input velocity size wrong."
            "KtLinearConstraintEndEffector::filterEndEffectorVelocity input velocity size wrong.");
  EXPECT_EQ(commanded, KtEndEffectorVelocityEntries{9.0});
}

// The distances measure the error each class constrains, as a length and in units of the
// threshold (one that is not positive counts as the smallest positive value).
TEST(KtPointLikeEndEffectorTest, DistancesMeasureTheConstrainedError) {
  KtPointEndEffector point;
  point.setMotionThreshold(0.5);
  KtXyEndEffector xy;
  xy.setXyOrientation(kUprightPlane);
  xy.setMotionThreshold(0.25);
  KtLinearConstraintEndEffector sum;
  sum.setMotionThreshold(0.0);
  const struct {
    const KtEndEffector& e;
    Placement first, second;
    KtReal linear, normalized;
  } cases[] = {
      {point, Placement(Kt::Vector(1, 2, 3)), Placement(Kt::Vector(4, 6, 3)), 5.0, 10.0},
      {xy, Placement(), Placement(Kt::Vector(3, 100, 4)), 5.0, 20.0},
      {sum, Placement(Kt::Vector(1e-300, 7, 7)), Placement(Kt::Vector(-2e-300, 0, 0)), 3e-300,
       3e-300 / ktSmallestPositive},
  };
  for (const auto& c : cases) {
    EXPECT_NEAR(c.e.linearDistance(c.first, c.second) / c.linear, 1.0, 1e-12) << typeid(c.e).name();
    EXPECT_NEAR(c.e.normalizedDistance(c.first, c.second) / c.normalized, 1.0, 1e-12) << typeid(c.e).name();
  }
}

// A list of the wrong length changes nothing; "0" alone clears the hard-constraint flag; each
// class's values come back unchanged through a fresh object.
TEST(KtPointLikeEndEffectorTest, EditingValuesParseAndRoundTrip) {
  KtPointEndEffector point;
  point.setEditingValues({{"trans_x", "1"}, {"trans_y", "2"}, {"trans_z", "3"}, {"filter_threshold", "4"}});
  EXPECT_TRUE(point.isEqual(KtPointEndEffector()));
  for (const auto& [text, flag] :
       {std::pair{"0", false}, {"false", true}, {"", true}, {"0", false}, {"1", true}}) {
    point.setEditingValues({{"trans_x", "1.5"},
                            {"trans_y", "-2"},
                            {"trans_z", "0.25"},
                            {"filter_threshold", "0.125"},
                            {"is_hard_constraint", text}});
    EXPECT_EQ(point.isHardConstraint(), flag) << text;
  }
  EXPECT_EQ(point.point(), Kt::Vector(1.5, -2, 0.25));
  EXPECT_EQ(point.motionThreshold(), 0.125);

  KtXyEndEffector xy;
  xy.setPoint(Kt::Vector(0.1, 0.2, 0.3));
  xy.setXyOrientation(Kt::Orientation(0.5, 0.5, -0.5, 0.5));
  xy.setMotionThreshold(2.5);
  KtLinearConstraintEndEffector sum;
  ASSERT_TRUE(sum.setEditingValue("link", "craigArmLink3"));
  ASSERT_TRUE(sum.setEditingValue("joint_value", "0.75"));
  EXPECT_EQ(sum.jointLabels(), std::vector<std::string>{"craigArmLink3"});
  EXPECT_EQ(sum.weightedSum(), 0.75);
  sum.setGain(12.0);
  for (const KtEndEffector* e : All{&point, &xy, &sum}) {
    const std::unique_ptr<KtXmlObject> fresh = e->newInstance();
    auto& copy = static_cast<KtEndEffector&>(*fresh);
    copy.setEditingValues(e->editingValues());
    EXPECT_EQ(copy.editingValues(), e->editingValues());
    EXPECT_EQ(copy.editingValues().size(), copy.editingLabelCount());
  }
}

// Each class written, read back and written again gives the same text byte for byte.
TEST(KtPointLikeEndEffectorTest, DocumentsRoundTrip) {
  KtPointEndEffector point;
  point.setPointMotionFilter(pointFilter(12.5, 0.25));
  point.setPoint(Kt::Vector(0.5, -1, 2));
  point.setErrorWeight(3.0);
  KtXyEndEffector xy;
  xy.setXyOrientation(Kt::Orientation(0.5, 0.5, -0.5, 0.5));
  KtLinearConstraintEndEffector sum;
  sum.setJointLabels({"a", "b"});
  sum.setJointWeights({0.5, -1.5});
  sum.setWeightedSum(2.0);
  sum.setIsInteractive(true);
  for (const KtEndEffector* e : All{&point, &xy, &sum}) {
    const std::string once = ktTestWrite(*e);
    const std::unique_ptr<KtXmlObject> read = e->newInstance();
    EXPECT_TRUE(ktTestRead(*read, once));
    EXPECT_TRUE(read->isEqual(*e)) << once;
    EXPECT_EQ(ktTestWrite(*read), once);
  }
}

// Once warm, placements, rows and filters allocate nothing.
TEST(KtPointLikeEndEffectorTest, HotPathsAllocateNothing) {
  TestRandom rng(44);
  KtStatedSystem stated = endeffector_test::sampleSystem("paul_arm.xml", rng);
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtEndEffectorRelativeLinkData relative;
  relative.setIsRelativeLink(true);
  relative.setRelativeLinkId("paulArmLink2");
  KtPointEndEffector point;
  KtXyEndEffector xy;
  for (KtLinkPointEndEffector* e : std::initializer_list<KtLinkPointEndEffector*>{&point, &xy}) {
    e->setLinkIdentifier("paulArmLink6");
    e->setRelativeLinkData(relative);
  }
  KtLinearConstraintEndEffector sum;
  sum.setJointLabels({"paulArmLink1", "paulArmLink4"});
  Kt::ReArray matrix(3, arm.jointDof() + 6);
  KtEndEffectorVelocityEntries commanded;
  Placement placement;
  const auto run = [&] {
    for (const KtEndEffector* e : All{&point, &xy, &sum}) {
      KtManipulatorActiveState& state = *stated.activeState(0);
      EXPECT_TRUE(e->calculatePlacement(arm, state, placement));
      e->insertJacobianComponent(arm, 0, e->relativeLinkData(), false, state, matrix);
      e->insertSparsityComponent(arm, 0, KtEndEffectorRelativeLinkData(), false, state, matrix);
      e->filterEndEffectorVelocity(placement, Placement(Kt::Vector(1, 2, 3)), {}, 0.01, commanded);
    }
  };
  run();
  NoAllocationGuard guard;
  run();
}

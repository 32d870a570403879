#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "foundation/MathUtil.h"
#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"

namespace {

using Placement = Kt::coordinateSystemTransformation;

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
// gain is capped at 1/dt once gain·dt reaches 1 (not at all for dt = 0), the correction clamped
// to the threshold exactly and the feed-forward added after the clamp (an empty one counts as
// zero).
TEST(KtPointLikeEndEffectorTest, FiltersCapTheGainAndClampOnlyTheCorrection) {
  const struct {
    KtReal gain, threshold, dt, error, feedForward, expected;
  } cases[] = {
      {200, 1e9, 0.01, 0.5, 0.0, 50.0},    {200, 1e9, 0.001, 0.5, 0.0, 100.0},
      {200, 1e9, 0.008, 0.5, 0.0, 62.5},   {200, 1e9, 0.005, 0.5, 0.0, 100.0},
      {50, 1e9, 0.0, 0.5, 0.0, 25.0},      {1, 1e9, 10.0, 0.5, 0.0, 0.05},
      {50, 1e9, 0.01, -0.5, 0.5, -24.5},   {200, 1.0, 0.001, 0.5, 0.25, 1.25},
      {200, 1.0, 0.001, -0.5, -3.0, -4.0}, {200, 100.0, 0.001, 0.5, 0.25, 100.25},
      {200, 0.0, 0.001, 0.5, 0.25, 0.25},
  };
  const Kt::Vector along(0.6, 0.0, -0.8);
  const std::array<KtReal, 2> planar = {0.8, 0.6};
  const Placement actual(Kt::Vector(1.0, -2.0, 0.5));
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "gain " << c.gain << " dt " << c.dt << " threshold " << c.threshold);
    KtPointEndEffector point;
    KtXyEndEffector xy;
    KtLinearConstraintEndEffector sum;
    KtCenterOfMassEndEffector com;
    point.setPointMotionFilter(pointFilter(c.gain, c.threshold));
    xy.setPointMotionFilter(pointFilter(c.gain, c.threshold));
    xy.setXyOrientation(kUprightPlane);
    sum.setGain(c.gain);
    sum.setMotionThreshold(c.threshold);
    com.setMotionFilter(pointFilter(c.gain, c.threshold));
    // The desired point is off along the rows' direction, and off the plane (y) for the x-y one.
    const struct {
      const KtEndEffector& e;
      Kt::Vector offset;
      std::vector<KtReal> unit;
    } classes[] = {{point, along * c.error, {along.x(), along.y(), along.z()}},
                   {xy, Kt::Vector(planar[0] * c.error, 5.0, planar[1] * c.error), {planar[0], planar[1]}},
                   {sum, Kt::Vector(c.error, 3.0, 4.0), {1.0}},
                   {com, along * c.error, {along.x(), along.y(), along.z()}}};
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
  KtCenterOfMassEndEffector com;
  com.setMotionThreshold(0.25);
  const struct {
    const KtEndEffector& e;
    Placement first, second;
    KtReal linear, normalized;
  } cases[] = {
      {point, Placement(Kt::Vector(1, 2, 3)), Placement(Kt::Vector(4, 6, 3)), 5.0, 10.0},
      {xy, Placement(), Placement(Kt::Vector(3, 100, 4)), 5.0, 20.0},
      {sum, Placement(Kt::Vector(1e-300, 7, 7)), Placement(Kt::Vector(-2e-300, 0, 0)), 3e-300,
       3e-300 / ktSmallestPositive},
      {com, Placement(), Placement(Kt::Vector(0, 3, 4)), 5.0, 20.0},
  };
  for (const auto& c : cases) {
    EXPECT_NEAR(c.e.linearDistance(c.first, c.second) / c.linear, 1.0, 1e-12) << typeid(c.e).name();
    EXPECT_NEAR(c.e.normalizedDistance(c.first, c.second) / c.normalized, 1.0, 1e-12) << typeid(c.e).name();
  }
}

#include "motion/KtPointMotionFilter.h"

#include <gtest/gtest.h>

#include <algorithm>

// The commanded velocity may be written over the feed-forward it adds: the correction is
// taken, clamped and added without reading the output early.
TEST(KtPointMotionFilterTest, OutputMayBeTheFeedForwardItself) {
  const Kt::Vector actual(1.0, 1.0, -2.0), desired(4.0, 5.0, -2.0), feedForward(10.0, 0.0, -2.0);
  for (const double threshold : {10.0, 2.5}) {
    KtPointMotionFilter filter;
    filter.setLinearGain(1.0);
    filter.setThreshold(threshold);
    Kt::Vector shared = feedForward;
    filter.filterVelocity(actual, desired, shared, 0.0, shared);
    EXPECT_EQ(shared, (desired - actual) * std::min(1.0, threshold / 5.0) + feedForward) << threshold;
    KtPlanarVector planar = {feedForward.x(), feedForward.y()};
    filter.filterPlanarVelocity({actual.x(), actual.y()}, {desired.x(), desired.y()}, planar, 0.0, planar);
    EXPECT_EQ(planar, (KtPlanarVector{shared.x(), shared.y()})) << threshold;
  }
}

#include "motion/KtPointMotionFilter.h"

#include <gtest/gtest.h>

namespace {

// Runs the filter on the point and on the planar form of its first two entries, and checks
// that both give the expected velocity.
void expectBothForms(const KtPointMotionFilter& filter, const Kt::Vector& actual, const Kt::Vector& desired,
                     const Kt::Vector& feedForward, double dt, const Kt::Vector& expected) {
  Kt::Vector commanded;
  filter.filterVelocity(actual, desired, feedForward, dt, commanded);
  EXPECT_DOUBLE_EQ(commanded.x(), expected.x());
  EXPECT_DOUBLE_EQ(commanded.y(), expected.y());
  EXPECT_DOUBLE_EQ(commanded.z(), expected.z());
  KtPlanarVector planar;
  filter.filterPlanarVelocity({actual.x(), actual.y()}, {desired.x(), desired.y()},
                              {feedForward.x(), feedForward.y()}, dt, planar);
  EXPECT_DOUBLE_EQ(planar[0], expected.x());
  EXPECT_DOUBLE_EQ(planar[1], expected.y());
}

}  // namespace

// The gain is capped at 1/dt once gain·dt reaches 1.
TEST(KtPointMotionFilterTest, GainIsLimitedToCloseTheErrorInOneStep) {
  const struct {
    double gain, dt, k;
  } cases[] = {{200.0, 0.01, 100.0},  {200.0, 0.001, 200.0}, {200.0, 0.008, 125.0},
               {200.0, 0.005, 200.0}, {50.0, 0.0, 50.0},     {1.0, 10.0, 0.1}};
  const Kt::Vector actual(0.25, -1.0, 2.0), error(0x1p-10, -0x1p-9, 0x1p-11);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "gain " << c.gain << " dt " << c.dt);
    KtPointMotionFilter filter;
    filter.setLinearGain(c.gain);
    expectBothForms(filter, actual, actual + error, Kt::Vector(), c.dt, error * c.k);
    // Closing the error within the step: one step of the commanded velocity never overshoots.
    EXPECT_LE(c.k * c.dt, 1.0 + 1e-15);
  }
}

// Only the correction is limited: the feed-forward velocity is added after the clamp.
TEST(KtPointMotionFilterTest, CorrectionIsClampedToTheThresholdBeforeTheFeedForward) {
  const struct {
    double threshold;
    Kt::Vector correction;
  } cases[] = {
      {10.0, {3.0, 4.0, 0.0}}, {5.0, {3.0, 4.0, 0.0}}, {2.5, {1.5, 2.0, 0.0}}, {0.0, {0.0, 0.0, 0.0}}};
  const Kt::Vector actual(1.0, 1.0, -2.0), desired(4.0, 5.0, -2.0), feedForward(10.0, 0.0, -2.0);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "threshold " << c.threshold);
    KtPointMotionFilter filter;
    filter.setLinearGain(1.0);
    filter.setThreshold(c.threshold);
    expectBothForms(filter, actual, desired, feedForward, 0.0, c.correction + feedForward);
    // The output may be the feed-forward input itself.
    Kt::Vector shared = feedForward;
    filter.filterVelocity(actual, desired, shared, 0.0, shared);
    EXPECT_EQ(shared, c.correction + feedForward);
  }
}

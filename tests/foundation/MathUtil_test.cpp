#include "foundation/MathUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

TEST(MathUtil, ClampedAcosNeverReturnsNaNForRoundedArguments) {
  EXPECT_EQ(ktClampedAcos(1.0 + 1e-15), 0.0);
  EXPECT_EQ(ktClampedAcos(-1.0 - 1e-15), std::numbers::pi);
  EXPECT_DOUBLE_EQ(ktClampedAcos(0.5), std::acos(0.5));
}

TEST(MathUtil, GuardPositiveRaisesOnlyNonPositiveValues) {
  EXPECT_EQ(ktGuardPositive(0.0), ktSmallestPositive);
  EXPECT_EQ(ktGuardPositive(-3.0), ktSmallestPositive);
  EXPECT_EQ(ktGuardPositive(NAN), ktSmallestPositive);
  EXPECT_EQ(ktGuardPositive(1e-310), 1e-310);
  EXPECT_EQ(ktGuardPositive(2.5), 2.5);
}

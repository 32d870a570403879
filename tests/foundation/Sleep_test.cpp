#include "foundation/Sleep.h"

#include <gtest/gtest.h>

#include <chrono>

TEST(Sleep, BlocksAtLeastTheRequestedMilliseconds) {
  const auto start = std::chrono::steady_clock::now();
  KtSLEEPMS(20);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

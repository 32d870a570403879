#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "support/Random.h"

std::uint64_t TestRandomSettings::seed = 20261122;
int TestRandomSettings::cases = 200;

namespace {

void readSetting(const char* text, std::uint64_t& seed) { seed = std::strtoull(text, nullptr, 10); }
void readSetting(const char* text, int& cases) { cases = std::atoi(text); }

template <typename T>
void applyOption(int argc, char** argv, const char* option, const char* variable, T& value) {
  if (const char* fromEnvironment = std::getenv(variable)) readSetting(fromEnvironment, value);
  const std::size_t length = std::strlen(option);
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], option, length) == 0) readSetting(argv[i] + length, value);
  }
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  applyOption(argc, argv, "--kt-seed=", "KT_TEST_SEED", TestRandomSettings::seed);
  applyOption(argc, argv, "--kt-cases=", "KT_TEST_CASES", TestRandomSettings::cases);
  std::cout << "Property tests: seed " << TestRandomSettings::seed << ", " << TestRandomSettings::cases
            << " cases each\n";
  return RUN_ALL_TESTS();
}

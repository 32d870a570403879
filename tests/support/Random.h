#pragma once

#include <cstdint>
#include <random>

// Seeded randomness for property tests. The seed and the number of cases per property
// come from the command line (--kt-seed=N, --kt-cases=N) or the environment (KT_TEST_SEED,
// KT_TEST_CASES), so that a failure can be replayed and CI can run more cases.
struct TestRandomSettings {
  static std::uint64_t seed;
  static int cases;
};

class TestRandom {
 public:
  // Each test gets its own stream, derived from the global seed and a per-test salt, so
  // that adding a test does not change the inputs of the others.
  explicit TestRandom(std::uint64_t salt = 0)
      : engine_(TestRandomSettings::seed ^ (salt * 0x9E3779B97F4A7C15ull)) {}

  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
  std::mt19937_64& engine() { return engine_; }

  static int cases() { return TestRandomSettings::cases; }

 private:
  std::mt19937_64 engine_;
};

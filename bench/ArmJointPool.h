#pragma once

#include <kdl/jntarray.hpp>
#include <random>
#include <vector>

// A fixed pool of random joint vectors for a 7-joint arm, cycled through by the "fresh"
// benchmarks so that no cached frame can be reused, in our form and in KDL's.
namespace arm_bench {

constexpr std::size_t kJoints = 7;
constexpr std::size_t kPoolSize = 256;

inline const std::vector<std::vector<double>>& jointPool() {
  static const std::vector<std::vector<double>> pool = [] {
    std::mt19937_64 engine(3);
    std::uniform_real_distribution<double> angle(-2.8, 2.8);
    std::vector<std::vector<double>> vectors(kPoolSize, std::vector<double>(kJoints));
    for (auto& q : vectors) {
      for (double& value : q) value = angle(engine);
    }
    return vectors;
  }();
  return pool;
}

inline std::vector<KDL::JntArray> kdlJointPool() {
  std::vector<KDL::JntArray> pool;
  for (const auto& q : jointPool()) {
    KDL::JntArray joints(kJoints);
    for (std::size_t i = 0; i < kJoints; ++i) joints(static_cast<unsigned>(i)) = q[i];
    pool.push_back(joints);
  }
  return pool;
}

}  // namespace arm_bench

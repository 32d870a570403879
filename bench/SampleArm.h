#pragma once

// The 7-joint sample arm as the benchmarks build it, for the toolkit and for KDL, and a fixed
// pool of random joint vectors shared by every benchmark that takes "fresh" joints.
#include <cstddef>
#include <kdl/chain.hpp>
#include <kdl/jntarray.hpp>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "manipulator/KtIndividualManipulator.h"

namespace sample_arm {

constexpr std::size_t kJoints = 7;
constexpr std::size_t kPoolSize = 256;
constexpr double kHalfPi = std::numbers::pi / 2;

struct Row {
  double a, alpha, d;
};
// The modified D-H table of the Craig sample arm (data/craig_arm.xml).
inline const Row kRows[kJoints] = {{0, 0, 0.333},        {0, -kHalfPi, 0},           {0, kHalfPi, 0.316},
                                   {0.0825, kHalfPi, 0}, {-0.0825, -kHalfPi, 0.384}, {0, kHalfPi, 0},
                                   {0.088, kHalfPi, 0}};

inline std::unique_ptr<KtIndividualManipulator> makeArm() {
  auto arm = std::make_unique<KtIndividualManipulator>();
  int parent = KtManipulatorLink::kBaseLinkIndex;
  for (const Row& row : kRows) {
    auto joint = std::make_unique<KtDenavitHartenberg>();
    joint->setDhType(KtDhType::craig);
    joint->setA(row.a);
    joint->setAlpha(row.alpha);
    joint->setD(row.d);
    auto link = std::make_unique<KtManipulatorLink>();
    link->setKinematics(std::move(joint));
    parent = arm->addLink(parent, std::move(link));
  }
  return arm;
}

// The same arm as one KDL segment per joint: Rz(q_i)·Tz(d_i) followed by the next joint's
// Rx(alpha)·Tx(a) (the first joint's is the identity for this arm).
inline KDL::Chain makeKdlChain() {
  KDL::Chain chain;
  for (std::size_t i = 0; i < kJoints; ++i) {
    KDL::Frame tip(KDL::Vector(0, 0, kRows[i].d));
    if (i + 1 < kJoints) tip = tip * KDL::Frame::DH_Craig1989(kRows[i + 1].a, kRows[i + 1].alpha, 0, 0);
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), tip));
  }
  return chain;
}

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

}  // namespace sample_arm

// One whole control step of the 7-joint sample arm: the flange frame from fresh joints, the
// stacked Jacobian, a joint-limit gradient, the velocity solve and an Euler step clamped at the
// joint limits, through a control description as the position loop runs it. Beside it the same
// pipeline built from KDL: the position solver, then the pseudo-inverse velocity solver with
// null-space optimisation (which computes the Jacobian itself, through ChainJntToJacSolver,
// and pulls the joints toward the middle of their ranges), then the same clamped Euler step.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainiksolvervel_pinv_nso.hpp>
#include <memory>
#include <string>
#include <vector>

#include "SampleArm.h"
#include "manipulator/KtStatedSystem.h"
#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"
#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "motion/velocity/KtIndividualVelocityControlDescription.h"
#include "xml/KtXmlFile.h"

namespace {

using namespace sample_arm;

constexpr double kTimeStep = 0.001;
const std::vector<double> kFlangeVelocity = {0.1, -0.05, 0.2, 0.3, -0.1, 0.05};

struct Limits {
  std::vector<double> lower, upper;
};

Limits limitsOf(const KtIndividualManipulator& arm) {
  Limits limits;
  for (std::size_t i = 0; i < arm.jointDof(); ++i) {
    limits.lower.push_back(arm.link(i).lowerLimitConstraint());
    limits.upper.push_back(arm.link(i).upperLimitConstraint());
  }
  return limits;
}

// The shared joint pool, each vector clamped into the arm's limits.
std::vector<std::vector<double>> limitedPool(const Limits& limits) {
  std::vector<std::vector<double>> pool = jointPool();
  for (auto& q : pool)
    for (std::size_t i = 0; i < q.size(); ++i) q[i] = std::clamp(q[i], limits.lower[i], limits.upper[i]);
  return pool;
}

void integrate(std::vector<double>& q, const std::vector<double>& rates, const Limits& limits) {
  for (std::size_t i = 0; i < q.size(); ++i)
    q[i] = std::clamp(q[i] + kTimeStep * rates[i], limits.lower[i], limits.upper[i]);
}

void BM_KtControlStep(benchmark::State& state) {
  const std::string data = KT_BENCH_DATA_DIR;
  KtStatedSystem stated;
  KtIndividualVelocityControlDescription description;
  if (!ktReadObjectFromFile(stated, data + "/craig_arm.xml") ||
      !ktReadObjectFromFile(description.endEffectorSet(), data + "/craig_arm_flange_set.xml")) {
    state.SkipWithError("could not read the sample documents");
    return;
  }
  auto core = std::make_unique<KtControlExpressionCore>();
  core->vector().setExpression(std::make_unique<KtControlExpressionJointLimitAvoidance>());
  core->scalar().setExpression(std::make_unique<KtControlExpressionScalarConstant>(0.02));
  description.controlExpressionContainer().setExpression(std::move(core));
  KtManipulatorEndEffectorVelocity velocities;
  velocities.resize(1);
  velocities.velocity(0) = kFlangeVelocity;

  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const Limits limits = limitsOf(arm);
  const std::vector<std::vector<double>> pool = limitedPool(limits);
  const KtEndEffector& flange = description.endEffectorSet().endEffector(0);
  std::vector<double>& joints = stated.state().positionStates()[0].jointPositions();
  Kt::coordinateSystemTransformation placement;
  std::vector<double> rates;
  std::size_t next = 0, failures = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    std::copy(pool[next].begin(), pool[next].end(), joints.begin());
    flange.calculatePlacement(arm, *stated.activeState(0), placement);
    if (!description.calculateJointRates(stated, 0, &velocities, rates, kTimeStep)) ++failures;
    integrate(joints, rates, limits);
    benchmark::DoNotOptimize(joints.data());
    benchmark::DoNotOptimize(&placement);
  }
  state.counters["failures"] = static_cast<double>(failures);
}

void BM_KdlControlStep(benchmark::State& state) {
  const std::string data = KT_BENCH_DATA_DIR;
  KtStatedSystem stated;
  if (!ktReadObjectFromFile(stated, data + "/craig_arm.xml")) {
    state.SkipWithError("could not read the sample arm");
    return;
  }
  const Limits limits = limitsOf(stated.system().manipulator(0));
  const std::vector<std::vector<double>> pool = limitedPool(limits);
  const KDL::Chain chain = makeKdlChain();
  KDL::JntArray middle(kJoints), weights(kJoints), q(kJoints), rates(kJoints);
  for (unsigned i = 0; i < kJoints; ++i) {
    middle(i) = 0.5 * (limits.lower[i] + limits.upper[i]);
    weights(i) = 1.0;
  }
  KDL::ChainFkSolverPos_recursive positions(chain);
  KDL::ChainIkSolverVel_pinv_nso velocitySolver(chain, middle, weights, 1e-5, 150, 0.02);
  const KDL::Twist velocity(KDL::Vector(kFlangeVelocity[0], kFlangeVelocity[1], kFlangeVelocity[2]),
                            KDL::Vector(kFlangeVelocity[3], kFlangeVelocity[4], kFlangeVelocity[5]));
  KDL::Frame flange;
  std::vector<double> joints(kJoints), jointRates(kJoints);
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    for (unsigned i = 0; i < kJoints; ++i) q(i) = pool[next][i];
    positions.JntToCart(q, flange);
    velocitySolver.CartToJnt(q, velocity, rates);
    for (unsigned i = 0; i < kJoints; ++i) {
      joints[i] = q(i);
      jointRates[i] = rates(i);
    }
    integrate(joints, jointRates, limits);
    benchmark::DoNotOptimize(joints.data());
    benchmark::DoNotOptimize(&flange);
  }
}

}  // namespace

BENCHMARK(BM_KtControlStep);
BENCHMARK(BM_KdlControlStep);

// The velocity solve of the 7-joint sample arm for a 6-row frame end effector: joint rates
// that achieve a Cartesian velocity exactly and minimise a weighted cost plus a gradient term
// in the one remaining direction. Beside it the same optimality conditions solved as one 13 x 13
// system with Eigen's partially pivoted LU, and KDL's pseudo-inverse solver with null-space
// optimisation on the same chain (which computes its own Jacobian and an SVD).
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <kdl/chainiksolvervel_pinv_nso.hpp>
#include <vector>

#include "SampleArm.h"
#include "manipulator/KtJointColumns.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "motion/velocity/KtCoreVelocityControlTool.h"

namespace {

using namespace sample_arm;

constexpr std::size_t kRowsOfFrame = 6;
constexpr std::size_t kKktSize = kJoints + kRowsOfFrame;
const std::vector<double> kWeights = {2.0, 2.0, 1.5, 1.5, 1.0, 1.0, 0.5};
const std::vector<double> kGradient = {0.3, -0.2, 0.1, 0.4, -0.5, 0.2, -0.1};
const std::vector<double> kVelocity = {0.1, -0.05, 0.2, 0.3, -0.1, 0.05};
constexpr double kGradientScale = 0.25;

// The last link's frame Jacobian (system axes, at the frame's origin) for the joint vector.
void writeJacobian(const KtIndividualManipulator& arm, KtManipulatorActiveState& active,
                   const std::vector<double>& joints, Kt::ReArray& jacobian) {
  active.activePositionState().setJointPositions(joints);
  const Kt::coordinateSystemTransformation& frame = arm.link(kJoints - 1).dhFrameInSystem(active);
  KtJointColumns::write(arm, active, kJoints - 1, frame.translation(), KtJacobianRows::both, jacobian, 0);
}

const std::vector<Kt::ReArray>& jacobianPool() {
  static const std::vector<Kt::ReArray> pool = [] {
    const auto arm = makeArm();
    KtManipulatorActiveState active;
    std::vector<Kt::ReArray> jacobians(kPoolSize, Kt::ReArray(kRowsOfFrame, kJoints));
    for (std::size_t i = 0; i < kPoolSize; ++i) writeJacobian(*arm, active, jointPool()[i], jacobians[i]);
    return jacobians;
  }();
  return pool;
}

Kt::ReArray weightMatrix() {
  Kt::ReArray W;
  W.setToDiagonal(kWeights);
  return W;
}

void BM_KtVelocitySolve(benchmark::State& state) {
  const auto& pool = jacobianPool();
  const Kt::ReArray W = weightMatrix();
  KtCoreVelocityControlTool tool;
  std::size_t next = 0, failures = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    if (!tool.calcJointRates(pool[next], W, kGradient, kGradientScale, kVelocity, kJoints)) ++failures;
    benchmark::DoNotOptimize(tool.jointRates().data());
  }
  // Solves refused as rank deficient (none is expected for these poses).
  state.counters["failures"] = static_cast<double>(failures);
}

// From fresh joints: the frame, its Jacobian and the solve, as KDL's solver does it below.
void BM_KtJacobianAndVelocitySolve(benchmark::State& state) {
  const auto arm = makeArm();
  KtManipulatorActiveState active;
  Kt::ReArray jacobian(kRowsOfFrame, kJoints);
  const Kt::ReArray W = weightMatrix();
  KtCoreVelocityControlTool tool;
  std::size_t next = 0, failures = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    writeJacobian(*arm, active, jointPool()[next], jacobian);
    if (!tool.calcJointRates(jacobian, W, kGradient, kGradientScale, kVelocity, kJoints)) ++failures;
    benchmark::DoNotOptimize(tool.jointRates().data());
  }
  // Solves refused as rank deficient (none is expected for these poses).
  state.counters["failures"] = static_cast<double>(failures);
}

// [W Jᵀ; J 0]·[q; λ] = [−αF; V] with fixed sizes; W and the gradient part stay in place.
void BM_EigenKktVelocitySolve(benchmark::State& state) {
  using Jacobian = Eigen::Matrix<double, kRowsOfFrame, kJoints>;
  std::vector<Jacobian> pool(kPoolSize);
  for (std::size_t i = 0; i < kPoolSize; ++i)
    for (std::size_t r = 0; r < kRowsOfFrame; ++r)
      for (std::size_t c = 0; c < kJoints; ++c) pool[i](r, c) = jacobianPool()[i][r][c];
  Eigen::Matrix<double, kKktSize, kKktSize> K = Eigen::Matrix<double, kKktSize, kKktSize>::Zero();
  Eigen::Matrix<double, kKktSize, 1> rhs;
  for (std::size_t i = 0; i < kJoints; ++i) {
    K(i, i) = kWeights[i];
    rhs(i) = -kGradientScale * kGradient[i];
  }
  for (std::size_t i = 0; i < kRowsOfFrame; ++i) rhs(kJoints + i) = kVelocity[i];
  Eigen::PartialPivLU<Eigen::Matrix<double, kKktSize, kKktSize>> lu;
  Eigen::Matrix<double, kKktSize, 1> solution;
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    K.template topRightCorner<kJoints, kRowsOfFrame>() = pool[next].transpose();
    K.template bottomLeftCorner<kRowsOfFrame, kJoints>() = pool[next];
    lu.compute(K);
    solution = lu.solve(rhs);
    benchmark::DoNotOptimize(solution.data());
  }
}

// KDL weighs a joint-centring gradient by the joint weights; the rest position is zero.
void BM_KdlPinvNsoVelocitySolve(benchmark::State& state) {
  const KDL::Chain chain = makeKdlChain();
  KDL::JntArray restPosition(kJoints), weights(kJoints), rates(kJoints);
  for (std::size_t i = 0; i < kJoints; ++i) weights(static_cast<unsigned>(i)) = kWeights[i];
  KDL::ChainIkSolverVel_pinv_nso solver(chain, restPosition, weights, 1e-5, 150, kGradientScale);
  const KDL::Twist velocity(KDL::Vector(kVelocity[0], kVelocity[1], kVelocity[2]),
                            KDL::Vector(kVelocity[3], kVelocity[4], kVelocity[5]));
  const std::vector<KDL::JntArray> pool = kdlJointPool();
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    solver.CartToJnt(pool[next], velocity, rates);
    benchmark::DoNotOptimize(rates.data.data());
  }
}

}  // namespace

BENCHMARK(BM_KtVelocitySolve);
BENCHMARK(BM_EigenKktVelocitySolve);
BENCHMARK(BM_KtJacobianAndVelocitySolve);
BENCHMARK(BM_KdlPinvNsoVelocitySolve);

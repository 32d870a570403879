// Forward kinematics of the 7-joint sample arm (modified D-H parameters) beside KDL's
// recursive position solver for the same arm, in one binary. "Fresh" takes a new joint
// vector every iteration, so no cached frame can be reused; "Repeated" asks again for the
// same joints, which the lazy frames answer from their cache. The Jacobian cases add the 6x7
// frame Jacobian at the last link's origin in system coordinates to the last link's frame.
#include <benchmark/benchmark.h>

#include <cmath>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainjnttojacsolver.hpp>
#include <vector>

#include "SampleArm.h"
#include "manipulator/KtJointColumns.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "math/SinCos.h"

namespace {

using namespace sample_arm;

void ktFrames(benchmark::State& state, bool fresh, bool everyLink) {
  const auto arm = makeArm();
  KtManipulatorActiveState active;
  KtManipulatorActivePositionState& positions = active.activePositionState();
  const auto& pool = jointPool();
  std::size_t next = 0;
  for (auto _ : state) {
    if (fresh) next = (next + 1) % kPoolSize;
    positions.setJointPositions(pool[next]);
    if (everyLink) {
      for (std::size_t i = 0; i < kJoints; ++i)
        benchmark::DoNotOptimize(&arm->link(i).dhFrameInSystem(active));
    } else {
      benchmark::DoNotOptimize(&arm->link(kJoints - 1).dhFrameInSystem(active));
    }
  }
}

// The last link's frame and the Jacobian of its joint columns at that frame's origin.
void ktFrameAndJacobian(benchmark::State& state) {
  const auto arm = makeArm();
  KtManipulatorActiveState active;
  KtManipulatorActivePositionState& positions = active.activePositionState();
  const KtManipulatorLink& last = arm->link(kJoints - 1);
  Kt::ReArray jacobian(6, kJoints);
  const auto& pool = jointPool();
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    positions.setJointPositions(pool[next]);
    const Kt::coordinateSystemTransformation& frame = last.dhFrameInSystem(active);
    KtJointColumns::write(*arm, active, kJoints - 1, frame.translation(), KtJacobianRows::both, jacobian, 0);
    benchmark::DoNotOptimize(&frame);
    benchmark::DoNotOptimize(&jacobian);
  }
}

// KDL's Jacobian solver takes the reference point at the chain's tip, which for this arm
// (last d = 0) is the last link's frame origin, and gives system axes.
void kdlFrameAndJacobian(benchmark::State& state) {
  const KDL::Chain chain = makeKdlChain();
  KDL::ChainFkSolverPos_recursive positionSolver(chain);
  KDL::ChainJntToJacSolver jacobianSolver(chain);
  const std::vector<KDL::JntArray> pool = kdlJointPool();
  KDL::Frame last;
  KDL::Jacobian jacobian(kJoints);
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    positionSolver.JntToCart(pool[next], last);
    jacobianSolver.JntToJac(pool[next], jacobian);
    benchmark::DoNotOptimize(&last);
    benchmark::DoNotOptimize(jacobian.data.data());
  }
}

void kdlFrames(benchmark::State& state, bool fresh, bool everyLink) {
  const KDL::Chain chain = makeKdlChain();
  KDL::ChainFkSolverPos_recursive solver(chain);
  const std::vector<KDL::JntArray> pool = kdlJointPool();
  std::vector<KDL::Frame> frames(kJoints);
  KDL::Frame last;
  std::size_t next = 0;
  for (auto _ : state) {
    if (fresh) next = (next + 1) % kPoolSize;
    if (everyLink) {
      solver.JntToCart(pool[next], frames);
      benchmark::DoNotOptimize(frames.data());
    } else {
      solver.JntToCart(pool[next], last);
      benchmark::DoNotOptimize(&last);
    }
  }
}

// The yardstick: the same arm as a plain loop of 3x4 matrices written for the modified
// convention (no caching, no model), every link frame, with the sines and cosines from the C
// library one at a time or from our own vectorised pass over all joints at once.
void handWrittenFrames(benchmark::State& state, bool ownTrigonometry) {
  struct Frame {
    double r[3][3];
    double p[3];
  };
  const auto& pool = jointPool();
  double sinAlpha[kJoints], cosAlpha[kJoints];
  for (std::size_t i = 0; i < kJoints; ++i) {
    sinAlpha[i] = std::sin(kRows[i].alpha);
    cosAlpha[i] = std::cos(kRows[i].alpha);
  }
  Frame frames[kJoints];
  double sines[kJoints], cosines[kJoints];
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    const std::vector<double>& q = pool[next];
    if (ownTrigonometry) {
      Kt::sinCosMany(q.data(), sines, cosines, kJoints);
    } else {
      for (std::size_t i = 0; i < kJoints; ++i) {
        sines[i] = std::sin(q[i]);
        cosines[i] = std::cos(q[i]);
      }
    }
    Frame parent{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};
    for (std::size_t i = 0; i < kJoints; ++i) {
      const double s = sines[i], c = cosines[i];
      const double sa = sinAlpha[i], ca = cosAlpha[i];
      const double joint[3][3] = {{c, -s, 0}, {s * ca, c * ca, -sa}, {s * sa, c * sa, ca}};
      const double offset[3] = {kRows[i].a, -kRows[i].d * sa, kRows[i].d * ca};
      Frame& frame = frames[i];
      for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
          frame.r[row][column] = parent.r[row][0] * joint[0][column] + parent.r[row][1] * joint[1][column] +
                                 parent.r[row][2] * joint[2][column];
        }
        frame.p[row] = parent.p[row] + parent.r[row][0] * offset[0] + parent.r[row][1] * offset[1] +
                       parent.r[row][2] * offset[2];
      }
      parent = frame;
    }
    benchmark::DoNotOptimize(frames);
  }
}

void BM_HandWrittenEveryLinkFresh(benchmark::State& state) { handWrittenFrames(state, false); }
void BM_HandWrittenOwnSinCosEveryLinkFresh(benchmark::State& state) { handWrittenFrames(state, true); }
void BM_KtEveryLinkFresh(benchmark::State& state) { ktFrames(state, true, true); }
void BM_KdlEveryLinkFresh(benchmark::State& state) { kdlFrames(state, true, true); }
void BM_KtLastLinkFresh(benchmark::State& state) { ktFrames(state, true, false); }
void BM_KdlLastLinkFresh(benchmark::State& state) { kdlFrames(state, true, false); }
void BM_KtFrameAndJacobianFresh(benchmark::State& state) { ktFrameAndJacobian(state); }
void BM_KdlFrameAndJacobianFresh(benchmark::State& state) { kdlFrameAndJacobian(state); }
void BM_KtEveryLinkRepeated(benchmark::State& state) { ktFrames(state, false, true); }
void BM_KdlEveryLinkRepeated(benchmark::State& state) { kdlFrames(state, false, true); }
void BM_KtLastLinkRepeated(benchmark::State& state) { ktFrames(state, false, false); }
void BM_KdlLastLinkRepeated(benchmark::State& state) { kdlFrames(state, false, false); }

}  // namespace

BENCHMARK(BM_HandWrittenEveryLinkFresh);
BENCHMARK(BM_HandWrittenOwnSinCosEveryLinkFresh);
BENCHMARK(BM_KtEveryLinkFresh);
BENCHMARK(BM_KdlEveryLinkFresh);
BENCHMARK(BM_KtLastLinkFresh);
BENCHMARK(BM_KdlLastLinkFresh);
BENCHMARK(BM_KtFrameAndJacobianFresh);
BENCHMARK(BM_KdlFrameAndJacobianFresh);
BENCHMARK(BM_KtEveryLinkRepeated);
BENCHMARK(BM_KdlEveryLinkRepeated);
BENCHMARK(BM_KtLastLinkRepeated);
BENCHMARK(BM_KdlLastLinkRepeated);

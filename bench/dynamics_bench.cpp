// The mass matrix and the gravity torques of the 7-joint sample arm with its identified masses
// (data/craig_arm.xml), beside KDL's ChainDynParam on the same arm, in one binary. Every
// iteration takes a new joint vector, so our side computes the link frames as well, as KDL's
// solvers do on every call. The gravity derivative has no KDL counterpart and is timed alone.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <kdl/chaindynparam.hpp>
#include <memory>
#include <string>
#include <vector>

#include "SampleArm.h"
#include "manipulator/KtManipulatorDynamics.h"
#include "manipulator/KtStatedSystem.h"
#include "xml/KtXmlFile.h"

namespace {

using sample_arm::jointPool;
using sample_arm::kJoints;
using sample_arm::kPoolSize;

const KtIndividualManipulator& sampleArm() {
  static const std::unique_ptr<KtIndividualManipulator> arm = [] {
    KtStatedSystem stated;
    ktReadObjectFromFile(stated, std::string(KT_BENCH_DATA_DIR) + "/craig_arm.xml");
    return std::make_unique<KtIndividualManipulator>(stated.system().manipulator(0));
  }();
  return *arm;
}

KDL::Frame toKdl(const Kt::coordinateSystemTransformation& t) {
  const Kt::Orientation& q = t.orientation();
  return KDL::Frame(KDL::Rotation::Quaternion(q.x(), q.y(), q.z(), q.w()),
                    KDL::Vector(t.translation().x(), t.translation().y(), t.translation().z()));
}

// One segment per joint, Rz(q_i)·Tz(d_i) followed by the next row's Rx(alpha)·Tx(a) (the first
// row has none for this arm). KDL takes a segment's inertia in its tip frame, which is the link's
// joint frame followed by that next-row offset; our mass properties are given in the primary frame.
KDL::Chain kdlChain(const KtIndividualManipulator& arm) {
  KDL::Chain chain;
  for (std::size_t i = 0; i < kJoints; ++i) {
    const KtDenavitHartenberg& row = *arm.link(i).denavitHartenberg();
    KDL::Frame next = KDL::Frame::Identity();
    if (i + 1 < kJoints) {
      const KtDenavitHartenberg& following = *arm.link(i + 1).denavitHartenberg();
      next = KDL::Frame::DH_Craig1989(following.a(), following.alpha(), 0, 0);
    }
    const KtMassProperties& mass = arm.link(i).massProperties();
    const KtSymmetricTensor c = mass.inertiaAboutCenterOfMass();
    const Kt::Vector center = mass.centerOfMass();
    const KDL::RigidBodyInertia inPrimary(mass.mass(), KDL::Vector(center.x(), center.y(), center.z()),
                                          KDL::RotationalInertia(c.xx, c.yy, c.zz, c.xy, c.xz, c.yz));
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), KDL::Frame(KDL::Vector(0, 0, row.d())) * next,
                                  next.Inverse() * (toKdl(row.primaryFrame()) * inPrimary)));
  }
  return chain;
}

enum class Quantity { mass, gravity, derivative };

// Whether the sample arm loaded; otherwise the benchmark is skipped.
bool armLoaded(benchmark::State& state) {
  if (sampleArm().jointDof() == kJoints) return true;
  state.SkipWithError("data/craig_arm.xml did not load as a 7-joint arm");
  return false;
}

void ktDynamics(benchmark::State& state, Quantity quantity) {
  if (!armLoaded(state)) return;
  const KtIndividualManipulator& arm = sampleArm();
  KtManipulatorActiveState active;
  KtDynamicsWorkspace workspace;
  KtManipulatorDynamics::prepare(arm, workspace);
  Kt::ReArray matrix;
  std::vector<KtReal> torques;
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    active.activePositionState().setJointPositions(jointPool()[next]);
    if (quantity == Quantity::mass) KtManipulatorDynamics::massMatrix(arm, active, workspace, matrix);
    if (quantity == Quantity::gravity) KtManipulatorDynamics::gravityTorques(arm, active, workspace, torques);
    if (quantity == Quantity::derivative)
      KtManipulatorDynamics::gravityTorqueDerivative(arm, active, workspace, matrix);
    benchmark::DoNotOptimize(&matrix);
    benchmark::DoNotOptimize(torques.data());
  }
}

// Before timing, both sides answer the first pool entry; a disagreement means the two chains
// differ, and the figures would compare different arms.
bool sameAnswers(KDL::ChainDynParam& solver, const KDL::JntArray& q) {
  KtManipulatorActiveState active;
  KtDynamicsWorkspace workspace;
  KtManipulatorDynamics::prepare(sampleArm(), workspace);
  active.activePositionState().setJointPositions(jointPool()[0]);
  Kt::ReArray mass;
  std::vector<KtReal> torques;
  KtManipulatorDynamics::massMatrix(sampleArm(), active, workspace, mass);
  KtManipulatorDynamics::gravityTorques(sampleArm(), active, workspace, torques);
  KDL::JntSpaceInertiaMatrix kdlMass(static_cast<int>(kJoints));
  KDL::JntArray kdlTorques(static_cast<unsigned>(kJoints));
  solver.JntToMass(q, kdlMass);
  solver.JntToGravity(q, kdlTorques);
  double worst = 0.0;
  for (unsigned i = 0; i < kJoints; ++i) {
    worst = std::max(worst, std::fabs(torques[i] - kdlTorques(i)));
    for (unsigned j = 0; j < kJoints; ++j) worst = std::max(worst, std::fabs(mass[i][j] - kdlMass(i, j)));
  }
  return worst < 1e-9;
}

void kdlDynamics(benchmark::State& state, Quantity quantity) {
  if (!armLoaded(state)) return;
  const KDL::Chain chain = kdlChain(sampleArm());
  KDL::ChainDynParam solver(chain, KDL::Vector(0, 0, -9.81));
  const std::vector<KDL::JntArray> pool = sample_arm::kdlJointPool();
  if (!sameAnswers(solver, pool[0])) state.SkipWithError("our arm and KDL's chain disagree");
  KDL::JntSpaceInertiaMatrix mass(static_cast<int>(kJoints));
  KDL::JntArray torques(static_cast<unsigned>(kJoints));
  std::size_t next = 0;
  for (auto _ : state) {
    next = (next + 1) % kPoolSize;
    if (quantity == Quantity::mass) solver.JntToMass(pool[next], mass);
    if (quantity == Quantity::gravity) solver.JntToGravity(pool[next], torques);
    benchmark::DoNotOptimize(mass.data.data());
    benchmark::DoNotOptimize(torques.data.data());
  }
}

void BM_KtMassMatrixFresh(benchmark::State& state) { ktDynamics(state, Quantity::mass); }
void BM_KdlMassMatrixFresh(benchmark::State& state) { kdlDynamics(state, Quantity::mass); }
void BM_KtGravityTorquesFresh(benchmark::State& state) { ktDynamics(state, Quantity::gravity); }
void BM_KdlGravityTorquesFresh(benchmark::State& state) { kdlDynamics(state, Quantity::gravity); }
void BM_KtGravityDerivativeFresh(benchmark::State& state) { ktDynamics(state, Quantity::derivative); }

}  // namespace

BENCHMARK(BM_KtMassMatrixFresh);
BENCHMARK(BM_KdlMassMatrixFresh);
BENCHMARK(BM_KtGravityTorquesFresh);
BENCHMARK(BM_KdlGravityTorquesFresh);
BENCHMARK(BM_KtGravityDerivativeFresh);

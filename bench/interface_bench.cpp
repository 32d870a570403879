// One 1 kHz control cycle of the sample arm with its sample control document (a new desired
// flange pose on a small circle, then one control step), through the exported arm interface and,
// beside it, through the position-control container alone: the difference is what the interface
// adds (its result state, the copies out to the host's vectors and the checks on them). Last, the
// same control law stepped bare: the end effectors' placements, their filtered velocities toward
// the desired placements, the joint rates of the sample description and a clamped Euler step,
// without the position loop's planning, refusal checks and diagnostics.
#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "control/controlInterface.h"
#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/position/KtPositionControlContainer.h"
#include "motion/velocity/KtIndividualVelocityControlDescription.h"
#include "xml/KtXmlFile.h"

namespace {

constexpr double kCycle = 0.001;
const std::vector<double> kStart = {0.0, -0.3, 0.0, -2.2, 0.0, 2.0, 0.8};

// The desired flange pose of cycle k: 5 cm around a circle through `home`, once every 4 s.
Kt::coordinateSystemTransformation onCircle(const Kt::coordinateSystemTransformation& home, long cycle) {
  const double angle = 2.0 * std::numbers::pi * static_cast<double>(cycle % 4000) / 4000.0;
  const Kt::Vector& p = home.translation();
  return {Kt::Vector(p.x() - 0.05 + 0.05 * std::cos(angle), p.y() + 0.05 * std::sin(angle), p.z()),
          home.orientation()};
}

// The sample arm, starting at kStart, and its sample control document.
bool readSamples(KtStatedSystem& stated, KtPositionControlContainer& container) {
  const std::string data = KT_BENCH_DATA_DIR;
  if (!ktReadObjectFromFile(stated, data + "/craig_arm.xml") ||
      !ktReadObjectFromFile(container, data + "/craig_arm_position_control.xml"))
    return false;
  stated.state().positionStates()[0].setJointPositions(kStart);
  return true;
}

void BM_InterfaceControlCycle(benchmark::State& state) {
  const std::string data = KT_BENCH_DATA_DIR;
  orlix::controlInterface control;
  control.turnOffRendering();
  control.setManipulatorSystemFilename(data + "/craig_arm.xml");
  control.setControlSystemFilename(data + "/craig_arm_position_control.xml");
  Kt::coordinateSystemTransformation home;
  if (!control.initializeAll(kStart, Kt::coordinateSystemTransformation()) ||
      !control.getLastActualEndEffectorPose(home)) {
    state.SkipWithError("could not initialise the interface from the sample documents");
    return;
  }
  std::vector<double> values, rates;
  long cycle = 0;
  for (auto _ : state) {
    ++cycle;
    control.setDesiredEndEffectorPose(onCircle(home, cycle), 0);
    control.calculateNewJointValuesAndRates(static_cast<double>(cycle) * kCycle, values, rates);
    benchmark::DoNotOptimize(values.data());
  }
}
BENCHMARK(BM_InterfaceControlCycle);

void BM_PositionControlContainerCycle(benchmark::State& state) {
  KtStatedSystem stated;
  KtPositionControlContainer container;
  if (!readSamples(stated, container)) {
    state.SkipWithError("could not read the sample documents");
    return;
  }
  Kt::coordinateSystemTransformation home;
  if (!container.bind(stated) || !container.actualPlacement(0, 0, home)) {
    state.SkipWithError("could not bind the sample control");
    return;
  }
  KtManipulatorSystemState result;
  long cycle = 0;
  for (auto _ : state) {
    ++cycle;
    container.setDesiredPlacement(0, 0, onCircle(home, cycle));
    container.calculateState(static_cast<double>(cycle) * kCycle, result);
    benchmark::DoNotOptimize(&result);
  }
}
BENCHMARK(BM_PositionControlContainerCycle);

void BM_SampleControlLawBareStep(benchmark::State& state) {
  KtStatedSystem stated;
  KtPositionControlContainer container;
  if (!readSamples(stated, container)) {
    state.SkipWithError("could not read the sample documents");
    return;
  }
  std::vector<double>& joints = stated.state().positionStates()[0].jointPositions();
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtIndividualVelocityControlDescription& description =
      *container.system().velocityControlSystem().individualVelocityControlDescription(0);
  KtEndEffectorSet& set = description.endEffectorSet();
  const double filterStep = container.system().timeStep();
  // Every end effector is held where it starts, apart from the flange, which follows the circle.
  std::vector<Kt::coordinateSystemTransformation> desired(set.size()), actual(set.size());
  for (std::size_t e = 0; e < set.size(); ++e)
    set.endEffector(e).calculatePlacement(arm, *stated.activeState(0), desired[e]);
  const Kt::coordinateSystemTransformation home = desired[0];
  KtManipulatorEndEffectorVelocity commanded;
  commanded.resize(set.size());
  const KtEndEffectorVelocityEntries noFeedForward;
  std::vector<double> rates;
  long cycle = 0;
  for (auto _ : state) {
    ++cycle;
    desired[0] = onCircle(home, cycle);
    for (std::size_t e = 0; e < set.size(); ++e) {
      set.endEffector(e).calculatePlacement(arm, *stated.activeState(0), actual[e]);
      set.endEffector(e).filterEndEffectorVelocity(actual[e], desired[e], noFeedForward, filterStep,
                                                   commanded.velocity(e));
    }
    description.calculateJointRates(stated, 0, &commanded, rates, filterStep);
    for (std::size_t j = 0; j < joints.size(); ++j)
      joints[j] = arm.heldInLimits(j, joints[j] + rates[j] * kCycle);
    benchmark::DoNotOptimize(joints.data());
  }
}
BENCHMARK(BM_SampleControlLawBareStep);

}  // namespace

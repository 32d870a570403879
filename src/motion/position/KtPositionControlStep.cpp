// The state calculation of KtPositionControlSystem: planning the steps of an interval, the passes
// of one step, their integration and the diagnostics.
#include <algorithm>
#include <cmath>

#include "foundation/MathUtil.h"
#include "foundation/Print.h"
#include "math/Finite.h"
#include "motion/position/KtPositionControlSystem.h"

namespace {

// Leeway when counting the steps of an interval, so that rounding in the interval's length does
// not add a step of almost no length.
constexpr KtReal kStepCountLeeway = 1e-9;

struct StepPlan {
  unsigned wholeSteps = 0;
  unsigned finalSteps = 0;
  KtReal finalLength = 0.0;
  bool reachesTarget = false;
};

// Whole steps: the integer part of (interval − step) / step, within [0, maxIterations]. The rest
// of the interval: in at most maxFinal equal steps, none longer than `step`.
StepPlan planSteps(KtReal interval, KtReal step, unsigned maxIterations, unsigned maxFinal) {
  // The usual call of a loop running at the step's rate: one step covers it (what the general
  // rule below gives too, without its rounding functions).
  if (interval <= step && maxFinal > 0) return {0, 1, interval, true};
  StepPlan plan;
  const KtReal whole = std::floor((interval - step) / step);
  plan.wholeSteps =
      whole > 0.0 ? static_cast<unsigned>(std::min(whole, static_cast<KtReal>(maxIterations))) : 0;
  const KtReal rest = interval - plan.wholeSteps * step;
  if (rest <= 0.0) {
    plan.reachesTarget = true;
    return plan;
  }
  const KtReal needed = std::ceil(rest / step - kStepCountLeeway);
  plan.finalSteps = static_cast<unsigned>(std::min(std::max(needed, 1.0), static_cast<KtReal>(maxFinal)));
  plan.reachesTarget = plan.finalSteps >= needed;
  if (plan.finalSteps > 0) plan.finalLength = std::min(rest / plan.finalSteps, step);
  return plan;
}

KtReal dot(const KtVelocityState& a, const KtVelocityState& b) {
  const std::vector<KtReal>&ra = a.jointVelocities(), &rb = b.jointVelocities();
  KtReal sum = 0.0;
  for (std::size_t i = 0; i < ra.size() && i < rb.size(); ++i) sum += ra[i] * rb[i];
  const KtGeneralMotion &ga = a.generalVelocity(), &gb = b.generalVelocity();
  return sum + ga.linear().dot(gb.linear()) + ga.angular().dot(gb.angular());
}

// Whether every joint lies within its limits (which tells that it is finite as well), the case
// in which a state is admitted as it is.
bool withinLimits(const KtIndividualManipulator& manipulator, const std::vector<KtReal>& joints) {
  const std::size_t limited = std::min(joints.size(), manipulator.jointDof());
  for (std::size_t j = 0; j < limited; ++j) {
    const KtManipulatorLink& link = manipulator.link(j);
    if (!(joints[j] >= link.lowerLimitConstraint() && joints[j] <= link.upperLimitConstraint())) return false;
  }
  return std::all_of(joints.begin() + static_cast<std::ptrdiff_t>(limited), joints.end(),
                     [](KtReal q) { return std::isfinite(q); });
}

// The angle of the shorter rotation between a and b: the value angleAxisBetween gives to the last
// digit, without the sine, division and normalisation that its axis takes.
KtReal angleBetween(const Kt::Orientation& a, const Kt::Orientation& b) {
  if (a == b) return 0.0;
  const KtReal c = a.w() * b.w() + Kt::Vector(a.x(), a.y(), a.z()).dot(Kt::Vector(b.x(), b.y(), b.z()));
  return 2.0 * ktClampedAcos(std::abs(c));
}

}  // namespace

KtVelocityStateReturnMode KtPositionControlSystem::checkedReturnMode() const {
  const KtVelocityStateReturnMode mode = m_velocityStateReturnMode;
  if (mode == KtVelocityStateReturnMode::positionControlResult ||
      mode == KtVelocityStateReturnMode::finiteDifference)
    return mode;
  ktPrint(KtSeverity::Error,
          "KtPositionControlSystem::calculateState()-> bad velocity state return mode: %d; using the "
          "position control "
          "result.\n",
          static_cast<int>(mode));
  return KtVelocityStateReturnMode::positionControlResult;
}

bool KtPositionControlSystem::calculateState(KtReal time, KtManipulatorSystemState& result) {
  if (m_work.stated == nullptr) {
    ktPrint(KtSeverity::Error, "KtPositionControlSystem::calculateState(): no stated system is bound.\n");
    return false;
  }
  clearResults();
  if (!integrityCheck()) return false;
  sizeWorkspace();
  noteControlled();
  const KtVelocityStateReturnMode mode = checkedReturnMode();
  KtManipulatorSystemState& state = m_work.stated->state();
  if (!admitState()) return false;
  if (!std::isfinite(time)) {
    ktPrint(KtSeverity::Error, "KtPositionControlSystem::calculateState(): the target time is not finite.\n");
    for (KtPropagationResultData& data : m_work.results) data.setNonFiniteRejected(true);
    return false;
  }
  for (std::size_t m = 0; m < m_work.results.size(); ++m)
    m_work.results[m].resetFilterScaleFactors(m_work.desired[m].size());
  if (!updateActualPlacements()) return failCalculation(0, false);
  m_work.errorsBeforePending = true;

  const KtReal now = state.time(), interval = time - now;
  const bool stepping = interval > 0.0 && m_isOn;
  if (!stepping) {
    zeroRates();
    if (interval > 0.0) state.setTime(time);
    for (KtPropagationResultData& data : m_work.results) data.setTargetTimeReached(interval >= 0.0);
  } else {
    const KtReal dt = guardedTimeStep();
    const StepPlan plan = planSteps(interval, dt, m_maxIterations, m_maxFinalPropagationSize);
    const unsigned total = plan.wholeSteps + plan.finalSteps;
    // Later steps and second passes find placements over the start's: measure the errors before
    // while those are at hand. Rates are stored by a step that succeeds, so only a later step's
    // refusal needs them restored.
    if (total > 1 || m_useTwoPasses) settleCalculation();
    m_work.callStart.positionStates() = state.positionStates();
    if (total > 1) m_work.callStart.velocityStates() = state.velocityStates();
    unsigned steps = 0;
    for (; steps < total; ++steps) {
      if (!step(steps < plan.wholeSteps ? dt : plan.finalLength, steps == 0)) {
        state.positionStates() = m_work.callStart.positionStates();
        if (steps > 0) state.velocityStates() = m_work.callStart.velocityStates();
        m_work.placementsStale = true;
        ktPrint(
            KtSeverity::Error,
            "KtPositionControlSystem::calculateState(): step %u was refused; the state is left unchanged.\n",
            steps + 1);
        return false;
      }
    }
    state.setTime(time);
    m_work.placementsStale = true;
    for (KtPropagationResultData& data : m_work.results) {
      data.setStepsTaken(steps);
      data.setTargetTimeReached(plan.reachesTarget);
    }
  }
  m_work.errorsAfterPending = true;
  noteConditioning(stepping);
  result = state;
  if (mode == KtVelocityStateReturnMode::finiteDifference && interval > 0.0) fillResult(result, interval);
  return true;
}

// The state may have been set from outside since the last calculation. Positions that are not
// finite cannot be stepped from and refuse the calculation; joints beyond a limit are brought
// back onto it (and noted as held there), so that no result ever lies outside the limits.
bool KtPositionControlSystem::admitState() {
  std::vector<KtPositionState>& positions = m_work.stated->state().positionStates();
  const KtManipulatorSystem& system = m_work.stated->system();
  for (std::size_t m = 0; m < m_work.results.size() && m < positions.size(); ++m) {
    std::vector<KtReal>& joints = positions[m].jointPositions();
    const KtIndividualManipulator& manipulator = system.manipulator(m);
    const bool poseFinite = ktIsFinite(positions[m].coordinateSystemTransform());
    if (poseFinite && withinLimits(manipulator, joints)) continue;
    if (!poseFinite || !ktAllFinite(joints)) {
      ktPrint(KtSeverity::Error,
              "KtPositionControlSystem::calculateState(): the state of manipulator %zu is not finite.\n", m);
      return failCalculation(m, true);
    }
    for (std::size_t j = 0; j < joints.size(); ++j) {
      const KtReal held = manipulator.heldInLimits(j, joints[j]);
      if (held == joints[j]) continue;
      joints[j] = held;
      m_work.results[m].noteClampedJoint(j);
    }
  }
  return true;
}

void KtPositionControlSystem::clearResults() {
  for (KtPropagationResultData& data : m_work.results) data.clear();
  m_work.conditioning.forget();
  m_work.errorsBeforePending = m_work.errorsAfterPending = false;
  forgetReplacedDesired();
}

bool KtPositionControlSystem::failCalculation(std::size_t manipulator, bool nonFinite) {
  const bool flagged = manipulator < m_work.results.size() && m_work.results[manipulator].nonFiniteRejected();
  clearResults();
  if (manipulator < m_work.results.size())
    m_work.results[manipulator].setNonFiniteRejected(nonFinite || flagged);
  return false;
}

// The joint rates as displacement over the interval; the base's linear rate likewise, and its
// angular rate as the rotation between the two poses (about its axis) over the interval.
void KtPositionControlSystem::fillResult(KtManipulatorSystemState& result, KtReal interval) const {
  const std::vector<KtPositionState>& start = m_work.callStart.positionStates();
  for (std::size_t m = 0; m < result.positionStates().size() && m < start.size(); ++m) {
    const KtPositionState& to = result.positionStates()[m];
    const KtPositionState& from = start[m];
    KtVelocityState& rates = result.velocityStates()[m];
    std::vector<KtReal>& joints = rates.jointVelocities();
    for (std::size_t j = 0; j < joints.size() && j < to.jointPositions().size(); ++j)
      joints[j] = (to.jointPositions()[j] - from.jointPositions()[j]) / interval;
    const Kt::coordinateSystemTransformation &a = from.coordinateSystemTransform(),
                                             &b = to.coordinateSystemTransform();
    KtReal angle = 0.0;
    Kt::Vector axis;
    a.orientation().angleAxisBetween(b.orientation(), angle, axis);
    rates.generalVelocity() =
        KtGeneralMotion((b.translation() - a.translation()) / interval, axis * (angle / interval));
  }
}

void KtPositionControlSystem::zeroRates() {
  KtManipulatorSystemState& state = m_work.stated->state();
  for (KtVelocityState& rates : state.velocityStates()) {
    std::fill(rates.jointVelocities().begin(), rates.jointVelocities().end(), 0.0);
    rates.generalVelocity().setToZero();
  }
}

// One step: the first pass always; with two passes, a second one from the step's start with the
// rates solved where the first pass ended, and the two combined.
bool KtPositionControlSystem::step(KtReal h, bool placed) {
  KtManipulatorSystemState& state = m_work.stated->state();
  if (m_useTwoPasses) m_work.stepStart = state;
  if (!solveRates(m_work.rates, placed) || !integrate(m_work.rates, h)) return false;
  if (!m_useTwoPasses) {
    storeRates(m_work.rates);
    return true;
  }
  for (std::size_t m = 0; m < m_work.rates.size(); ++m) {
    m_work.firstPassRates[m] = m_work.rates[m];
    m_work.firstPassPositions[m] = state.positionStates()[m];
  }
  if (!solveRates(m_work.rates, false)) return false;
  state.positionStates() = m_work.stepStart.positionStates();
  if (!integrate(m_work.rates, h)) return false;
  combinePasses();
  return true;
}

bool KtPositionControlSystem::solveRates(std::vector<KtVelocityState>& rates, bool placed) {
  const KtReal dt = guardedTimeStep();
  for (std::size_t m = 0; m < m_work.actual.size(); ++m) {
    rates[m].generalVelocity().setToZero();
    if (!isControlled(m)) continue;
    const unsigned index = static_cast<unsigned>(m);
    if ((!placed && !calcAllEndEffectorPlacements(*m_work.stated, index, m_work.actual[m])) ||
        !filterVelocities(m, m_work.descriptions[m]->endEffectorSet(), dt))
      return failCalculation(m, false);
  }
  if (!m_velocityControlSystem.calculate(*m_work.stated, m_work.commanded, rates, dt))
    return failCalculation(0, false);
  return true;
}

// Integrates the controlled manipulators in place and notes the joints that a limit stops. A
// rate or position that is not finite refuses the step; the caller then restores the state.
bool KtPositionControlSystem::integrate(const std::vector<KtVelocityState>& rates, KtReal h) {
  KtManipulatorSystemState& state = m_work.stated->state();
  const KtManipulatorSystem& system = m_work.stated->system();
  for (std::size_t m = 0; m < rates.size(); ++m) {
    if (!isControlled(m)) continue;
    const KtIndividualManipulator& manipulator = system.manipulator(m);
    KtPositionState& position = state.positionStates()[m];
    KtIntegrationStatus status;
    manipulator.integrateState(rates[m], h, position, status);
    // Rates past the joints the integration moved must still be finite.
    const std::vector<KtReal>& jointRates = rates[m].jointVelocities();
    const std::size_t moved = std::min(position.jointPositions().size(), manipulator.jointDof());
    const bool restFinite =
        std::all_of(jointRates.begin() + static_cast<std::ptrdiff_t>(std::min(moved, jointRates.size())),
                    jointRates.end(), [](KtReal rate) { return std::isfinite(rate); });
    if (status.nonFiniteRejected || !restFinite) return failCalculation(m, true);
    if (status.limitReached) noteStoppedJoints(m, jointRates, position.jointPositions());
  }
  return true;
}

// A joint counts as stopped when it ends on a limit that its rate drives it against.
void KtPositionControlSystem::noteStoppedJoints(std::size_t manipulator, const std::vector<KtReal>& rates,
                                                const std::vector<KtReal>& joints) {
  const KtIndividualManipulator& arm = m_work.stated->system().manipulator(manipulator);
  const std::size_t moved = std::min({rates.size(), joints.size(), arm.jointDof()});
  for (std::size_t j = 0; j < moved; ++j) {
    const KtManipulatorLink& link = arm.link(j);
    if ((rates[j] > 0.0 && joints[j] >= link.upperLimitConstraint()) ||
        (rates[j] < 0.0 && joints[j] <= link.lowerLimitConstraint()))
      m_work.results[manipulator].noteClampedJoint(j);
  }
}

// The joint rates change hands by exchanging storage, at a fraction of the cost of a copy.
void KtPositionControlSystem::storeRates(std::vector<KtVelocityState>& rates) {
  std::vector<KtVelocityState>& stored = m_work.stated->state().velocityStates();
  for (std::size_t m = 0; m < rates.size() && m < stored.size(); ++m) {
    if (!isControlled(m)) continue;
    stored[m].jointVelocities().swap(rates[m].jointVelocities());
    stored[m].generalVelocity().setLinear(rates[m].generalVelocity().linear());
    stored[m].generalVelocity().setAngular(rates[m].generalVelocity().angular());
  }
}

// The state holds the second pass's positions and m_work.rates its rates.
void KtPositionControlSystem::combinePasses() {
  std::vector<KtPositionState>& positions = m_work.stated->state().positionStates();
  for (std::size_t m = 0; m < m_work.rates.size(); ++m) {
    if (!isControlled(m)) continue;
    KtVelocityState& second = m_work.rates[m];
    const KtVelocityState& first = m_work.firstPassRates[m];
    positions[m].linearInterpolation(m_work.firstPassPositions[m], positions[m], 0.5);
    const KtReal agreement = dot(first, second);
    std::vector<KtReal>& rates = second.jointVelocities();
    for (std::size_t j = 0; j < rates.size(); ++j)
      rates[j] = agreement > 0.0 ? 0.5 * (rates[j] + first.jointVelocities()[j]) : 0.0;
    const KtGeneralMotion& a = first.generalVelocity();
    const KtGeneralMotion& b = second.generalVelocity();
    second.generalVelocity() =
        agreement > 0.0 ? KtGeneralMotion((a.linear() + b.linear()) * 0.5, (a.angular() + b.angular()) * 0.5)
                        : KtGeneralMotion();
  }
  storeRates(m_work.rates);
}

// Largest linear and angular distance between actual and desired placements, per manipulator.
void KtPositionControlSystem::noteErrors(bool before) const {
  for (std::size_t m = 0; m < m_work.results.size(); ++m) {
    KtReal linear = 0.0, angular = 0.0;
    const KtManipulatorEndEffectorPlacement &actualPlacements = m_work.actual[m],
                                            &desiredPlacements = m_work.desired[m];
    for (std::size_t e = 0; e < actualPlacements.size() && e < desiredPlacements.size(); ++e) {
      const Kt::coordinateSystemTransformation& actual = actualPlacements.placement(e);
      const Kt::coordinateSystemTransformation& desired =
          desiredReplaced(m, e) ? m_work.replacedDesired[m][e] : desiredPlacements.placement(e);
      linear = std::max(linear, (desired.translation() - actual.translation()).mag());
      angular = std::max(angular, angleBetween(actual.orientation(), desired.orientation()));
    }
    if (before)
      m_work.results[m].setErrorsBefore(linear, angular);
    else
      m_work.results[m].setErrorsAfter(linear, angular);
  }
}

void KtPositionControlSystem::noteConditioning(bool stepped) {
  for (std::size_t m = 0; m < m_work.results.size(); ++m) {
    KtIndividualVelocityControlDescription& description = *m_work.descriptions[m];
    KtEndEffectorSet& set = description.endEffectorSet();
    // Without a step in this calculation the set's last Jacobian is not the present state's.
    if (!stepped || !isControlled(m))
      set.jacobian(m_work.stated->system().manipulator(m), description.isFixedBase(),
                   *m_work.stated->activeState(static_cast<int>(m)));
    m_work.conditioning.keep(m, set);
  }
}

void KtPositionControlSystem::settleCalculation() const {
  if (m_work.errorsBeforePending) noteErrors(true);
  if (m_work.placementsStale) updateActualPlacements();
  if (m_work.errorsAfterPending) noteErrors(false);
  m_work.errorsBeforePending = m_work.errorsAfterPending = false;
  forgetReplacedDesired();
}

const std::vector<KtPropagationResultData>& KtPositionControlSystem::propagationResults() const {
  settleCalculation();
  m_work.conditioning.settle(m_work.results);
  return m_work.results;
}

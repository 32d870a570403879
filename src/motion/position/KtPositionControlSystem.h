#pragma once

#include <cstddef>
#include <vector>

#include "manipulator/KtManipulatorSystemState.h"
#include "manipulator/KtStatedSystem.h"
#include "math/coordinateSystemTransformation.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"
#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"
#include "motion/position/KtPositionControlModes.h"
#include "motion/position/KtPositionControlWorkspace.h"
#include "motion/position/KtPropagationResultData.h"
#include "motion/velocity/KtVelocityControlSystem.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlEnumType.h"

// Drives every manipulator of a stated system toward desired end-effector placements over time.
//
// It is bound to a stated system (bind), whose state it advances in place: calculateState(t)
// steps from the state's time toward t. Each step, for every manipulator whose active control
// description is on, it takes the actual placement of each end effector, turns the difference to
// the desired placement into a commanded velocity through the end effector's motion filter
// (whose gain is lowered to 1/timeStep, so that one step never more than closes an error, and
// whose correcting speed is capped at its threshold), solves the velocity-control system for
// joint (and free-base) rates, and integrates them with the manipulator's own integration (joints
// held inclusively at their limits). Manipulators whose description is off are left as they are.
//
// Settled choices:
// - `useTwoPasses` is false and `isOn` true unless a document says otherwise. With `isOn` false a
//   calculation moves nothing: the time advances and the rates are zero.
// - Stepping: whole steps of `timeStep`, as many as fit before the last step's worth of the
//   interval and at most `maxIterations`, then a final propagation that covers the rest in at most
//   `maxFinalPropagationSize` equal steps, none longer than `timeStep`. What the limits leave
//   uncovered is given up: the state's time becomes the target time all the same, and the
//   diagnostics tell that the target was not reached.
// - A target time at or before the state's time moves nothing and sets every rate to zero.
// - Two passes: the first pass integrates rates solved at the step's start, the second rates
//   solved at the first pass's result, both from the step's start. A manipulator whose two rate
//   vectors (joints and base together) have a positive dot product takes the mean of the two
//   rates; otherwise its rates are zero, as the passes disagree about the direction of motion. Its
//   positions are the mean of the two passes either way (joints averaged, base half-way along the
//   shorter arc), so a manipulator settling onto its target keeps closing in.
// - `velocityStateReturnMode`: "positionControlResult" hands back the solved rates,
//   "finiteDifference" the displacement over the interval divided by its length (which shows
//   where a limit held a joint back). Another value is reported and treated as the first.
// - `collisionAvoidanceMode` ("none", "stopAtCollision", "avoidCollision"),
//   `collisionBreakdownThreshold` and `bvhPrecisionLevel` are kept for collision handling, which
//   waits for link geometry; until then every mode steps as "none".
// - updateState blends a measured state into the controlled one by clamp(rate, 0, 1): 0 keeps the
//   controlled state, 1 (or any larger rate, such as 1000) takes the measured one.
//
// No bad number leaves a calculation and no limit is crossed: desired placements and velocities
// that are not finite are refused when set; a bound state whose positions are not finite refuses
// the calculation, and joints set beyond a limit are brought back onto it first; a step whose
// commanded velocities, rates or new state are not finite is refused, the whole calculation is
// undone and reported false, and the diagnostics say so. Once warm (after one calculation with the same sets,
// modes and pass count), a calculation allocates nothing.
//
// Copies are unbound: they carry the components but none of the per-binding data.
class KtPositionControlSystem : public KtXmlCloneable<KtPositionControlSystem, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  KtVelocityControlSystem& velocityControlSystem() { return m_velocityControlSystem; }
  const KtVelocityControlSystem& velocityControlSystem() const { return m_velocityControlSystem; }
  KtReal timeStep() const { return m_timeStep; }
  void setTimeStep(KtReal step) { m_timeStep = step; }
  unsigned maxIterations() const { return m_maxIterations; }
  void setMaxIterations(unsigned iterations) { m_maxIterations = iterations; }
  unsigned maxFinalPropagationSize() const { return m_maxFinalPropagationSize; }
  void setMaxFinalPropagationSize(unsigned size) { m_maxFinalPropagationSize = size; }
  bool useTwoPasses() const { return m_useTwoPasses; }
  void setUseTwoPasses(bool twoPasses) { m_useTwoPasses = twoPasses; }
  bool isOn() const { return m_isOn; }
  void setIsOn(bool on) { m_isOn = on; }
  KtCollisionAvoidanceMode collisionAvoidanceMode() const { return m_collisionAvoidanceMode; }
  void setCollisionAvoidanceMode(KtCollisionAvoidanceMode mode) { m_collisionAvoidanceMode = mode; }
  KtVelocityStateReturnMode velocityStateReturnMode() const { return m_velocityStateReturnMode; }
  void setVelocityStateReturnMode(KtVelocityStateReturnMode mode) { m_velocityStateReturnMode = mode; }
  KtReal collisionBreakdownThreshold() const { return m_collisionBreakdownThreshold; }
  void setCollisionBreakdownThreshold(KtReal threshold) { m_collisionBreakdownThreshold = threshold; }
  unsigned bvhPrecisionLevel() const { return m_bvhPrecisionLevel; }
  void setBvhPrecisionLevel(unsigned level) { m_bvhPrecisionLevel = level; }
  KtReal defaultFeedbackAssimilationRate() const { return m_defaultFeedbackAssimilationRate; }
  void setDefaultFeedbackAssimilationRate(KtReal rate) { m_defaultFeedbackAssimilationRate = rate; }

  // Binds to a stated system (which must outlive the binding, or be bound again) and sizes the
  // per-manipulator data for it; every desired placement becomes the current actual one, so
  // the arm holds still until told otherwise. Binding again keeps the desired placements and
  // velocities of the end effectors that are still there. False when the counts do not agree
  // (see initializeStates).
  bool bind(KtStatedSystem& stated);
  KtStatedSystem* statedSystem() const { return m_work.stated; }

  // Desired placements (system coordinates) of end effector `endEffector` of a manipulator's
  // active set. add composes a displacement onto the stored placement: its translation is added
  // and its rotation applied after the stored one, both in system axes.
  bool setDesiredPlacement(int manipulator, int endEffector,
                           const Kt::coordinateSystemTransformation& placement);
  bool addDesiredPlacement(int manipulator, int endEffector,
                           const Kt::coordinateSystemTransformation& displacement);
  bool desiredPlacement(int manipulator, int endEffector,
                        Kt::coordinateSystemTransformation& placement) const;
  // The placement in the state the last calculation (or binding, or blend) left.
  bool actualPlacement(int manipulator, int endEffector, Kt::coordinateSystemTransformation& placement) const;
  // The feed-forward velocity of an end effector's filter: empty (none), one entry per row, or the
  // six-entry general velocity that frame-like filters reduce.
  bool setDesiredVelocity(unsigned manipulator, unsigned endEffector,
                          const KtEndEffectorVelocityEntries& velocity);

  // The placements of every end effector of manipulator `manipulator`'s active set in the given
  // stated system's current state, in set order.
  bool calcAllEndEffectorPlacements(const KtStatedSystem& stated, unsigned manipulator,
                                    KtManipulatorEndEffectorPlacement& placements) const;
  // The commanded velocities of a manipulator's end effectors from the actual and desired
  // placements and the desired velocities, through their filters over a step of dt.
  bool calculateGeneralMotion(int manipulator, KtReal dt);
  const KtManipulatorEndEffectorVelocity* commandedVelocities(int manipulator) const;

  // Checks that the bound system's manipulators, the control descriptions and the sized data
  // agree in number, and finds the actual placements of every end effector.
  bool initializeStates();
  // Whether there is one control description per manipulator of the bound system.
  bool integrityCheck() const;

  // Advances the bound system's state to `time` and copies it into `result`, with the rates that
  // the return mode asks for. False, with the state unchanged, when nothing is bound, a count
  // does not agree, the time is not finite, a step is refused or a solve fails.
  bool calculateState(KtReal time, KtManipulatorSystemState& result);
  // Blends the positions (joints and base poses) of a measured state into the controlled one by
  // clamp(rate, 0, 1); joints stay within their limits and the time and rates are kept. False
  // (nothing changed) when the measured state does not have the controlled one's shape or holds a
  // value that is not finite.
  bool updateState(const KtManipulatorSystemState& measured, KtReal rate);
  bool updateState(const KtManipulatorSystemState& measured) {
    return updateState(measured, m_defaultFeedbackAssimilationRate);
  }

  // The diagnostics of the last calculation, one per manipulator.
  const std::vector<KtPropagationResultData>& propagationResults() const;
  // Whether the last calculation refused a value of manipulator m that was not finite; unlike
  // propagationResults() it computes nothing, so a control loop can ask on every cycle.
  bool nonFiniteRejected(std::size_t manipulator) const {
    return manipulator < m_work.results.size() && m_work.results[manipulator].nonFiniteRejected();
  }

 protected:
  void registerComponents() override;

 private:
  KtReal guardedTimeStep() const;
  bool manipulatorValid(int manipulator, const char* operation, const char* format) const;
  bool placementIndexValid(int manipulator, int endEffector, const char* operation) const;
  // Notes once per calculation, after sizeWorkspace(), which manipulators are stepped (their
  // active description is on), for the passes, the integration and the diagnostics to ask.
  void noteControlled();
  bool isControlled(std::size_t manipulator) const { return m_work.controlled[manipulator] != 0; }
  // Gives every manipulator's data the size of its active set and notes its active description;
  // new desired placements are the actual ones.
  void sizeWorkspace();
  // calculateGeneralMotion for a manipulator whose workspace is sized for its active set `set`.
  bool filterVelocities(std::size_t manipulator, const KtEndEffectorSet& set, KtReal dt);
  bool updateActualPlacements() const;
  void noteErrors(bool before) const;
  // The one place where what a calculation leaves for later is completed: the errors before it
  // (from the placements it started with), the actual placements of a state that has moved since
  // they were found, then the errors after it. Every reader of any of them calls it first.
  void settleCalculation() const;
  // Keeps a desired placement for the pending errors before it changes.
  void keepDesired(std::size_t manipulator, std::size_t endEffector);
  void forgetReplacedDesired() const { ++m_work.desiredGeneration; }
  bool desiredReplaced(std::size_t manipulator, std::size_t endEffector) const {
    return m_work.desiredReplacedIn[manipulator][endEffector] == m_work.desiredGeneration;
  }
  void zeroRates();
  KtVelocityStateReturnMode checkedReturnMode() const;
  void fillResult(KtManipulatorSystemState& result, KtReal interval) const;
  // One step of length h; false when it is refused. `placed`: the actual placements already
  // belong to the present state (the first step of a calculation), so its first solve need not
  // find them again.
  bool step(KtReal h, bool placed);
  bool solveRates(std::vector<KtVelocityState>& rates, bool placed);
  bool integrate(const std::vector<KtVelocityState>& rates, KtReal h);
  void noteStoppedJoints(std::size_t manipulator, const std::vector<KtReal>& rates,
                         const std::vector<KtReal>& joints);
  void combinePasses();
  // Hands a pass's rates over to the state; the pass is left with the state's old joint rates,
  // which the next solve overwrites.
  void storeRates(std::vector<KtVelocityState>& rates);
  // Keeps the task Jacobian of each manipulator for the conditioning diagnostics: the one its
  // last solve used, or one formed in the present state when no step solved for it.
  void noteConditioning(bool stepped);
  void clearResults();
  bool failCalculation(std::size_t manipulator, bool nonFinite);
  bool admitState();

  KtVelocityControlSystem m_velocityControlSystem;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_timeStep{0.008};
  KtXmlDefaulted<KtXmlBasicType<unsigned>> m_maxIterations{10};
  KtXmlDefaulted<KtXmlBasicType<unsigned>> m_maxFinalPropagationSize{2};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_useTwoPasses{false};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_isOn{true};
  KtXmlDefaulted<KtXmlEnumType<KtCollisionAvoidanceMode>> m_collisionAvoidanceMode{
      KtCollisionAvoidanceMode::none};
  KtXmlDefaulted<KtXmlEnumType<KtVelocityStateReturnMode>> m_velocityStateReturnMode{
      KtVelocityStateReturnMode::positionControlResult};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_collisionBreakdownThreshold{1.0};
  KtXmlDefaulted<KtXmlBasicType<unsigned>> m_bvhPrecisionLevel{0u};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_defaultFeedbackAssimilationRate{0.98};

  KtPositionControlWorkspace m_work;
};

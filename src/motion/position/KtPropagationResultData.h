#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Export.h"
#include "foundation/Types.h"

// What one state calculation did to one manipulator: how far it stepped, how close its end
// effectors came, how well conditioned its task was, and what was held back on the way (joints
// stopped at a limit, commanded speeds cut by a filter's threshold, values that were not finite).
// A failed calculation leaves the cleared state, apart from the reason it failed.
class KT_EXPORT KtPropagationResultData {
 public:
  // Every count and error zero, every flag false, the lists empty (their storage is kept).
  void clear();
  // Reserves the lists for a manipulator with this many joints and end effectors, so that
  // filling them in a step allocates nothing.
  void reserve(std::size_t joints, std::size_t endEffectors);

  // Integration steps taken, whole steps and final-propagation steps together.
  unsigned stepsTaken() const { return m_stepsTaken; }
  void setStepsTaken(unsigned steps) { m_stepsTaken = steps; }
  // Whether the steps covered the whole interval up to the target time (false when the step
  // limits cut it short, or when the target lay at or before the current time).
  bool targetTimeReached() const { return m_targetTimeReached; }
  void setTargetTimeReached(bool reached) { m_targetTimeReached = reached; }

  // The largest distance (metres) and rotation angle (radians) between an end effector's actual
  // and desired placements, at the start and at the end of the calculation.
  KtReal linearErrorBefore() const { return m_linearErrorBefore; }
  KtReal angularErrorBefore() const { return m_angularErrorBefore; }
  KtReal linearErrorAfter() const { return m_linearErrorAfter; }
  KtReal angularErrorAfter() const { return m_angularErrorAfter; }
  void setErrorsBefore(KtReal linear, KtReal angular);
  void setErrorsAfter(KtReal linear, KtReal angular);

  // The smallest singular value of the stacked task Jacobian that the last solve used (at the
  // start of the last step; in the present state when no step was taken): near zero the arm is
  // close to a singular configuration.
  KtReal smallestSingularValue() const { return m_smallestSingularValue; }
  void setSmallestSingularValue(KtReal value) { m_smallestSingularValue = value; }

  // The joints (by index, each once, in the order they were first stopped) that an integration
  // step held at one of their limits.
  const std::vector<std::size_t>& clampedJoints() const { return m_clampedJoints; }
  void noteClampedJoint(std::size_t joint);

  // Per end effector of the set, the smallest factor (in (0, 1]) by which its filter's threshold
  // shortened the correcting velocity in any step; 1 means it was never cut.
  const std::vector<KtReal>& filterScaleFactors() const { return m_filterScaleFactors; }
  // Starts every end effector's factor at 1.
  void resetFilterScaleFactors(std::size_t endEffectors);
  void noteFilterScaleFactor(std::size_t endEffector, KtReal factor);

  // A step gave rates or a state that were not finite and was refused.
  bool nonFiniteRejected() const { return m_nonFiniteRejected; }
  void setNonFiniteRejected(bool rejected) { m_nonFiniteRejected = rejected; }

 private:
  unsigned m_stepsTaken = 0;
  bool m_targetTimeReached = false;
  KtReal m_linearErrorBefore = 0.0;
  KtReal m_angularErrorBefore = 0.0;
  KtReal m_linearErrorAfter = 0.0;
  KtReal m_angularErrorAfter = 0.0;
  KtReal m_smallestSingularValue = 0.0;
  std::vector<std::size_t> m_clampedJoints;
  std::vector<KtReal> m_filterScaleFactors;
  bool m_nonFiniteRejected = false;
};

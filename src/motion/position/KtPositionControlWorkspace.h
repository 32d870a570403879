#pragma once

#include <cstdint>
#include <vector>

#include "manipulator/KtManipulatorSystemState.h"
#include "manipulator/KtStatedSystem.h"
#include "manipulator/KtVelocityState.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"
#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"
#include "motion/position/KtPropagationResultData.h"
#include "motion/position/KtTaskConditioning.h"

class KtIndividualVelocityControlDescription;

// What a position-control system holds for the stated system it is bound to: per manipulator the
// desired placements and velocities of its end effectors, their actual placements and commanded
// velocities, the diagnostics of the last calculation, and copies of the state for the passes of
// a step. It belongs to one binding: a copy starts unbound and empty, so that copying a control
// system never shares or leaves behind a pointer to someone else's stated system.
struct KtPositionControlWorkspace {
  KtPositionControlWorkspace() = default;
  KtPositionControlWorkspace(const KtPositionControlWorkspace&) {}
  KtPositionControlWorkspace& operator=(const KtPositionControlWorkspace& other) {
    if (this != &other) *this = KtPositionControlWorkspace();
    return *this;
  }
  KtPositionControlWorkspace(KtPositionControlWorkspace&&) = default;
  KtPositionControlWorkspace& operator=(KtPositionControlWorkspace&&) = default;

  KtStatedSystem* stated = nullptr;
  std::vector<KtManipulatorEndEffectorPlacement> desired;
  std::vector<KtManipulatorEndEffectorVelocity> desiredVelocities;
  // Filled in when read (see placementsStale), which is why a const read may write here.
  mutable std::vector<KtManipulatorEndEffectorPlacement> actual;
  std::vector<KtManipulatorEndEffectorVelocity> commanded;
  // The diagnostics of the last calculation. Each smallest singular value is filled in by the
  // first read of the results (see KtTaskConditioning), which is why a const read may write here.
  mutable std::vector<KtPropagationResultData> results;
  mutable KtTaskConditioning conditioning;
  // The state has moved since the actual placements were found: a calculation's steps or a blend
  // moved it, and nothing has read the placements since. A control loop that never reads them
  // finds them once per cycle, at the start of the next calculation, instead of twice.
  mutable bool placementsStale = false;
  // The errors before the last calculation are yet to be measured: `actual` still holds the
  // placements it started from (it took at most one step, of one pass).
  mutable bool errorsBeforePending = false;
  // The errors after the last calculation are yet to be measured, in the state it left. Set
  // whenever any of its errors are pending.
  mutable bool errorsAfterPending = false;
  // Where a desired placement has been set since the calculation whose errors are pending, the
  // one it replaced, which those errors are measured against: per manipulator and end effector,
  // the placement, and the generation it was replaced in (current while it is to be used, so
  // that forgetting every one of them is a count moving on).
  std::vector<std::vector<Kt::coordinateSystemTransformation>> replacedDesired;
  std::vector<std::vector<std::uint64_t>> desiredReplacedIn;
  mutable std::uint64_t desiredGeneration = 1;

  // The state when the calculation began (its positions, and its rates when it takes more than
  // one step: restored when it fails) and when the step began (the start of both passes).
  KtManipulatorSystemState callStart;
  KtManipulatorSystemState stepStart;
  // Rates of the current pass, and the first pass's rates and positions.
  std::vector<KtVelocityState> rates;
  std::vector<KtVelocityState> firstPassRates;
  std::vector<KtPositionState> firstPassPositions;
  // Per manipulator, its active description as the workspace was last sized (a calculation sizes
  // it first, so that its steps read the description here instead of looking it up again), and
  // whether the present calculation steps it (1) or not (0).
  std::vector<KtIndividualVelocityControlDescription*> descriptions;
  std::vector<unsigned char> controlled;
};

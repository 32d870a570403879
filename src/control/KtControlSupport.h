#pragma once

#include <vector>

#include "foundation/Types.h"
#include "math/coordinateSystemTransformation.h"

class KtIndividualManipulator;
class KtPositionControlContainer;
class KtStatedSystem;
class KtXmlObject;

// Helpers shared by the two control interface classes.

// The pose as the other side of the interface holds it, taken by its mode: a general pose
// gives both parts, a rotation only its orientation, a translation only its translation, and
// anything else the identity.
Kt::coordinateSystemTransformation ktConvertByMode(const Kt::coordinateSystemTransformation& pose);

// Reads the object from the named document, and failing that from "../data/" followed by the
// name (the layout of an installed program beside its data directory).
bool ktReadWithDataFallback(KtXmlObject& object, const KtString& name);

// Manipulator 0's first joint positions take the given values, as many as both have, each
// held inside its joint's limits; the others keep theirs. False, with nothing changed, when a
// value to be taken is not finite: a host's bad number never reaches the state.
bool ktCopyJointValues(const KtIndividualManipulator& arm, std::vector<KtReal>& jointPositions,
                       const std::vector<double>& values);
// That copy for manipulator 0 of the stated system, and its base pose (converted by mode); a
// system without manipulators is left as it is. False, with nothing changed, for a value or a
// pose that is not finite.
bool ktApplyJointsAndBasePose(KtStatedSystem& stated, const std::vector<double>& values,
                              const Kt::coordinateSystemTransformation& basePose);

// Gives the container a control description for every manipulator up to `manipulatorCount`
// that it does not describe yet (the default one, which holds it still).
void ktAddControlUpTo(KtPositionControlContainer& container, std::size_t manipulatorCount);

// The millisecond sleep the interface's sleep goes through; tests replace it to see the count
// passed. Returns the previous one; null restores the foundation's sleep.
using KtMillisecondSleep = void (*)(unsigned long milliseconds);
KtMillisecondSleep ktSetMillisecondSleep(KtMillisecondSleep sleep);
void ktSleepMilliseconds(unsigned long milliseconds);

#pragma once

#include "motion/expression/KtControlContext.h"

// Checks shared by the expressions that read the manipulator or its state. `operation` names
// the caller for the message, e.g. "KtControlExpressionJointLimitAvoidance::prepare()".

// Whether the context names a manipulator; otherwise prints "<operation>: no manipulator.\n".
bool ktContextHasManipulator(const KtControlContext& context, const char* operation);
// Whether the context names a manipulator and its state; otherwise prints
// "<operation>: no manipulator state.\n".
bool ktContextHasState(const KtControlContext& context, const char* operation);

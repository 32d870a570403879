#pragma once

#include "manipulator/KtManipulatorDynamics.h"
#include "motion/expression/KtControlExpression.h"

// Base of the expressions computed from the manipulator's rigid-body dynamics (mass matrix,
// gravity load). It owns the dynamics workspace and sizes it in prepare(), where it also checks
// that the manipulator's own base setting gives the same columns as the control description
// (the dynamics count base columns when the manipulator's base is free); otherwise it prints
// "<Class>::prepare(): the manipulator's dynamics have <k> columns, the description <n>.\n".
class KtControlExpressionDynamics : public KtControlExpression {
 protected:
  bool prepareDynamics(const KtControlContext& context, const char* className);

  KtDynamicsWorkspace m_workspace;
};

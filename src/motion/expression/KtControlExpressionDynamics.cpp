#include "motion/expression/KtControlExpressionDynamics.h"

#include "foundation/Print.h"

bool KtControlExpressionDynamics::prepareDynamics(const KtControlContext& context, const char* className) {
  if (context.manipulator == nullptr || context.state == nullptr) {
    ktPrint(KtSeverity::Error, "%s::prepare(): no manipulator state.\n", className);
    return false;
  }
  KtManipulatorDynamics::prepare(*context.manipulator, m_workspace);
  if (m_workspace.columnCount == context.columnCount) return true;
  ktPrint(KtSeverity::Error,
          "%s::prepare(): the manipulator's dynamics have %zu columns, the description %zu.\n", className,
          m_workspace.columnCount, context.columnCount);
  return false;
}

#include "motion/expression/KtControlContextRequirements.h"

#include "foundation/Print.h"

bool ktContextHasManipulator(const KtControlContext& context, const char* operation) {
  if (context.manipulator != nullptr) return true;
  ktPrint(KtSeverity::Error, "%s: no manipulator.\n", operation);
  return false;
}

bool ktContextHasState(const KtControlContext& context, const char* operation) {
  if (context.manipulator != nullptr && context.state != nullptr) return true;
  ktPrint(KtSeverity::Error, "%s: no manipulator state.\n", operation);
  return false;
}

#pragma once

#include <cstddef>

#include "foundation/Types.h"
#include "motion/expression/KtControlExpression.h"

// A leaf that holds its value in the document (identity, diagonal, single-entry and general
// literals). A written size of 0, the default, stands for the manipulator's joint-space column
// count, so that a literal written without sizes fits any arm.
class KtControlExpressionLiteral : public KtControlExpression {
 protected:
  static std::size_t sizeFor(KtU32 writtenSize, const KtControlContext& context) {
    return writtenSize == 0 ? context.columnCount : writtenSize;
  }
};

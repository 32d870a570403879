#pragma once

#include <cstdint>

#include "manipulator/KtBaseExpressionTreeElement.h"
#include "motion/expression/KtControlContext.h"
#include "motion/expression/KtExpressionValue.h"

// A node of a control-expression tree: an XML object that evaluates to a scalar, a column, a
// matrix or an (A, b) pair for one manipulator in one state. Operands are held in
// KtControlExpressionContainer components, so trees nest through containers.
//
// Two phases keep the control step free of allocation:
// - prepare() fixes the node's result kind and size for a manipulator (column count, set row
//   count) after preparing its operands, and sizes every buffer the node needs. It reports an
//   operand that is missing or whose shape does not fit, and returns false.
// - evaluate() evaluates the operands first (post-order) and overwrites the value in place.
// The owner of a tree prepares it again whenever treeRevision() or the model revision has
// moved on, or the manipulator or its column or row count changes; nothing else is needed
// between evaluations.
class KtControlExpression : public KtBaseExpressionTreeElement {
 public:
  virtual bool prepare(const KtControlContext& context) = 0;
  virtual bool evaluate(const KtControlContext& context) = 0;
  const KtExpressionValue& value() const { return m_value; }

  bool read(KtXmlReader& reader) override;

  // A process-wide count of changes that can alter a tree's shapes: reading an expression,
  // putting an expression into a container, and setters of shape-giving components.
  static std::uint64_t treeRevision() { return s_treeRevision; }
  static void noteTreeChanged() { ++s_treeRevision; }

 protected:
  KtExpressionValue m_value;

 private:
  static inline std::uint64_t s_treeRevision = 1;
};

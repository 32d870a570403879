#pragma once

#include "motion/expression/KtControlExpression.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// The current value of one joint (jointIndex) of one manipulator (manipulatorIndex) of the
// stated system, as a scalar; both indices count from 0. It may name another manipulator than
// the one controlled. Preparing (and evaluating, should the system have changed since) checks
// the indices and prints
// "KtControlExpressionJointValue::prepare(): no stated system.\n",
// "KtControlExpressionJointValue::prepare(): bad manipulator index (<m>).\n" or
// "KtControlExpressionJointValue::prepare(): bad joint index (<j>) of manipulator <m>.\n"
// (under evaluate() when evaluation finds them).
class KtControlExpressionJointValue
    : public KtXmlCloneable<KtControlExpressionJointValue, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;
  KtU32 manipulatorIndex() const { return m_manipulatorIndex; }
  KtU32 jointIndex() const { return m_jointIndex; }
  void setManipulatorIndex(KtU32 index);
  void setJointIndex(KtU32 index);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  // The joint value in the context's stated system, or null (with a message) for bad indices.
  const KtReal* jointValueIn(const KtControlContext& context, const char* operation) const;

  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_manipulatorIndex;
  KtXmlDefaulted<KtXmlBasicType<KtU32>> m_jointIndex;
};

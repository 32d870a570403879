#pragma once

#include <memory>

#include "motion/expression/KtControlExpression.h"
#include "xml/KtXmlVariableVectorType.h"

// Holds one control expression of any registered class, written as that class's own element
// inside the container's. A container may be empty (an operand not given); preparing an empty
// container fails with a message. A document with more than one expression in a container
// keeps the first and reports the rest.
class KtControlExpressionContainer
    : public KtXmlCloneable<KtControlExpressionContainer, KtXmlVariableVectorType<KtControlExpression>> {
 public:
  KtControlExpressionContainer() = default;
  explicit KtControlExpressionContainer(std::unique_ptr<KtControlExpression> expression);

  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;

  bool hasExpression() const { return !empty(); }
  // The expression held, or null.
  const KtControlExpression* expression() const;
  KtControlExpression* expression();
  void setExpression(std::unique_ptr<KtControlExpression> expression);

  // Prepares or evaluates the expression held; an empty container prints
  // "KtControlExpressionContainer::prepare(): empty container.\n" and fails.
  bool prepare(const KtControlContext& context);
  bool evaluate(const KtControlContext& context) { return (*this)[0].evaluate(context); }
  // The value of the expression held; only after a successful prepare().
  const KtExpressionValue& value() const { return (*this)[0].value(); }
};

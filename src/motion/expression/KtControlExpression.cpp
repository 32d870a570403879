#include "motion/expression/KtControlExpression.h"

bool KtControlExpression::read(KtXmlReader& reader) {
  noteTreeChanged();
  return KtBaseExpressionTreeElement::read(reader);
}

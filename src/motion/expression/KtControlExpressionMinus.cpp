#include "motion/expression/KtControlExpressionMinus.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionMinus::elementToken() const {
  static const KtToken token(ktNamespaceCt, "minus");
  return token;
}

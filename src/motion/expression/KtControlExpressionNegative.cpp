#include "motion/expression/KtControlExpressionNegative.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionNegative::elementToken() const {
  static const KtToken token(ktNamespaceCt, "negative");
  return token;
}

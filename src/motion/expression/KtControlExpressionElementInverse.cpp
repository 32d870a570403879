#include "motion/expression/KtControlExpressionElementInverse.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionElementInverse::elementToken() const {
  static const KtToken token(ktNamespaceCt, "elementInverse");
  return token;
}

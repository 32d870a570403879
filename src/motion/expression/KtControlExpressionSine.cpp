#include "motion/expression/KtControlExpressionSine.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionSine::elementToken() const {
  static const KtToken token(ktNamespaceCt, "sine");
  return token;
}

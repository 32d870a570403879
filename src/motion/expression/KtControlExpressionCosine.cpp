#include "motion/expression/KtControlExpressionCosine.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionCosine::elementToken() const {
  static const KtToken token(ktNamespaceCt, "cosine");
  return token;
}

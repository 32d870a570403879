#include "motion/expression/KtControlExpressionElementRoot.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionElementRoot::elementToken() const {
  static const KtToken token(ktNamespaceCt, "elementRoot");
  return token;
}

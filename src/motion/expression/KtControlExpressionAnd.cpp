#include "motion/expression/KtControlExpressionAnd.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionAnd::elementToken() const {
  static const KtToken token(ktNamespaceCt, "and");
  return token;
}

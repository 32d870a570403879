#include "motion/expression/KtControlExpressionPlus.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionPlus::elementToken() const {
  static const KtToken token(ktNamespaceCt, "plus");
  return token;
}

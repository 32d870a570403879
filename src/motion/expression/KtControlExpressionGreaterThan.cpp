#include "motion/expression/KtControlExpressionGreaterThan.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionGreaterThan::elementToken() const {
  static const KtToken token(ktNamespaceCt, "greaterThan");
  return token;
}

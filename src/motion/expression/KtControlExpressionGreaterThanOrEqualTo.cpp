#include "motion/expression/KtControlExpressionGreaterThanOrEqualTo.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionGreaterThanOrEqualTo::elementToken() const {
  static const KtToken token(ktNamespaceCt, "greaterThanOrEqualTo");
  return token;
}

#include "motion/expression/KtControlExpressionLessThanOrEqualTo.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionLessThanOrEqualTo::elementToken() const {
  static const KtToken token(ktNamespaceCt, "lessThanOrEqualTo");
  return token;
}

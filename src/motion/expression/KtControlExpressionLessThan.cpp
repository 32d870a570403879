#include "motion/expression/KtControlExpressionLessThan.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionLessThan::elementToken() const {
  static const KtToken token(ktNamespaceCt, "lessThan");
  return token;
}

#include "motion/expression/KtControlExpressionElementPow.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionElementPow::elementToken() const {
  static const KtToken token(ktNamespaceCt, "elementPow");
  return token;
}

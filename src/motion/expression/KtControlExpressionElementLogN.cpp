#include "motion/expression/KtControlExpressionElementLogN.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionElementLogN::elementToken() const {
  static const KtToken token(ktNamespaceCt, "elementLogN");
  return token;
}

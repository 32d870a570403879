#include "motion/expression/KtControlExpressionElementLog.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionElementLog::elementToken() const {
  static const KtToken token(ktNamespaceCt, "elementLog");
  return token;
}

#include "xml/KtXmlSequence.h"

const KtToken& ktXmlSizeToken() {
  static const KtToken token("size");
  return token;
}

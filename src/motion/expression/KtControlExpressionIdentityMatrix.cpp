#include "motion/expression/KtControlExpressionIdentityMatrix.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionIdentityMatrix::elementToken() const {
  static const KtToken token(ktNamespaceCt, "identityMatrix");
  return token;
}

void KtControlExpressionIdentityMatrix::registerComponents() {
  KtControlExpressionLiteral::registerComponents();
  static const KtToken size(ktNamespaceCt, "size");
  registerComponent(size, m_size);
}

void KtControlExpressionIdentityMatrix::setSize(KtU32 size) {
  m_size = size;
  noteTreeChanged();
}

// The entries never change, so they are written here once.
bool KtControlExpressionIdentityMatrix::prepare(const KtControlContext& context) {
  const std::size_t size = sizeFor(m_size, context);
  m_value.shapeAsMatrix(size, size);
  m_value.matrix().setToIdentity(size, size);
  return true;
}

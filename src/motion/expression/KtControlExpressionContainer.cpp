#include "motion/expression/KtControlExpressionContainer.h"

#include <utility>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlReader.h"

KtControlExpressionContainer::KtControlExpressionContainer(std::unique_ptr<KtControlExpression> expression) {
  setExpression(std::move(expression));
}

const KtToken& KtControlExpressionContainer::elementToken() const {
  static const KtToken token(ktNamespaceCt, "controlExpressionContainer");
  return token;
}

bool KtControlExpressionContainer::read(KtXmlReader& reader) {
  const bool read = KtXmlVariableVectorType<KtControlExpression>::read(reader);
  if (size() > 1) {
    ktPrint(KtSeverity::Warning,
            "KtControlExpressionContainer Warning: a container holds one expression; the %zu after the "
            "first are skipped.\n\tFile: %s\n\tLine: %d\n",
            size() - 1, reader.fileName().c_str(), reader.line());
    m_entries.resize(1);
  }
  KtControlExpression::noteTreeChanged();
  return read;
}

const KtControlExpression* KtControlExpressionContainer::expression() const {
  return empty() ? nullptr : &(*this)[0];
}

KtControlExpression* KtControlExpressionContainer::expression() { return empty() ? nullptr : &(*this)[0]; }

void KtControlExpressionContainer::setExpression(std::unique_ptr<KtControlExpression> expression) {
  clear();
  if (expression) push_back(std::move(expression));
  KtControlExpression::noteTreeChanged();
}

bool KtControlExpressionContainer::prepare(const KtControlContext& context) {
  if (empty()) {
    ktPrint(KtSeverity::Error, "KtControlExpressionContainer::prepare(): empty container.\n");
    return false;
  }
  return (*this)[0].prepare(context);
}

#include "motion/expression/KtControlExpressionTimes.h"

#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionTimes::elementToken() const {
  static const KtToken token(ktNamespaceCt, "times");
  return token;
}

bool KtControlExpressionTimes::shapeFrom(const KtExpressionValue& first, const KtExpressionValue& second) {
  if (first.isMatrix() && (second.isMatrix() || second.isColumn())) {
    if (first.columns() != second.rows()) return false;
    if (second.isMatrix()) {
      m_product = Product::matrixByMatrix;
      m_value.shapeAsMatrix(first.rows(), second.columns());
    } else {
      m_product = Product::matrixByColumn;
      m_value.shapeAsColumn(first.rows());
    }
    return true;
  }
  m_product = Product::entryWise;
  return spreadShape(first, second, Pairs::scaledByScalar);
}

void KtControlExpressionTimes::compute(const KtExpressionValue& first, const KtExpressionValue& second) {
  switch (m_product) {
    case Product::matrixByMatrix:
      first.matrix().transform(second.matrix(), m_value.matrix());
      return;
    case Product::matrixByColumn:
      first.matrix().transform(second.column(), m_value.column());
      return;
    case Product::entryWise:
      combine(first, second, [](KtReal x, KtReal y) { return x * y; });
      return;
  }
}

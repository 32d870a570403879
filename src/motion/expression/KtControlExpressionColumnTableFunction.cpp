#include "motion/expression/KtControlExpressionColumnTableFunction.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionColumnTableFunction::elementToken() const {
  static const KtToken token(ktNamespaceCt, "columnTableFunction");
  return token;
}

const KtToken& KtControlExpressionColumnTableFunction::operandToken() const {
  static const KtToken token(ktNamespaceCt, "inputValues");
  return token;
}

void KtControlExpressionColumnTableFunction::registerComponents() {
  KtControlExpressionUnary::registerComponents();
  static const KtToken table(ktNamespaceCt, "tableFunction");
  registerComponent(table, m_tableFunction);
}

void KtControlExpressionColumnTableFunction::setTableFunction(const Kt::ReArray& table) {
  m_tableFunction = table;
  noteTreeChanged();
}

bool KtControlExpressionColumnTableFunction::tableValid() const {
  const std::size_t rows = m_tableFunction.rows();
  const std::size_t columns = m_tableFunction.columns();
  if (rows != 2 || columns == 0) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionColumnTableFunction::prepare(): the table is %zu x %zu; it needs 2 rows and "
            "at least one column.\n",
            rows, columns);
    return false;
  }
  const std::vector<KtReal>& breakpoints = m_tableFunction[0];
  for (std::size_t c = 1; c < columns; ++c) {
    if (!(breakpoints[c] > breakpoints[c - 1])) {
      ktPrint(KtSeverity::Error,
              "KtControlExpressionColumnTableFunction::prepare(): the breakpoints do not increase at column "
              "%zu.\n",
              c);
      return false;
    }
  }
  return true;
}

bool KtControlExpressionColumnTableFunction::prepare(const KtControlContext& context) {
  const bool tableFits = tableValid();
  return KtControlExpressionUnary::prepare(context) && tableFits;
}

bool KtControlExpressionColumnTableFunction::shapeFrom(const KtExpressionValue& operand) {
  if (operand.isAb()) return false;
  m_value.shapeLike(operand);
  return true;
}

KtReal KtControlExpressionColumnTableFunction::valueAt(KtReal x) const {
  const std::vector<KtReal>& xs = m_tableFunction[0];
  const std::vector<KtReal>& ys = m_tableFunction[1];
  if (std::isnan(x)) return x;
  if (x <= xs.front()) return ys.front();
  if (x >= xs.back()) return ys.back();
  // xs.front() < x < xs.back(): the first breakpoint above x has one below it.
  const std::size_t above = std::upper_bound(xs.begin(), xs.end(), x) - xs.begin();
  const std::size_t below = above - 1;
  const KtReal fraction = (x - xs[below]) / (xs[above] - xs[below]);
  return ys[below] + fraction * (ys[above] - ys[below]);
}

void KtControlExpressionColumnTableFunction::compute(const KtExpressionValue& operand) {
  m_value.forEachEntryWith(operand, [this](KtReal& entry, KtReal x) { entry = valueAt(x); });
}

#include "motion/expression/KtControlExpressionEndEffectorErrorWeights.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "foundation/Print.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionEndEffectorErrorWeights::elementToken() const {
  static const KtToken token(ktNamespaceCt, "endEffectorErrorWeights");
  return token;
}

bool KtControlExpressionEndEffectorErrorWeights::setFits(const KtControlContext& context,
                                                         const char* operation) const {
  if (context.endEffectorSet == nullptr) {
    ktPrint(KtSeverity::Error, "KtControlExpressionEndEffectorErrorWeights::%s(): no end-effector set.\n",
            operation);
    return false;
  }
  const std::size_t setRows = context.endEffectorSet->totalRowCount();
  if (setRows != context.rowCount) {
    ktPrint(KtSeverity::Error,
            "KtControlExpressionEndEffectorErrorWeights::%s(): the end-effector set has %zu rows, not %zu.\n",
            operation, setRows, context.rowCount);
    return false;
  }
  return true;
}

bool KtControlExpressionEndEffectorErrorWeights::prepare(const KtControlContext& context) {
  if (!setFits(context, "prepare")) return false;
  m_value.shapeAsColumn(context.rowCount);
  return true;
}

bool KtControlExpressionEndEffectorErrorWeights::evaluate(const KtControlContext& context) {
  if (!setFits(context, "evaluate")) return false;
  const KtEndEffectorSet& set = *context.endEffectorSet;
  std::vector<KtReal>& weights = m_value.column();
  for (std::size_t i = 0; i < set.size(); ++i) {
    // Bounded by the prepared size, should the set have grown without a new prepare().
    const std::size_t first = std::min(set.firstRow(i), weights.size());
    const std::size_t end = std::min(first + set.rowCount(i), weights.size());
    std::fill(weights.begin() + first, weights.begin() + end, set.endEffector(i).errorWeight());
  }
  return true;
}

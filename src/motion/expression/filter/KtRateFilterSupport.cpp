#include "motion/expression/filter/KtRateFilterSupport.h"

#include "foundation/Print.h"

bool ktPrepareUnfilteredRates(KtControlExpressionContainer& rates, const KtControlContext& context,
                              const char* filterClass) {
  if (!rates.prepare(context)) return false;
  const KtExpressionValue& value = rates.value();
  if (value.isColumn() && value.rows() == context.columnCount) return true;
  ktPrint(
      KtSeverity::Error,
      "%s::prepare(): the unfiltered rates are a %s of %zu x %zu, not a column of %zu joint-space rates.\n",
      filterClass, value.kindName(), value.rows(), value.columns(), context.columnCount);
  return false;
}

bool ktCheckWeights(std::span<const KtReal> weights, std::size_t count, KtWeightCount countRule,
                    KtWeightSign signRule, const char* filterClass, const char* name) {
  const bool countFits = countRule == KtWeightCount::atMost ? weights.size() <= count
                                                            : weights.empty() || weights.size() == count;
  if (!countFits) {
    ktPrint(KtSeverity::Error, "%s::prepare(): %s has %zu entries for %zu rows or columns.\n", filterClass,
            name, weights.size(), count);
    return false;
  }
  for (std::size_t i = 0; i < weights.size(); ++i) {
    const bool fits = signRule == KtWeightSign::positive ? weights[i] > 0.0 : weights[i] >= 0.0;
    if (fits) continue;
    ktPrint(KtSeverity::Error, "%s::prepare(): entry %zu of %s is %g; weights must %s.\n", filterClass, i,
            name, weights[i], signRule == KtWeightSign::positive ? "be positive" : "not be negative");
    return false;
  }
  return true;
}

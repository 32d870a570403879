#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "foundation/Types.h"
#include "motion/expression/KtControlContext.h"
#include "motion/expression/KtControlExpressionContainer.h"

// What the rate filters share. A rate filter evaluates the expression in its operand (the
// control core, or another filter around it) to one rate per joint-space column and writes
// changed rates of the same shape; the checks below run once, when a tree is prepared, and
// print their message under the filter's class name.

// Prepares the operand and checks that it gives a column of context.columnCount rates:
// "<filter>::prepare(): the unfiltered rates are a <kind> of <r> x <c>, not a column of <n>
// joint-space rates.\n" otherwise.
bool ktPrepareUnfilteredRates(KtControlExpressionContainer& rates, const KtControlContext& context,
                              const char* filterClass);

// How many entries a list of per-entry weights may have, and which values it may hold.
enum class KtWeightCount { allOrNone, atMost };
enum class KtWeightSign { positive, nonNegative };

// Checks a list of weights against `count` entries: "<filter>::prepare(): <name> has <k> entries
// for <count> rows or columns.\n" or "<filter>::prepare(): entry <i> of <name> is <w>; weights
// must be positive.\n" ("must not be negative." for KtWeightSign::nonNegative).
bool ktCheckWeights(std::span<const KtReal> weights, std::size_t count, KtWeightCount countRule,
                    KtWeightSign signRule, const char* filterClass, const char* name);

// Entry i of a weight list, or `fallback` past its end.
inline KtReal ktWeightOrDefault(const std::vector<KtReal>& weights, std::size_t i, KtReal fallback) {
  return i < weights.size() ? weights[i] : fallback;
}

// out = scale · in, entry by entry (out has in's size).
inline void ktScaleRates(const std::vector<KtReal>& in, KtReal scale, std::vector<KtReal>& out) {
  for (std::size_t i = 0; i < in.size(); ++i) out[i] = scale * in[i];
}

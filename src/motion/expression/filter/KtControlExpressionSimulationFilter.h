#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "motion/expression/KtControlExpression.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlEnumType.h"
#include "xml/KtXmlKeptElement.h"
#include "xml/KtXmlVectorType.h"

// How the simulation filter limits the change of its rates in one step:
// - none: not at all;
// - perJoint: each column's change is clipped to ±threshold on its own;
// - scaled: the whole change is multiplied by one factor so that its largest entry is
//   threshold, which keeps the direction in which the rates change.
enum class KtRateStepLimit : std::int32_t { none = 0, perJoint = 1, scaled = 2 };

template <>
struct KtXmlEnumWords<KtRateStepLimit> {
  static constexpr std::string_view name = "rateStepLimit";
  static constexpr std::string_view words[] = {"none", "perJoint", "scaled"};
};

// Makes the rates follow the commanded ones the way a real drive would, with a lag (element
// simulationFilter). Each joint-space column responds to the rate of the first container of
// `unfilteredRatesVector` as a first-order system with time constant τ (seconds, from
// `weights`, one per column, none negative; empty means no lag): over a step of
// dt = context.timeStep,
//   q̇ₖ = q̇ₖ₋₁ + dt / (τ + dt) · (q̇_in − q̇ₖ₋₁),
// the implicit Euler step of τ·dq̇/dt = q̇_in − q̇, which never overshoots for any dt. τ = 0 passes
// the input through; dt = 0 with τ > 0 keeps the previous rates. The change in one step is then
// limited to `threshold` (rad/s or m/s per step, default 0.1) as `thresholdOption` selects
// (default none, see KtRateStepLimit).
//
// The previous rates are the filter's state: they start at zero (the arm at rest), are kept
// when the tree is prepared again for as many columns, and restart at zero on reset() or when
// the column count changes.
//
// `manipulatorJointController` and `dynamicSimulators` describe a simulated drive and its
// simulators; they are kept as read and written back unchanged, and take no part yet.
class KtControlExpressionSimulationFilter
    : public KtXmlCloneable<KtControlExpressionSimulationFilter, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtXmlVectorType<KtControlExpressionContainer>& unfilteredRatesVector() { return m_unfilteredRatesVector; }
  // Makes `rates` the one operand.
  void setUnfilteredRates(const KtControlExpressionContainer& rates);
  const std::vector<KtReal>& weights() const { return m_weights; }
  void setWeights(const std::vector<KtReal>& timeConstants);
  KtReal threshold() const { return m_threshold; }
  void setThreshold(KtReal threshold) { m_threshold = threshold; }
  KtRateStepLimit thresholdOption() const { return m_thresholdOption; }
  void setThresholdOption(KtRateStepLimit option) { m_thresholdOption = option; }
  const KtXmlKeptElement& manipulatorJointController() const { return m_manipulatorJointController; }
  const KtXmlKeptElement& dynamicSimulators() const { return m_dynamicSimulators; }

  // The rates restart from zero at the next evaluation.
  void reset();

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  // Limits the step change held in m_step as the threshold option says.
  void limitStep();

  KtXmlVectorType<KtControlExpressionContainer> m_unfilteredRatesVector;
  KtXmlVectorType<KtReal> m_weights;
  KtXmlKeptElement m_manipulatorJointController;
  KtXmlKeptElement m_dynamicSimulators;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{0.1};
  KtXmlDefaulted<KtXmlEnumType<KtRateStepLimit>> m_thresholdOption{KtRateStepLimit::none};

  // State and working data, sized in prepare().
  std::vector<KtReal> m_step;
};

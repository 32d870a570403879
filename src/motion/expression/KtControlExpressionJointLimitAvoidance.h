#pragma once

#include "motion/expression/KtControlExpression.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// A gradient column that pushes joints away from their limits (element jointLimitAvoidance).
//
// Each joint with a finite range [lower, upper] has an avoidance zone at either end: a width of
// `avoidanceZone` times the range when `fractional`, else `avoidanceZone` in the joint's own
// units (radians or length), in both cases at most half the range, so that the two zones
// never overlap. With d the distance to the nearer limit, the entry is 0 outside the zones and
// max·((zone − d)/zone)^exponent inside: `max` at the limit, positive near the upper limit and
// negative near the lower one. Beyond a limit it keeps growing.
//
// Sign: F is the gradient of a cost that grows toward the limits, so a core with α > 0, which
// minimises α·Fᵀ·q̇, drives each joint away from its nearer limit. For exponent > 1 the entry
// and its slope are continuous at the edge of a zone, and where the zones meet at the centre
// both are 0. Joints limited on one side only or not at all, a zone of zero width, and the
// free-base columns give 0.
class KtControlExpressionJointLimitAvoidance
    : public KtXmlCloneable<KtControlExpressionJointLimitAvoidance, KtControlExpression> {
 public:
  const KtToken& elementToken() const override;

  KtReal exponent() const { return m_exponent; }
  // The exponent is checked when the tree is prepared, so setting it asks for that again.
  void setExponent(KtReal exponent) {
    m_exponent = exponent;
    noteTreeChanged();
  }
  KtReal avoidanceZone() const { return m_avoidanceZone; }
  void setAvoidanceZone(KtReal zone) { m_avoidanceZone = zone; }
  KtReal max() const { return m_max; }
  void setMax(KtReal max) { m_max = max; }
  bool fractional() const { return m_fractional; }
  void setFractional(bool fractional) { m_fractional = fractional; }

  // Fails with a message when the context has no manipulator or the exponent is not positive.
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_exponent{3.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_avoidanceZone{0.5};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_max{50.0};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_fractional{false};
};

#pragma once

#include "motion/expression/KtControlExpression.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// What the expressions that keep the arm away from things share: the cost of one distance d
// between the arm and something it should avoid,
//   c(d) = boundaryValue·((D − d)/D)^exponent  for d < D = avoidanceDistance, else 0,
// which is boundaryValue at contact, falls to 0 at D with a slope that vanishes there for
// exponent > 1, and keeps growing when the two overlap (d < 0). The components `exponent`
// (default 3), `avoidanceDistance` (0.5, in the system's length units) and `boundaryValue`
// (1e9) are registered by this class.
class KtControlExpressionProximityAvoidance : public KtControlExpression {
 public:
  KtReal exponent() const { return m_exponent; }
  // The exponent and the distance are checked when the tree is prepared, so setting them asks
  // for that again.
  void setExponent(KtReal exponent) {
    m_exponent = exponent;
    noteTreeChanged();
  }
  KtReal avoidanceDistance() const { return m_avoidanceDistance; }
  void setAvoidanceDistance(KtReal distance) {
    m_avoidanceDistance = distance;
    noteTreeChanged();
  }
  KtReal boundaryValue() const { return m_boundaryValue; }
  void setBoundaryValue(KtReal value) { m_boundaryValue = value; }

  // c(d) and its derivative dc/dd.
  KtReal cost(KtReal distance) const;
  KtReal costSlope(KtReal distance) const;

 protected:
  void registerComponents() override;
  // Whether the exponent and the avoidance distance are positive; otherwise a message that
  // begins with `operation`.
  bool parametersValid(const char* operation) const;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_exponent{3.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_avoidanceDistance{0.5};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_boundaryValue{1.0e9};
};

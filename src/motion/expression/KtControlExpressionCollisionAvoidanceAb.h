#pragma once

#include "motion/expression/KtControlExpressionProximityAvoidance.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// Keeps the arm's links away from each other and from the environment (element
// collisionAvoidanceAb): the components of KtControlExpressionProximityAvoidance, then
// `checkSelfCollision` (default true), `checkEnvironmentCollision` (true),
// `queryDistancePrecisionLevel` (0, the finest) and `useIntervalProcessing` (false), which
// select the distances a shape proximity query would measure.
//
// The cost would be the sum of c(d) over the link-to-link and link-to-environment distances,
// with the pair (0, −F) of its gradient F as for the obstacle capsules. Links have no shapes
// yet, so there is nothing to measure: the value is the zero pair over the joint-space columns,
// and the components are kept and written back unchanged.
class KtControlExpressionCollisionAvoidanceAb
    : public KtXmlCloneable<KtControlExpressionCollisionAvoidanceAb, KtControlExpressionProximityAvoidance> {
 public:
  const KtToken& elementToken() const override;

  bool checkSelfCollision() const { return m_checkSelfCollision; }
  void setCheckSelfCollision(bool check) { m_checkSelfCollision = check; }
  bool checkEnvironmentCollision() const { return m_checkEnvironmentCollision; }
  void setCheckEnvironmentCollision(bool check) { m_checkEnvironmentCollision = check; }
  unsigned queryDistancePrecisionLevel() const { return m_queryDistancePrecisionLevel; }
  void setQueryDistancePrecisionLevel(unsigned level) { m_queryDistancePrecisionLevel = level; }
  bool useIntervalProcessing() const { return m_useIntervalProcessing; }
  void setUseIntervalProcessing(bool use) { m_useIntervalProcessing = use; }

  // Fails with a message when the exponent or the avoidance distance is not positive.
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<bool>> m_checkSelfCollision{true};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_checkEnvironmentCollision{true};
  KtXmlDefaulted<KtXmlBasicType<unsigned>> m_queryDistancePrecisionLevel{0u};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_useIntervalProcessing{false};
};

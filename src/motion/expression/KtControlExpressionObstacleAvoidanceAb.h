#pragma once

#include <utility>
#include <vector>

#include "motion/expression/KtControlExpressionProximityAvoidance.h"
#include "motion/expression/KtObstacleCapsule.h"
#include "xml/KtXmlVectorType.h"

// Keeps the arm away from capsule obstacles (element obstacleAvoidanceAb; the components of
// KtControlExpressionProximityAvoidance, then `capsules`).
//
// The arm is taken as a chain of segments, one per link, from the joint (D-H) frame origin of
// its parent (the base, for the first link) to its own; lengths are in the system's units. For
// every segment and capsule whose distance d (between the segment and the capsule's axis, less
// its radius) is below the avoidance distance, the cost c(d) counts; the cost is their sum. Its
// gradient over the joint-space columns, F, is c'(d)·n̂ᵀ·J summed over those pairs, with n̂ the
// unit vector from the capsule's closest point to the segment's and J the velocity Jacobian of
// the segment's closest point P = (1 − t)·o_a + t·o_b, moved at fixed t: (1 − t)·J(o_a) +
// t·J(o_b) from the point Jacobians of the two origins. A pair whose axes touch (no direction
// to move apart) adds nothing to F.
//
// Sign: F is the gradient of the cost, so α > 0 in a core moves the arm away from the
// obstacles. This class yields the pair (A, b) = (0, −F), whose term ½·q̇ᵀ·A·q̇ − bᵀ·q̇ is Fᵀ·q̇;
// KtControlExpressionObstacleAvoidance yields F itself.
class KtControlExpressionObstacleAvoidanceAb
    : public KtXmlCloneable<KtControlExpressionObstacleAvoidanceAb, KtControlExpressionProximityAvoidance> {
 public:
  const KtToken& elementToken() const override;

  const std::vector<KtObstacleCapsule>& capsules() const { return m_capsules; }
  void setCapsules(std::vector<KtObstacleCapsule> capsules) { m_capsules = std::move(capsules); }

  // Fails with a message when the context has no manipulator or a parameter is not positive.
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;
  bool prepareFor(const KtControlContext& context, const char* operation) const;
  // Fills `gradient` (the context's column count) with F.
  bool computeGradient(const KtControlContext& context, std::vector<KtReal>& gradient,
                       const char* operation) const;

 private:
  KtXmlVectorType<KtObstacleCapsule> m_capsules;
};

#pragma once

#include <array>

#include "math/Vector.h"
#include "motion/KtMotionGain.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"

// A point in the plane of an x-y end effector, or its velocity.
using KtPlanarVector = std::array<KtReal, 2>;

// Turns the error between an actual and a desired point into a commanded velocity: a
// proportional correction, limited in speed by the threshold, plus the feed-forward velocity.
// The feed-forward is added after the limit, so that only the correction is bounded.
class KtPointMotionFilter : public KtXmlCloneable<KtPointMotionFilter, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  KtReal threshold() const { return m_threshold; }
  KtReal linearGain() const { return m_linearGain; }
  void setThreshold(KtReal threshold) { m_threshold = threshold; }
  void setLinearGain(KtReal gain) { m_linearGain = gain; }

  // Both give the factor by which the threshold shortened the correction.
  KtReal filterVelocity(const Kt::Vector& actual, const Kt::Vector& desired, const Kt::Vector& feedForward,
                        KtReal dt, Kt::Vector& commanded) const {
    return ktFilterPointError<3>(m_linearGain, m_threshold, actual, desired, feedForward, dt, commanded);
  }
  KtReal filterPlanarVelocity(const KtPlanarVector& actual, const KtPlanarVector& desired,
                              const KtPlanarVector& feedForward, KtReal dt, KtPlanarVector& commanded) const {
    return ktFilterPointError<2>(m_linearGain, m_threshold, actual, desired, feedForward, dt, commanded);
  }

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{1.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_linearGain{200.0};
};

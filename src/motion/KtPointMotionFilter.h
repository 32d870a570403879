#pragma once

#include <array>
#include <cmath>
#include <cstddef>

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

  void filterVelocity(const Kt::Vector& actual, const Kt::Vector& desired, const Kt::Vector& feedForward,
                      KtReal dt, Kt::Vector& commanded) const {
    filterEntries<3>(actual, desired, feedForward, dt, commanded);
  }
  void filterPlanarVelocity(const KtPlanarVector& actual, const KtPlanarVector& desired,
                            const KtPlanarVector& feedForward, KtReal dt, KtPlanarVector& commanded) const {
    filterEntries<2>(actual, desired, feedForward, dt, commanded);
  }

 protected:
  void registerComponents() override;

 private:
  // The filter on any N-entry vector type with indexed access.
  template <std::size_t N, typename V>
  void filterEntries(const V& actual, const V& desired, const V& feedForward, KtReal dt, V& commanded) const {
    const KtReal gain = ktEffectiveGain(m_linearGain, dt);
    // Built apart from the output, which may share its storage with an input.
    V correction = actual;
    KtReal speedSquared = 0.0;
    for (std::size_t i = 0; i < N; ++i) {
      correction[i] = gain * (desired[i] - actual[i]);
      speedSquared += correction[i] * correction[i];
    }
    const KtReal limitSquared = m_threshold * m_threshold;
    const KtReal scale = speedSquared > limitSquared ? std::sqrt(limitSquared / speedSquared) : 1.0;
    for (std::size_t i = 0; i < N; ++i) commanded[i] = correction[i] * scale + feedForward[i];
  }

  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{1.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_linearGain{200.0};
};

#pragma once

#include "math/Vector.h"
#include "math/coordinateSystemTransformation.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVector.h"

// Turns the error between an actual and a desired frame into a commanded linear and angular
// velocity of the frame. The linear error is measured at an offset point of the frame; the
// angular weight is the length that makes angular speed comparable to linear speed when the
// two together are limited by the threshold. Feed-forward velocities are added after the limit.
class KtGeneralMotionFilter : public KtXmlCloneable<KtGeneralMotionFilter, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const Kt::Vector& offset() const { return m_offset; }
  KtReal angularWeight() const { return m_angularWeight; }
  KtReal threshold() const { return m_threshold; }
  KtReal linearGain() const { return m_linearGain; }
  KtReal angularGain() const { return m_angularGain; }
  void setOffset(const Kt::Vector& offset) { m_offset = offset; }
  void setAngularWeight(KtReal weight) { m_angularWeight = weight; }
  void setThreshold(KtReal threshold) { m_threshold = threshold; }
  void setLinearGain(KtReal gain) { m_linearGain = gain; }
  void setAngularGain(KtReal gain) { m_angularGain = gain; }

  // Velocities of the frame's origin, linear before angular, in system coordinates. Gives the
  // factor by which the threshold shortened the correction (1 when it did not).
  KtReal filterVelocity(const Kt::coordinateSystemTransformation& actual,
                        const Kt::coordinateSystemTransformation& desired,
                        const Kt::Vector& feedForwardLinear, const Kt::Vector& feedForwardAngular, KtReal dt,
                        Kt::Vector& linear, Kt::Vector& angular) const;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlVector> m_offset;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_angularWeight{0.4};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{1.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_linearGain{200.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_angularGain{200.0};
};

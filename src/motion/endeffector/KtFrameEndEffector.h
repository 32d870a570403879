#pragma once

#include "motion/endeffector/KtFramedEndEffector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlDefaulted.h"

// A frame fixed to a link, constrained in all six degrees of freedom: its rows are the linear
// velocity of the frame's origin and the frame's angular velocity, in system axes. Components
// after the base ones: `frame`, `linearErrorWeight` (1.0), `motionFilter`, `angularErrorWeight`
// (0.2); the nine frame editing labels. The error weight is the linear one; the angular weight
// has its own accessor.
//
// The classes that constrain only some of the six components derive from this one: they keep
// its data and construction and choose their rows through their layout.
class KtFrameEndEffector : public KtXmlCloneable<KtFrameEndEffector, KtFramedEndEffector> {
 public:
  KtFrameEndEffector();
  const KtToken& elementToken() const override;

  KtReal angularErrorWeight() const { return m_angularErrorWeight; }
  void setAngularErrorWeight(KtReal weight) { m_angularErrorWeight = weight; }

 protected:
  void registerComponents() override;
  const Layout& layout() const override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_angularErrorWeight{0.2};
};

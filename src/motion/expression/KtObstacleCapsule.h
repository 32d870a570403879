#pragma once

#include "math/Vector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlVector.h"

// An obstacle shaped as a capsule (element obstacleCapsule): every point within `radius` of
// the segment from `start` to `end`, both in system coordinates. A capsule with equal ends is a
// sphere. Lengths are in the system's units.
class KtObstacleCapsule : public KtXmlCloneable<KtObstacleCapsule, KtXmlCompoundType> {
 public:
  KtObstacleCapsule() = default;
  KtObstacleCapsule(const Kt::Vector& start, const Kt::Vector& end, KtReal radius);

  const KtToken& elementToken() const override;

  const Kt::Vector& start() const { return m_start.value(); }
  const Kt::Vector& end() const { return m_end.value(); }
  KtReal radius() const { return m_radius; }

 protected:
  void registerComponents() override;

 private:
  KtXmlVector m_start;
  KtXmlVector m_end;
  KtXmlBasicType<KtReal> m_radius = 0.0;
};

#pragma once

#include "math/Vector.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlVector.h"

// A spatial motion (velocity or acceleration) of a frame: its linear part (of the frame's
// origin) and its angular part, in the coordinates that the user of the record states.
class KtGeneralMotion : public KtXmlCloneable<KtGeneralMotion, KtXmlCompoundType> {
 public:
  KtGeneralMotion() = default;
  KtGeneralMotion(const Kt::Vector& linear, const Kt::Vector& angular)
      : m_linear(linear), m_angular(angular) {}

  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "generalMotion");
    return token;
  }

  const Kt::Vector& linear() const { return m_linear; }
  const Kt::Vector& angular() const { return m_angular; }
  void setLinear(const Kt::Vector& linear) { m_linear = linear; }
  void setAngular(const Kt::Vector& angular) { m_angular = angular; }
  void setToZero() { m_linear = Kt::Vector(), m_angular = Kt::Vector(); }

 protected:
  void registerComponents() override {
    static const KtToken linear(ktNamespaceSm, "linear"), angular(ktNamespaceSm, "angular");
    registerComponent(linear, m_linear);
    registerComponent(angular, m_angular);
  }

 private:
  KtXmlVector m_linear;
  KtXmlVector m_angular;
};

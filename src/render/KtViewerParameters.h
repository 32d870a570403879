#pragma once

#include "math/Vector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlVector.h"

// How a render window looks at a system: the camera's position and the point it looks at
// (system coordinates, metres) and the image size in pixels.
class KtViewerParameters : public KtXmlCloneable<KtViewerParameters, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const Kt::Vector& cameraPosition() const { return m_cameraPosition; }
  void setCameraPosition(const Kt::Vector& position) { m_cameraPosition = position; }
  const Kt::Vector& cameraTarget() const { return m_cameraTarget; }
  void setCameraTarget(const Kt::Vector& target) { m_cameraTarget = target; }
  unsigned width() const { return m_width; }
  unsigned height() const { return m_height; }
  void setSize(unsigned width, unsigned height) {
    m_width = width;
    m_height = height;
  }

 protected:
  void registerComponents() override;

 private:
  KtXmlVector m_cameraPosition{Kt::Vector(2.0, 2.0, 1.5)};
  KtXmlVector m_cameraTarget{Kt::Vector(0.0, 0.0, 0.5)};
  KtXmlDefaulted<KtXmlBasicType<unsigned>> m_width{256u};
  KtXmlDefaulted<KtXmlBasicType<unsigned>> m_height{256u};
};

#pragma once

#include "manipulator/KtStatedSystem.h"
#include "render/KtViewerParameters.h"

// A stated system together with how a render window is to look at it.
class KtVisualizableStatedSystem : public KtXmlCloneable<KtVisualizableStatedSystem, KtStatedSystem> {
 public:
  const KtToken& elementToken() const override;

  const KtViewerParameters& viewerParameters() const { return m_viewerParameters; }
  KtViewerParameters& viewerParameters() { return m_viewerParameters; }

 protected:
  void registerComponents() override;

 private:
  KtViewerParameters m_viewerParameters;
};

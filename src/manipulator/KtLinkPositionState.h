#pragma once

#include "manipulator/KtCoordinateSystemTransformation.h"
#include "manipulator/KtLinkFrames.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlNamespaces.h"

// The persistent form of one link's cached frames (KtLinkFrames): what a document holds of
// them, read into and written from the plain records that the frame sweep uses.
class KtLinkPositionState : public KtXmlCloneable<KtLinkPositionState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "linkPositionState");
    return token;
  }

  void assign(const KtLinkFrames& frames) {
    m_dhFrame = frames.dhFrame();
    m_primaryFrame = frames.primaryFrame();
    m_locationInSystemValid = frames.valid;
    m_dhTransformValid = frames.valid;
  }
  KtLinkFrames frames() const {
    KtLinkFrames frames;
    frames.dh = m_dhFrame;
    frames.storeColumnsOfDh();
    frames.primary = m_primaryFrame;
    frames.valid = m_locationInSystemValid;
    return frames;
  }

 protected:
  void registerComponents() override {
    static const KtToken dhFrame(ktNamespaceSm, "dhFrame"), primaryFrame(ktNamespaceSm, "primaryFrame"),
        locationValid(ktNamespaceSm, "locationInSystemValid"),
        transformValid(ktNamespaceSm, "dhTransformValid");
    registerComponent(dhFrame, m_dhFrame);
    registerComponent(primaryFrame, m_primaryFrame);
    registerComponent(locationValid, m_locationInSystemValid);
    registerComponent(transformValid, m_dhTransformValid);
  }

 private:
  KtCoordinateSystemTransformation m_dhFrame;
  KtCoordinateSystemTransformation m_primaryFrame;
  KtXmlBasicType<bool> m_locationInSystemValid = false;
  KtXmlBasicType<bool> m_dhTransformValid = false;
};

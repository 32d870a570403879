#pragma once

#include "manipulator/KtCoordinateSystemTransformation.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlNamespaces.h"

// The frames of one link in system coordinates for one state, cached: the joint (D-H)
// frame and the primary frame, valid together or not at all.
class KtLinkPositionState : public KtXmlCloneable<KtLinkPositionState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "linkPositionState");
    return token;
  }

  bool isValid() const { return m_locationInSystemValid; }
  void invalidate() {
    m_locationInSystemValid = false;
    m_dhTransformValid = false;
  }
  const Kt::coordinateSystemTransformation& dhFrame() const { return m_dhFrame; }
  const Kt::coordinateSystemTransformation& primaryFrame() const { return m_primaryFrame; }

  // Stores the frames of a link whose parent frame, joint transformation and fixed primary
  // offset are given: dhFrame = parent ∘ joint, primaryFrame = dhFrame ∘ primary.
  void store(const Kt::coordinateSystemTransformation& parentDhFrame,
             const Kt::coordinateSystemTransformation& jointTransform,
             const Kt::coordinateSystemTransformation& primaryOffset) {
    compose(parentDhFrame, jointTransform, m_dhFrame);
    storePrimaryFrame(primaryOffset);
  }
  // Stores the frames of a link whose joint frame in system coordinates is given.
  void store(const Kt::coordinateSystemTransformation& dhFrame,
             const Kt::coordinateSystemTransformation& primaryOffset) {
    m_dhFrame = dhFrame;
    storePrimaryFrame(primaryOffset);
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
  // primaryFrame = dhFrame ∘ primary; both frames are then valid.
  void storePrimaryFrame(const Kt::coordinateSystemTransformation& primaryOffset) {
    compose(m_dhFrame, primaryOffset, m_primaryFrame);
    m_locationInSystemValid = true;
    m_dhTransformValid = true;
  }
  // result = a ∘ b. Joint frames are nearly always general transformations, for which the
  // composition is written out here so that it inlines into the frame traversal.
  static void compose(const Kt::coordinateSystemTransformation& a,
                      const Kt::coordinateSystemTransformation& b,
                      Kt::coordinateSystemTransformation& result) {
    using Transformation = Kt::coordinateSystemTransformation;
    if (a.mode() == Transformation::modeGeneral && b.mode() == Transformation::modeGeneral) {
      result = Transformation(a.translation() + a.orientation() * b.translation(),
                              a.orientation() * b.orientation());
    } else if (b.mode() == Transformation::modeIdentity) {
      result = a;
    } else {
      result = a;
      result *= b;
    }
  }

  KtCoordinateSystemTransformation m_dhFrame;
  KtCoordinateSystemTransformation m_primaryFrame;
  KtXmlBasicType<bool> m_locationInSystemValid = false;
  KtXmlBasicType<bool> m_dhTransformValid = false;
};

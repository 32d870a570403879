#pragma once

#include "math/coordinateSystemTransformation.h"

// The frames of one link in system coordinates for one state, as the frame sweep keeps them:
// the joint (D-H) frame and the primary frame, valid together or not at all. A plain record,
// so that storing it costs no more than the two frames; the persistent form of these frames
// is KtLinkPositionState, filled from here only when a document is written.
//
// Most links have the identity as their primary offset, and then the primary frame is the
// joint frame itself: it is neither computed nor copied, and primaryFrame() hands out dh.
struct KtLinkFrames {
  using Transformation = Kt::coordinateSystemTransformation;

  Transformation dh;
  Transformation primary;  // unused while primaryIsDh
  bool valid = false;
  bool primaryIsDh = false;

  bool isValid() const { return valid; }
  const Transformation& dhFrame() const { return dh; }
  const Transformation& primaryFrame() const { return primaryIsDh ? dh : primary; }

  // A primary offset as store() takes it: null for the identity.
  static const Transformation* offsetOrNull(const Transformation& offset) {
    return offset.mode() == Transformation::modeIdentity ? nullptr : &offset;
  }

  // Stores the frames of a link whose parent frame, joint transformation and fixed primary
  // offset (null for the identity) are given: dh = parent ∘ joint, primary = dh ∘ offset.
  void store(const Transformation& parentDhFrame, const Transformation& jointTransform,
             const Transformation* primaryOffset) {
    compose(parentDhFrame, jointTransform, dh);
    storePrimaryFrame(primaryOffset);
  }
  // Stores the frames of a link whose joint frame in system coordinates is given.
  void store(const Transformation& dhFrame, const Transformation* primaryOffset) {
    dh = dhFrame;
    storePrimaryFrame(primaryOffset);
  }
  // Completes the record once dh has been written in place.
  void storePrimaryFrame(const Transformation* primaryOffset) {
    primaryIsDh = primaryOffset == nullptr;
    if (!primaryIsDh) compose(dh, *primaryOffset, primary);
    valid = true;
  }

 private:
  // result = a ∘ b. Joint frames are nearly always general transformations, for which the
  // composition is written out here so that it inlines into the frame sweep.
  static void compose(const Transformation& a, const Transformation& b, Transformation& result) {
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
};

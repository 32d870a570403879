#pragma once

#include "math/coordinateSystemTransformation.h"

// The frames of one link in system coordinates for one state, as the frame sweep keeps them:
// the joint (D-H) frame and the primary frame, valid together or not at all. A plain record,
// so that storing it costs no more than the frames; the persistent form of these frames is
// KtLinkPositionState, filled from here only when a document is written.
//
// Beside the joint frame as a transformation (a unit quaternion and a translation, the form
// handed out) the record keeps the same frame as a matrix: the frame's x, y and z axes and its
// origin in system coordinates, each padded to four doubles. Children are composed from the
// matrix, which turns a vector with a few multiply-adds where the quaternion needs about thirty
// operations, and the Jacobian columns read the joint axes from it directly.
//
// Most links have the identity as their primary offset, and then the primary frame is the
// joint frame itself: it is neither computed nor copied, and primaryFrame() hands out dh.
struct KtLinkFrames {
  using Transformation = Kt::coordinateSystemTransformation;
  enum Column { xAxis = 0, yAxis = 1, zAxis = 2, origin = 3 };

  alignas(32) KtReal columns[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}};
  Transformation dh;
  Transformation primary;  // unused while primaryIsDh
  bool valid = false;
  bool primaryIsDh = false;

  bool isValid() const { return valid; }
  const Transformation& dhFrame() const { return dh; }
  const Transformation& primaryFrame() const { return primaryIsDh ? dh : primary; }
  Kt::Vector column(Column which) const {
    return Kt::Vector(columns[which][0], columns[which][1], columns[which][2]);
  }

  // A primary offset as store() takes it: null for the identity.
  static const Transformation* offsetOrNull(const Transformation& offset) {
    return offset.mode() == Transformation::modeIdentity ? nullptr : &offset;
  }

  // Stores the frames of a link whose parent frame, joint transformation and fixed primary
  // offset (null for the identity) are given: dh = parent ∘ joint, primary = dh ∘ offset.
  void store(const Transformation& parentDhFrame, const Transformation& jointTransform,
             const Transformation* primaryOffset) {
    compose(parentDhFrame, jointTransform, dh);
    storeColumnsOfDh();
    storePrimaryFrame(primaryOffset);
  }
  // Stores the frames of a link whose joint frame in system coordinates is given.
  void store(const Transformation& dhFrame, const Transformation* primaryOffset) {
    dh = dhFrame;
    storeColumnsOfDh();
    storePrimaryFrame(primaryOffset);
  }
  // Completes the record once dh and the columns have been written in place.
  void storePrimaryFrame(const Transformation* primaryOffset) {
    primaryIsDh = primaryOffset == nullptr;
    if (!primaryIsDh) compose(dh, *primaryOffset, primary);
    valid = true;
  }
  // Fills the matrix from dh.
  void storeColumnsOfDh() {
    Kt::Vector axes[3];
    dh.orientation().getDcmColumns(axes[xAxis], axes[yAxis], axes[zAxis]);
    for (int c = 0; c < 3; ++c)
      for (int r = 0; r < 3; ++r) columns[c][r] = axes[c][r];
    for (int r = 0; r < 3; ++r) columns[origin][r] = dh.translation()[r];
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

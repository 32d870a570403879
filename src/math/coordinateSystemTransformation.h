#pragma once

#include "foundation/Export.h"
#include "foundation/Types.h"
#include "math/Orientation.h"
#include "math/Vector.h"

namespace Kt {

class ReArray;  // assign4x4 and make4x4 need math/ReArray.h at the call site

// A rigid transformation p ↦ R·p + t (orientation R, translation t) with a mode code that records
// which parts are non-trivial, so that the frequent identity, pure-rotation and pure-translation
// cases skip work. Mutators only move the mode toward general (0), never back (except
// setToIdentity and assignment), so the mode never claims less than the data holds; a general
// transformation may still be numerically the identity.
class KT_EXPORT coordinateSystemTransformation {
 public:
  static constexpr KtU32 modeGeneral = 0;
  static constexpr KtU32 modeRotation = 1;     // translation is zero
  static constexpr KtU32 modeTranslation = 2;  // orientation is the identity
  static constexpr KtU32 modeIdentity = 3;

  constexpr coordinateSystemTransformation() : mode_(modeIdentity) {}
  explicit coordinateSystemTransformation(const Vector& translation)
      : translation_(translation), mode_(modeTranslation) {}
  explicit coordinateSystemTransformation(const Orientation& orientation)
      : orientation_(orientation), mode_(modeRotation) {}
  coordinateSystemTransformation(const Vector& translation, const Orientation& orientation)
      : translation_(translation), orientation_(orientation), mode_(modeGeneral) {}
  constexpr coordinateSystemTransformation(const coordinateSystemTransformation&) = default;
  constexpr coordinateSystemTransformation& operator=(const coordinateSystemTransformation&) = default;

  const Vector& translation() const { return translation_; }
  const Orientation& orientation() const { return orientation_; }
  KtU32 mode() const { return mode_; }

  void setTranslation(const Vector& translation) {
    translation_ = translation;
    noteTranslation();
  }
  void setTranslationX(KtReal value) {
    translation_.setX(value);
    noteTranslation();
  }
  void setTranslationY(KtReal value) {
    translation_.setY(value);
    noteTranslation();
  }
  void setTranslationZ(KtReal value) {
    translation_.setZ(value);
    noteTranslation();
  }
  void setOrientation(const Orientation& orientation) {
    orientation_ = orientation;
    noteOrientation();
  }
  void setToIdentity() { *this = coordinateSystemTransformation(); }

  // Moves outward along this frame: the offset v is given in this frame's axes, and q is applied
  // after this orientation.
  void outboardTransformBy(const Vector& v, const Orientation& q) {
    translation_ += orientation_ * v;
    orientation_ *= q;
    mode_ = modeGeneral;
  }
  void outboardTransformBy(const Vector& v) {
    translation_ += rotateIfNeeded(v);
    noteTranslation();
  }

  // Maps p to R·p + t, skipping the parts that the mode says are trivial.
  void transform(Vector& v) const {
    switch (mode_) {
      case modeGeneral:
        orientation_.transform(v);
        v += translation_;
        break;
      case modeRotation:
        orientation_.transform(v);
        break;
      case modeTranslation:
        v += translation_;
        break;
      default:
        break;
    }
  }
  void transform(const Vector& in, Vector& out) const {
    out = in;
    transform(out);
  }
  // Two vectors at once; any output may be any input.
  void transform(const Vector& in1, Vector& out1, const Vector& in2, Vector& out2) const {
    const Vector moved1 = *this * in1;
    out2 = *this * in2;
    out1 = moved1;
  }
  Vector operator*(const Vector& v) const {
    Vector moved(v);
    transform(moved);
    return moved;
  }

  // this := this ∘ other, i.e. other is applied first: p ↦ R·(R'·p + t') + t.
  coordinateSystemTransformation& operator*=(const coordinateSystemTransformation& other);
  coordinateSystemTransformation operator*(const coordinateSystemTransformation& other) const {
    coordinateSystemTransformation composed(*this);
    composed *= other;
    return composed;
  }

  // Inverts in place (the mode is kept) and returns this.
  coordinateSystemTransformation& invert();
  coordinateSystemTransformation inverse() const;

  // Translation blended linearly, orientation along the shorter arc; s is not clamped. Mode becomes
  // general. this may be a or b. Returns true.
  bool interpolation(const coordinateSystemTransformation& a, const coordinateSystemTransformation& b,
                     KtReal s);

  // Both compare translation and orientation only, never the mode.
  bool approxEq(const coordinateSystemTransformation& other, KtReal tolerance) const {
    return orientation_.approxEq(other.orientation_, tolerance) &&
           translation_.approxEq(other.translation_, tolerance);
  }
  bool operator==(const coordinateSystemTransformation& other) const {
    return orientation_ == other.orientation_ && translation_ == other.translation_;
  }

  // The homogeneous 4×4 matrix as 16 doubles in column-major order: element (i, j) at m[i + 4j].
  void assign16(double* m) const;
  // Reads that layout (the bottom row is ignored); the mode becomes general.
  void setBy16(const double* m);
  // Writes the 4×4 matrix into the upper-left corner of a, which is first resized to 4×4 only
  // when it is too small in either direction.
  void assign4x4(ReArray& a) const;
  ReArray make4x4() const;

  static const coordinateSystemTransformation& identity() { return m_theIdentity; }
  static coordinateSystemTransformation nullObject() { return m_theIdentity; }

 protected:
  void setMode(KtU32 mode) { mode_ = mode; }

 private:
  // A translation was written: identity becomes translation only, rotation only becomes general.
  void noteTranslation() {
    if (mode_ == modeIdentity) {
      mode_ = modeTranslation;
    } else if (mode_ == modeRotation) {
      mode_ = modeGeneral;
    }
  }
  // An orientation was written: identity becomes rotation only, translation only becomes general.
  void noteOrientation() {
    if (mode_ == modeIdentity) {
      mode_ = modeRotation;
    } else if (mode_ == modeTranslation) {
      mode_ = modeGeneral;
    }
  }
  Vector rotateIfNeeded(const Vector& v) const {
    return (mode_ == modeGeneral || mode_ == modeRotation) ? orientation_ * v : v;
  }

  static const coordinateSystemTransformation m_theIdentity;

  Vector translation_;
  Orientation orientation_;
  KtU32 mode_;
};

inline coordinateSystemTransformation& coordinateSystemTransformation::operator*=(
    const coordinateSystemTransformation& other) {
  if (mode_ == modeIdentity) return *this = other;
  if (mode_ > modeIdentity || other.mode_ >= modeIdentity) return *this;
  const bool otherRotates = other.mode_ != modeTranslation;
  const bool otherTranslates = other.mode_ != modeRotation;
  switch (mode_) {
    case modeGeneral:
      if (otherTranslates) translation_ += orientation_ * other.translation_;
      if (otherRotates) orientation_ *= other.orientation_;
      break;
    case modeRotation:
      if (otherTranslates) {
        translation_ = orientation_ * other.translation_;
        mode_ = modeGeneral;
      }
      if (otherRotates) orientation_ *= other.orientation_;
      break;
    default:  // translation only: the rotation is other's
      if (otherTranslates) translation_ += other.translation_;
      if (otherRotates) {
        orientation_ = other.orientation_;
        mode_ = modeGeneral;
      }
      break;
  }
  return *this;
}

}  // namespace Kt

#include "math/coordinateSystemTransformation.h"

#include "math/ReArray.h"

namespace Kt {

constinit const coordinateSystemTransformation coordinateSystemTransformation::m_theIdentity;

coordinateSystemTransformation& coordinateSystemTransformation::invert() {
  switch (mode_) {
    case modeGeneral:
      // (R, t)⁻¹ = (R⁻¹, −R⁻¹·t)
      translation_ *= -1.0;
      orientation_.invert();
      orientation_.transform(translation_);
      break;
    case modeRotation:
      orientation_.invert();
      break;
    case modeTranslation:
      translation_ *= -1.0;
      break;
    default:
      break;
  }
  return *this;
}

coordinateSystemTransformation coordinateSystemTransformation::inverse() const {
  switch (mode_) {
    case modeGeneral: {
      const Orientation inverted = orientation_.inverse();
      return coordinateSystemTransformation(inverted * (translation_ * -1.0), inverted);
    }
    case modeRotation:
      return coordinateSystemTransformation(orientation_.inverse());
    case modeTranslation:
      return coordinateSystemTransformation(translation_ * -1.0);
    default:
      return coordinateSystemTransformation();
  }
}

bool coordinateSystemTransformation::interpolation(const coordinateSystemTransformation& a,
                                                   const coordinateSystemTransformation& b, KtReal s) {
  const Vector blended = a.translation_ * (1.0 - s) + b.translation_ * s;
  orientation_.interpolation(a.orientation_, b.orientation_, s);
  translation_ = blended;
  mode_ = modeGeneral;
  return true;
}

void coordinateSystemTransformation::assign16(double* m) const {
  Vector rows[3];
  orientation_.getDcmRows(rows[0], rows[1], rows[2]);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) m[i + 4 * j] = rows[i][j];
    m[i + 12] = translation_[i];
    m[4 * i + 3] = 0.0;
  }
  m[15] = 1.0;
}

void coordinateSystemTransformation::setBy16(const double* m) {
  setTranslation(Vector(m[12], m[13], m[14]));
  Orientation rotation;
  rotation.setFromDcmRows(Vector(m[0], m[4], m[8]), Vector(m[1], m[5], m[9]), Vector(m[2], m[6], m[10]));
  setOrientation(rotation);
}

void coordinateSystemTransformation::assign4x4(ReArray& a) const {
  if (a.rows() < 4 || a.columns() < 4) a.resizeArray(4, 4);
  Vector rows[3];
  orientation_.getDcmRows(rows[0], rows[1], rows[2]);
  for (std::size_t i = 0; i < 3; ++i) {
    std::vector<KtReal>& row = a[i];
    for (std::size_t j = 0; j < 3; ++j) row[j] = rows[i][j];
    row[3] = translation_[i];
  }
  std::vector<KtReal>& bottom = a[3];
  bottom[0] = bottom[1] = bottom[2] = 0.0;
  bottom[3] = 1.0;
}

ReArray coordinateSystemTransformation::make4x4() const {
  ReArray a(4, 4);
  assign4x4(a);
  return a;
}

}  // namespace Kt

#pragma once

#include <cmath>

#include "math/Orientation.h"
#include "math/Vector.h"
#include "math/coordinateSystemTransformation.h"

// Whether every component of a math value is finite (no NaN, no infinity): the test that keeps a
// bad number from entering a state or leaving a control step.
inline bool ktIsFinite(const Kt::Vector& v) {
  return std::isfinite(v.x()) && std::isfinite(v.y()) && std::isfinite(v.z());
}

inline bool ktIsFinite(const Kt::Orientation& q) {
  return std::isfinite(q[0]) && std::isfinite(q[1]) && std::isfinite(q[2]) && std::isfinite(q[3]);
}

inline bool ktIsFinite(const Kt::coordinateSystemTransformation& transform) {
  return ktIsFinite(transform.translation()) && ktIsFinite(transform.orientation());
}

#pragma once

#include <array>
#include <string_view>

#include "math/Orientation.h"
#include "xml/KtXmlFixedShape.h"

// A Kt::Orientation as an empty element with the attributes q0, q1, q2 and q3: the
// quaternion's components w, x, y and z. The quaternion read is normalised.
struct KtXmlOrientationForm {
  static constexpr std::array<std::string_view, 4> names = {"q0", "q1", "q2", "q3"};
  static constexpr const char* className = "KtXmlOrientation";
  static constexpr const char* schemaName = "ktOrientation";
  static std::array<double, 4> components(const Kt::Orientation& q) { return {q[0], q[1], q[2], q[3]}; }
  static Kt::Orientation make(const std::array<double, 4>& c) {
    return Kt::Orientation(c[0], c[1], c[2], c[3]);
  }
};

using KtXmlOrientation = KtXmlFixedShape<Kt::Orientation, KtXmlOrientationForm>;

template <>
struct KtXmlValueIo<Kt::Orientation> : KtXmlFixedShapeIo<Kt::Orientation, KtXmlOrientationForm> {};

#pragma once

#include <array>
#include <string_view>

#include "math/Vector.h"
#include "xml/KtXmlFixedShape.h"

// A Kt::Vector as an empty element with the attributes x, y and z.
struct KtXmlVectorForm {
  static constexpr std::array<std::string_view, 3> names = {"x", "y", "z"};
  static constexpr const char* className = "KtXmlVector";
  static constexpr const char* schemaName = "ktVector";
  static std::array<double, 3> components(const Kt::Vector& value) {
    return {value.x(), value.y(), value.z()};
  }
  static Kt::Vector make(const std::array<double, 3>& c) { return Kt::Vector(c[0], c[1], c[2]); }
};

using KtXmlVector = KtXmlFixedShape<Kt::Vector, KtXmlVectorForm>;

template <>
struct KtXmlValueIo<Kt::Vector> : KtXmlFixedShapeIo<Kt::Vector, KtXmlVectorForm> {};

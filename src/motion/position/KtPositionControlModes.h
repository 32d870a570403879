#pragma once

#include <cstdint>
#include <string_view>

#include "xml/KtXmlEnumType.h"

// How a position-control step deals with collisions. The words are read and kept now; they take
// effect once link geometry and proximity queries exist: until then every mode steps as "none".
enum class KtCollisionAvoidanceMode : std::int32_t { none = 0, stopAtCollision = 1, avoidCollision = 2 };

template <>
struct KtXmlEnumWords<KtCollisionAvoidanceMode> {
  static constexpr std::string_view name = "collisionAvoidanceMode";
  static constexpr std::string_view words[] = {"none", "stopAtCollision", "avoidCollision"};
};

// Which joint rates the state calculation hands back with the new positions: the rates the
// velocity controller solved for in the last step, or the displacement over the interval divided
// by its length (which shows where a joint limit held a joint back).
enum class KtVelocityStateReturnMode : std::int32_t { positionControlResult = 0, finiteDifference = 1 };

template <>
struct KtXmlEnumWords<KtVelocityStateReturnMode> {
  static constexpr std::string_view name = "velocityStateReturnMode";
  static constexpr std::string_view words[] = {"positionControlResult", "finiteDifference"};
};

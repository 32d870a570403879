#pragma once

#include <string>
#include <utility>

#include "math/coordinateSystemTransformation.h"

class KtIndividualManipulator;
class KtManipulatorActiveState;

// Something fixed to a link of a manipulator (a tool, a sensor, a marker), named by the
// link's label and placed by a fixed offset from the link's primary frame, the frame in which
// the link's own shapes are given.
class KtAttachment {
 public:
  KtAttachment() = default;
  KtAttachment(std::string linkLabel, const Kt::coordinateSystemTransformation& offset)
      : m_linkLabel(std::move(linkLabel)), m_offset(offset) {}

  const std::string& linkLabel() const { return m_linkLabel; }
  const Kt::coordinateSystemTransformation& offset() const { return m_offset; }

  // The attachment's frame in system coordinates for the manipulator's active state: the
  // link's primary frame composed with the offset. A label that names no link of the
  // manipulator (nor its base) is reported and gives false, the placement untouched.
  bool calculateFramePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                               Kt::coordinateSystemTransformation& placement) const;

 private:
  std::string m_linkLabel;
  Kt::coordinateSystemTransformation m_offset;
};

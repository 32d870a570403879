#pragma once

#include <cstddef>

#include "manipulator/KtCoordinateSystemTransformation.h"
#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlVectorType.h"

class KtEndEffectorSet;

// The placements of the end effectors of one manipulator's set, one per end effector in set
// order, each in system coordinates (or in the reference link's frame for a relative end
// effector, as the end effector gives its placement).
class KtManipulatorEndEffectorPlacement
    : public KtXmlCloneable<KtManipulatorEndEffectorPlacement, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  std::size_t size() const { return m_offsets.size(); }
  // Keeps the placements that remain; new ones are the identity.
  void resize(std::size_t size) { m_offsets.resize(size); }

  // Indexed get and set; a bad index prints a message and leaves the output as it was.
  bool offsetInSystem(int index, Kt::coordinateSystemTransformation& placement) const;
  bool setOffsetInSystem(int index, const Kt::coordinateSystemTransformation& placement);
  // The placement at an index below size(), unchecked, for loops over the set.
  const Kt::coordinateSystemTransformation& placement(std::size_t index) const { return m_offsets[index]; }

  // The frame that guides end effector `index` of the set: the primary frame (system
  // coordinates) of the link that carries it, in the manipulator's state. False (frame
  // unchanged) for an index past the set or a label that names no link of the manipulator.
  static bool guideFrameInSystem(int index, const KtEndEffectorSet& set,
                                 const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                 Kt::coordinateSystemTransformation& frame);

 protected:
  void registerComponents() override;

 private:
  bool indexValid(int index, const char* operation) const;

  KtXmlVectorType<KtCoordinateSystemTransformation> m_offsets;
};

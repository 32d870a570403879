#pragma once

#include <cstddef>
#include <vector>

#include "manipulator/KtManipulatorActiveState.h"
#include "xml/KtXmlVectorType.h"

class KtManipulatorSystem;
class KtManipulatorSystemState;

// The active states of all manipulators of a system, one per manipulator index.
class KtSystemActiveState : public KtXmlCloneable<KtSystemActiveState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  std::size_t size() const { return m_manipulatorActiveStateVector.size(); }
  KtManipulatorActiveState& manipulatorActiveState(std::size_t index) {
    return m_manipulatorActiveStateVector[index];
  }

  // Takes the position and velocity states of the system state (one active state per
  // manipulator of the system; a manipulator without a state keeps the zero state). Frames
  // computed before stay valid only where their inputs did not change.
  void update(const KtManipulatorSystem& system, const KtManipulatorSystemState& state);

 protected:
  void registerComponents() override;

 private:
  KtXmlVectorType<KtManipulatorActiveState> m_manipulatorActiveStateVector;
};

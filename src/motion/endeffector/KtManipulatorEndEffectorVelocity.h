#pragma once

#include <cstddef>

#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlVectorType.h"

// The velocities of the end effectors of one manipulator's set, one per end effector in set
// order: as many entries as the end effector has rows, or the six-entry general velocity
// (linear then angular, system axes) that a frame-like end effector's filter reduces.
class KtManipulatorEndEffectorVelocity
    : public KtXmlCloneable<KtManipulatorEndEffectorVelocity, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  std::size_t size() const { return m_velocities.size(); }
  // Keeps the velocities that remain; new ones are empty.
  void resize(std::size_t size) { m_velocities.resize(size); }
  const KtEndEffectorVelocityEntries& velocity(std::size_t index) const {
    return m_velocities[index].value();
  }
  KtEndEffectorVelocityEntries& velocity(std::size_t index) { return m_velocities[index].value(); }

 protected:
  void registerComponents() override;

 private:
  KtXmlVectorType<KtXmlVectorType<KtReal>> m_velocities;
};

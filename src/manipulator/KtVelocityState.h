#pragma once

#include <vector>

#include "foundation/Types.h"
#include "manipulator/KtGeneralMotion.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlVectorType.h"

// How fast one manipulator moves: its joint velocities, in link-index order, and the
// spatial velocity of its base.
class KtVelocityState : public KtXmlCloneable<KtVelocityState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const std::vector<KtReal>& jointVelocities() const { return m_jointVelocities; }
  std::vector<KtReal>& jointVelocities() { return m_jointVelocities.value(); }
  void setJointVelocities(const std::vector<KtReal>& velocities) { m_jointVelocities.value() = velocities; }
  const KtGeneralMotion& generalVelocity() const { return m_generalVelocity; }
  KtGeneralMotion& generalVelocity() { return m_generalVelocity; }

 protected:
  void registerComponents() override;

 private:
  KtXmlVectorType<KtReal> m_jointVelocities;
  KtGeneralMotion m_generalVelocity;
};

#pragma once

#include <vector>

#include "foundation/Types.h"
#include "manipulator/KtCoordinateSystemTransformation.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlVectorType.h"

// Where one manipulator is: its joint positions, in link-index order, and its base pose.
class KtPositionState : public KtXmlCloneable<KtPositionState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const std::vector<KtReal>& jointPositions() const { return m_jointPositions; }
  std::vector<KtReal>& jointPositions() { return m_jointPositions.value(); }
  void setJointPositions(const std::vector<KtReal>& positions) { m_jointPositions.value() = positions; }
  const Kt::coordinateSystemTransformation& coordinateSystemTransform() const {
    return m_coordinateSystemTransform;
  }
  void setCoordinateSystemTransform(const Kt::coordinateSystemTransformation& pose) {
    m_coordinateSystemTransform = pose;
  }

  // This state becomes the blend a + s·(b − a): joints linearly, the base pose along the
  // shorter arc. False (and nothing changed) when the joint counts differ.
  bool linearInterpolation(const KtPositionState& a, const KtPositionState& b, KtReal s);

 protected:
  void registerComponents() override;

 private:
  KtXmlVectorType<KtReal> m_jointPositions;
  KtCoordinateSystemTransformation m_coordinateSystemTransform;
};

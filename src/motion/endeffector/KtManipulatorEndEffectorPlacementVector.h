#pragma once

#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"
#include "xml/KtXmlVectorType.h"

// The end-effector placements of every manipulator of a system, one entry per manipulator.
class KtManipulatorEndEffectorPlacementVector
    : public KtXmlCloneable<KtManipulatorEndEffectorPlacementVector,
                            KtXmlVectorType<KtManipulatorEndEffectorPlacement>> {
 public:
  const KtToken& elementToken() const override;
};

#pragma once

#include "manipulator/KtManipulatorLink.h"
#include "xml/KtXmlVariableVectorType.h"

// A link whose shapes may change form (a cable, a soft gripper pad): it stands in a link tree
// like any other link and differs, for now, only by being marked deformable from the start.
class KtDeformableManipulatorLink : public KtXmlCloneable<KtDeformableManipulatorLink, KtManipulatorLink> {
 public:
  KtDeformableManipulatorLink() { setDeformable(true); }

  const KtToken& elementToken() const override;
};

using KtDeformableManipulatorLinkVector = KtXmlVariableVectorType<KtDeformableManipulatorLink>;

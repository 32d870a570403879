#pragma once

#include <string>

#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"

// The optional second link against which an end effector is measured. While isRelativeLink is
// set, the end effector's placement is given in the reference link's frame and its velocity and
// Jacobian rows are those relative to a point rigidly fixed to the reference link (system
// axes); no free-base columns are written, since a base motion moves both links alike.
//
// The two halves of a relative end effector therefore use different axes. Its motion filter
// works on placements in the reference link's frame, so the commanded velocity it gives is in
// the reference link's axes, while its Jacobian rows and calculateVelocity are in system axes.
// Whoever stacks commanded velocities against the rows turns each such filter output by the
// reference link's orientation (in system axes) first. Rows that a class gives in its own
// end-effector frame need no turn: the filter already takes its output into the axes of the
// actual placement, which is that same frame.
class KtEndEffectorRelativeLinkData
    : public KtXmlCloneable<KtEndEffectorRelativeLinkData, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const std::string& relativeLinkId() const { return m_relativeLinkId; }
  void setRelativeLinkId(const std::string& label) { m_relativeLinkId = label; }
  bool isRelativeLink() const { return m_isRelativeLink; }
  void setIsRelativeLink(bool relative) { m_isRelativeLink = relative; }

 protected:
  void registerComponents() override;

 private:
  KtXmlBasicType<std::string> m_relativeLinkId;
  KtXmlDefaulted<KtXmlBasicType<bool>> m_isRelativeLink{false};
};

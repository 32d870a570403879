#pragma once

#include <string>

#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"

// The optional second link against which an end effector is measured. While isRelativeLink is
// set, the end effector's placement is given in the reference link's frame and its velocity and
// Jacobian rows are those relative to a point rigidly fixed to the reference link (system
// axes); no free-base columns are written, since a base motion moves both links alike.
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

#pragma once

#include <string>

#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"

// A manipulator's optional reference to another manipulator of its system, by that one's
// label. Without a label there is no reference, and the element is left out of documents
// unless it was read from one.
class KtManipulatorReferenceDescription
    : public KtXmlCloneable<KtManipulatorReferenceDescription, KtXmlCompoundType> {
 public:
  const std::string& label() const { return m_label; }
  void setLabel(const std::string& label) { m_label = label; }
  bool mayBeOmitted() const override { return m_label.value().empty(); }

 protected:
  void registerComponents() override;

 private:
  KtXmlBasicType<std::string> m_label;
};

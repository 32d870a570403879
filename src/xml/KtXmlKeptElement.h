#pragma once

#include <string>
#include <utility>
#include <vector>

#include "xml/KtXmlObject.h"

// An element that this program does not interpret but must not lose: everything inside
// it (attributes, content, child elements at any depth) is kept as it was read and
// written back the same way, so that loading and saving a document reproduces it.
//
// Content is kept as its blank-separated items, which the writer lays out again ten to a
// line exactly as it did when it wrote the document first.
class KtXmlKeptElement : public KtXmlCloneable<KtXmlKeptElement, KtXmlObject> {
 public:
  struct Node {
    KtToken token;
    std::vector<std::pair<std::string, std::string>> attributes;  // local name, value
    std::vector<std::string> contentItems;
    std::vector<Node> children;

    bool empty() const { return attributes.empty() && contentItems.empty() && children.empty(); }
    bool operator==(const Node& other) const = default;
  };

  bool read(KtXmlReader& reader) override;
  bool write(KtXmlWriter& writer) const override;
  void writeSchema(KtXmlWriter& writer) const override;
  bool isEqual(const KtXmlObject& other) const override;
  std::string schemaTypeName() const override;
  // Nothing kept and nothing read: there is nothing worth writing.
  bool mayBeOmitted() const override { return m_body.empty(); }

  // What the element held (its token is the one its container gave it, left empty here).
  const Node& body() const { return m_body; }
  bool empty() const { return m_body.empty(); }

 private:
  Node m_body;
};

#pragma once

#include <string>
#include <vector>

#include "xml/KtXmlObject.h"

// An element that this program does not interpret but must not lose: everything inside
// it (attributes with their namespaces, the schema-instance attributes such as xsi:type
// and xsi:nil, content text, child elements at any depth) is kept as it was read and
// written back, so that loading and saving a document keeps its meaning and a second
// save reproduces the first byte for byte.
//
// Content text is kept whole, inner blanks and line breaks included. Names keep their
// namespaces; the prefixes are the writer's own (a default namespace comes back under a
// prefix), and the schema-instance attributes follow the others.
class KtXmlKeptElement : public KtXmlCloneable<KtXmlKeptElement, KtXmlObject> {
 public:
  struct Attribute {
    KtToken name;
    std::string value;
    KtToken typeName;  // for xsi:type: the type named by the value, in its namespace
    bool operator==(const Attribute& other) const = default;
  };
  struct Node {
    KtToken token;
    std::vector<Attribute> attributes;
    std::string text;
    std::vector<Node> children;

    bool empty() const { return attributes.empty() && text.empty() && children.empty(); }
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

#include "xml/KtXmlKeptElement.h"

#include <span>
#include <typeinfo>

#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlWriter.h"

namespace {

const KtToken& nilToken() {
  static const KtToken token = KtToken::fromParts(ktSchemaInstanceNamespace, "nil");
  return token;
}

// Reads the inside of the element just entered, up to and including its end tag.
bool readBody(KtXmlReader& reader, KtXmlKeptElement::Node& node) {
  // Schema-instance attributes are kept after the others: one bound under another prefix
  // is written back as "xsi:" and read among those the next time, so this gives one order.
  for (const bool schemaInstance : {false, true}) {
    for (std::span<KtXmlAttribute> list : {reader.attributes(), reader.schemaInstanceAttributes()}) {
      for (KtXmlAttribute& attribute : list) {
        if ((attribute.token.nameSpace() == ktSchemaInstanceNamespace) != schemaInstance) continue;
        // A type named in a namespace is kept by its name: the prefix is the writer's choice.
        if (attribute.typeName.nameSpace().empty())
          node.attributes.push_back({attribute.token, attribute.value, {}});
        else
          node.attributes.push_back({attribute.token, {}, attribute.typeName});
        attribute.consumed = true;
      }
    }
  }
  if (reader.peek() == KtXmlItem::Content && !reader.readContent(node.text)) return false;
  const bool read = reader.readChildren([&reader, &node](const KtToken& child) {
    node.children.push_back(KtXmlKeptElement::Node{child, {}, {}, {}});
    return readBody(reader, node.children.back());
  });
  // The writer marks every element that holds nothing as nil; such a mark alone is the
  // writer's form of an empty element, not something to keep.
  if (node.text.empty() && node.children.empty() && node.attributes.size() == 1 &&
      node.attributes[0].name == nilToken() && node.attributes[0].value == "true")
    node.attributes.clear();
  return read;
}

void writeBody(KtXmlWriter& writer, const KtXmlKeptElement::Node& node) {
  for (const KtXmlKeptElement::Attribute& attribute : node.attributes)
    writer.writeAttributeAsRead(attribute.name, attribute.value, attribute.typeName);
  if (!node.text.empty()) writer.writeContentItem(node.text);
  for (const KtXmlKeptElement::Node& child : node.children) {
    writer.writeStartElement(child.token);
    writeBody(writer, child);
    writer.writeEndElement();
  }
}

}  // namespace

bool KtXmlKeptElement::read(KtXmlReader& reader) {
  beginRead();
  m_body = Node{};
  return readBody(reader, m_body);
}

bool KtXmlKeptElement::write(KtXmlWriter& writer) const {
  writeBody(writer, m_body);
  return true;
}

// The kept contents are not described: the schema admits the element with any content.
// What is kept is whatever the document held, so its type admits any attributes and children.
void KtXmlKeptElement::writeSchema(KtXmlWriter& writer) const {
  writer.schema().addComplexType(schemaTypeName());
  writer.schema().setOpenContent(schemaTypeName());
}

bool KtXmlKeptElement::isEqual(const KtXmlObject& other) const {
  return typeid(other) == typeid(*this) && static_cast<const KtXmlKeptElement&>(other).m_body == m_body;
}

std::string KtXmlKeptElement::schemaTypeName() const { return KtXmlSchema::ownType("keptElement"); }

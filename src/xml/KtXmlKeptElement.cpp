#include "xml/KtXmlKeptElement.h"

#include <typeinfo>

#include "xml/KtXmlReader.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlText.h"
#include "xml/KtXmlWriter.h"

namespace {

void splitIntoItems(std::string_view text, std::vector<std::string>& items) {
  std::size_t position = 0;
  while (position < text.size()) {
    while (position < text.size() && ktXmlIsBlank(static_cast<unsigned char>(text[position]))) ++position;
    const std::size_t begin = position;
    while (position < text.size() && !ktXmlIsBlank(static_cast<unsigned char>(text[position]))) ++position;
    if (position > begin) items.emplace_back(text.substr(begin, position - begin));
  }
}

// Reads the inside of the element just entered, up to and including its end tag.
bool readBody(KtXmlReader& reader, KtXmlKeptElement::Node& node) {
  for (KtXmlAttribute& attribute : reader.attributes()) {
    node.attributes.emplace_back(attribute.token.name(), attribute.value);
    attribute.consumed = true;
  }
  if (reader.peek() == KtXmlItem::Content) {
    std::string& text = reader.textBuffer();
    if (!reader.readContent(text)) return false;
    splitIntoItems(text, node.contentItems);
  }
  return reader.readChildren([&reader, &node](const KtToken& child) {
    node.children.push_back(KtXmlKeptElement::Node{child, {}, {}, {}});
    return readBody(reader, node.children.back());
  });
}

void writeBody(KtXmlWriter& writer, const KtXmlKeptElement::Node& node) {
  for (const auto& [name, value] : node.attributes)
    writer.writeAttribute(KtToken::fromParts("", name), value);
  for (const std::string& item : node.contentItems) writer.writeContentItem(item);
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

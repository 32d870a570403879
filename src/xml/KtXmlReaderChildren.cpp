#include <span>
#include <sstream>

#include "foundation/Print.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlText.h"
#include "xml/KtXmlWriter.h"

bool KtXmlReader::getChildrenAsString(std::string& text) {
  text.clear();
  for (KtXmlAttribute& attribute : attributes()) attribute.consumed = true;
  const std::size_t level = m_depth;
  const std::string nameSpace = m_token.nameSpace();
  std::ostringstream children;
  KtXmlWriter writer(fileName(), children);
  KtToken child;
  for (;;) {
    switch (peek()) {
      case KtXmlItem::StartTag:
      case KtXmlItem::EmptyElement:
        if (!enterElement()) return false;
        child.assign(m_token.nameSpace().empty() ? std::string_view(nameSpace) : m_token.nameSpace(),
                     m_token.name());
        writer.writeStartElement(child);
        for (std::span<KtXmlAttribute> list : {attributes(), schemaInstanceAttributes()}) {
          for (KtXmlAttribute& attribute : list) {
            attribute.consumed = true;
            writer.writeAttributeAsRead(attribute.token, attribute.value, attribute.typeName);
          }
        }
        break;
      case KtXmlItem::Content:
        if (!readContent(m_text)) return false;
        if (m_depth > level) {
          writer.writeContentItem(m_text);
        } else {
          ktXmlAppendEscaped(text, m_text, false);
          text += '\n';
        }
        break;
      case KtXmlItem::EndTag:
        if (!readEndTag()) return false;
        if (m_depth < level) {
          writer.flush();
          text += children.str();
          return true;
        }
        writer.writeEndElement();
        break;
      case KtXmlItem::EndOfDocument:
        ktPrint(KtSeverity::Error,
                "getChildrenAsString Error: end of file too early -- expecting start tag.");
        m_failed = true;
        return false;
      case KtXmlItem::Error:
        return false;
    }
  }
}

#include "xml/KtXmlSchema.h"

#include <vector>

#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlText.h"

namespace {

std::string_view unqualified(std::string_view type) {
  const std::size_t colon = type.find(':');
  return colon == std::string_view::npos ? type : type.substr(colon + 1);
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  ktXmlAppendEscaped(out, text, true);
  out += '"';
  return out;
}

std::string attributeDeclarations(const std::map<std::string, std::string>& attributes,
                                  std::string_view indent) {
  std::string out;
  for (const auto& [attribute, simpleType] : attributes) {
    out.append(indent).append("<xs:attribute name=" + quoted(attribute) + " type=" + quoted(simpleType) +
                              "/>\n");
  }
  return out;
}

}  // namespace

KtXmlSchema::ComplexType& KtXmlSchema::complexType(std::string_view type) {
  const std::string_view name = unqualified(type);
  auto found = m_complexTypes.find(name);
  if (found == m_complexTypes.end()) found = m_complexTypes.emplace(std::string(name), ComplexType()).first;
  return found->second;
}

void KtXmlSchema::addComplexType(std::string_view type) { complexType(type); }

bool KtXmlSchema::hasComplexType(std::string_view type) const {
  return m_complexTypes.find(unqualified(type)) != m_complexTypes.end();
}

void KtXmlSchema::addAttribute(std::string_view type, std::string_view attributeName,
                               std::string_view simpleType) {
  complexType(type).attributes.emplace(std::string(attributeName), std::string(simpleType));
}

void KtXmlSchema::addElement(std::string_view type, const KtToken& element, std::string_view elementType) {
  complexType(type).elements.emplace(element.name(), std::make_pair(element, std::string(elementType)));
}

void KtXmlSchema::setOpenContent(std::string_view type) { complexType(type).open = true; }

void KtXmlSchema::setContent(std::string_view type, std::string_view simpleType) {
  complexType(type).content = simpleType;
}

std::string KtXmlSchema::listType(std::string_view itemType) {
  const std::string name = std::string(unqualified(itemType)) + "List";
  m_simpleTypes[name].listItem = itemType;
  return ownType(name);
}

std::string KtXmlSchema::enumerationType(std::string_view name, std::span<const std::string_view> words) {
  std::vector<std::string>& enumerated = m_simpleTypes[std::string(name)].enumerated;
  enumerated.assign(words.begin(), words.end());
  return ownType(name);
}

void KtXmlSchema::write(std::ostream& out, const KtToken& root, std::string_view rootType) const {
  const std::string& target = root.nameSpace();
  out << "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
      << "<xs:schema xmlns:xs=" << quoted(ktSchemaNamespace) << " xmlns:tns=" << quoted(target)
      << "\n  targetNamespace=" << quoted(target)
      << " elementFormDefault=\"qualified\" attributeFormDefault=\"unqualified\">\n";
  out << "  <xs:element name=" << quoted(root.name()) << " type=" << quoted(rootType)
      << " nillable=\"true\"/>\n";
  for (const auto& [name, type] : m_complexTypes) writeComplexType(out, name, type, target);
  for (const auto& [name, type] : m_simpleTypes) {
    out << "  <xs:simpleType name=" << quoted(name) << ">\n";
    if (!type.listItem.empty()) {
      out << "    <xs:list itemType=" << quoted(type.listItem) << "/>\n";
    } else {
      out << "    <xs:restriction base=\"xs:string\">\n";
      for (const std::string& word : type.enumerated)
        out << "      <xs:enumeration value=" << quoted(word) << "/>\n";
      out << "    </xs:restriction>\n";
    }
    out << "  </xs:simpleType>\n";
  }
  out << "</xs:schema>\n";
}

void KtXmlSchema::writeComplexType(std::ostream& out, const std::string& name, const ComplexType& type,
                                   const std::string& targetNamespace) const {
  out << "  <xs:complexType name=" << quoted(name);
  if (type.open) {
    out << " mixed=\"true\">\n    <xs:sequence>\n"
        << "      <xs:any namespace=\"##any\" processContents=\"lax\" minOccurs=\"0\" "
           "maxOccurs=\"unbounded\"/>\n"
        << "    </xs:sequence>\n    <xs:anyAttribute processContents=\"lax\"/>\n  </xs:complexType>\n";
    return;
  }
  const bool hasElements = !type.elements.empty();
  if (hasElements && !type.content.empty()) out << " mixed=\"true\"";
  out << ">\n";
  if (!hasElements && !type.content.empty()) {
    // Text with attributes: the content's simple type extended by the attributes.
    out << "    <xs:simpleContent>\n      <xs:extension base=" << quoted(type.content) << ">\n"
        << attributeDeclarations(type.attributes, "        ")
        << "      </xs:extension>\n    </xs:simpleContent>\n  </xs:complexType>\n";
    return;
  }
  if (hasElements) {
    out << "    <xs:choice minOccurs=\"0\" maxOccurs=\"unbounded\">\n";
    bool foreign = false;
    for (const auto& [local, element] : type.elements) {
      // Parts of wrappers carry no namespace of their own: they are in their parent's.
      const std::string& nameSpace = element.first.nameSpace();
      if (!nameSpace.empty() && nameSpace != targetNamespace) {
        foreign = true;
        continue;
      }
      out << "      <xs:element name=" << quoted(local) << " type=" << quoted(element.second)
          << " nillable=\"true\"/>\n";
    }
    if (foreign) out << "      <xs:any namespace=\"##other\" processContents=\"lax\"/>\n";
    out << "    </xs:choice>\n";
  }
  out << attributeDeclarations(type.attributes, "    ") << "  </xs:complexType>\n";
}

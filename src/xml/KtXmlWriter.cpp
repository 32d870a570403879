#include "xml/KtXmlWriter.h"

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlText.h"

namespace {

constexpr std::size_t kBlockSize = 1 << 16;

// The element prefix of a namespace: the last segment of its URI path.
std::string_view prefixOf(std::string_view nameSpace) {
  const std::size_t slash = nameSpace.rfind('/');
  return slash == std::string_view::npos ? nameSpace : nameSpace.substr(slash + 1);
}

}  // namespace

KtXmlWriter::KtXmlWriter(std::string fileName, std::ostream& out)
    : m_stream(out),
      m_fileName(std::move(fileName)),
      m_strings(KtXmlWriterDefaults::instance().strings),
      m_writeEveryComponent(KtXmlWriterDefaults::instance().writeEveryComponent),
      m_writeSchema(KtXmlWriterDefaults::instance().writeSchema) {}

KtXmlWriter::~KtXmlWriter() { flush(); }

std::string_view KtXmlWriter::currentElementName() const {
  return m_depth > 0 && m_depth <= m_open.size() ? std::string_view(m_open[m_depth - 1].qualifiedName)
                                                 : std::string_view();
}

void KtXmlWriter::reportUnreadableValue(const char* kind, std::string_view name, std::string_view text) {
  m_wroteUnreadable = true;
  ktPrint(KtSeverity::Error,
          "KtXmlWriter Error: %s %.*s: value %.*s is not finite and will not read back.\n\tFile: %s\n", kind,
          static_cast<int>(name.size()), name.data(), static_cast<int>(text.size()), text.data(),
          m_fileName.c_str());
}

bool KtXmlWriter::flush() {
  if (!m_out.empty()) {
    m_stream.write(m_out.data(), static_cast<std::streamsize>(m_out.size()));
    m_out.clear();
  }
  m_stream.flush();
  return static_cast<bool>(m_stream);
}

void KtXmlWriter::flushIfLarge() {
  if (m_out.size() >= kBlockSize) {
    m_stream.write(m_out.data(), static_cast<std::streamsize>(m_out.size()));
    m_out.clear();
  }
}

std::string KtXmlWriter::schemaFileName(const KtToken& root) const {
  std::string name = m_fileName;
  const std::size_t dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(dot);
  const std::size_t separator = name.find_last_of("/\\");
  if (separator != std::string::npos) name.erase(0, separator + 1);
  name += '.';
  name += prefixOf(root.nameSpace());
  name += ".xsd";
  return name;
}

void KtXmlWriter::appendIndentation(std::size_t depth) {
  for (std::size_t i = 0; i < depth; ++i) m_out += m_strings.indentation;
}

bool KtXmlWriter::isDeclared(const std::string& nameSpace) const {
  for (const auto& declared : m_declared) {
    if (declared.second == nameSpace) return true;
  }
  return false;
}

void KtXmlWriter::appendQualifiedName(const KtToken& token) {
  if (!token.nameSpace().empty()) {
    m_out += prefixOf(token.nameSpace());
    m_out += ':';
  }
  m_out += token.name();
}

void KtXmlWriter::writeRootStartElement(const KtToken& token) {
  if (!m_strings.header.empty()) m_out += m_strings.header + '\n';
  if (!m_strings.stylesheet.empty()) m_out += m_strings.stylesheet + '\n';
  beginElement(token, true);
}

void KtXmlWriter::writeStartElement(const KtToken& token) { beginElement(token, false); }

void KtXmlWriter::writeStartElement(std::string_view localName) {
  const std::string_view nameSpace =
      m_depth > 0 ? std::string_view(m_open[m_depth - 1].nameSpace) : std::string_view();
  m_childToken.assign(nameSpace, localName);
  beginElement(m_childToken, false);
}

// Ends the start tag of the current element, which is about to receive a child.
void KtXmlWriter::closeStartTagForChild() {
  if (m_mode == kStartTag || m_mode == kAttributes) {
    m_out += ">\n";
  } else if (m_mode == kContent) {
    m_out += '>';
    m_out += m_content;
    m_out += '\n';
    m_content.clear();
  }
}

void KtXmlWriter::beginElement(const KtToken& token, bool root) {
  if (token.nameSpace().empty()) {
    ktPrint(KtSeverity::Error, "KtXmlWriter Error: All elements must have namespace: %s\n\tFile: %s\n",
            token.name().c_str(), m_fileName.c_str());
  }
  closeStartTagForChild();
  appendIndentation(m_depth);
  const std::size_t nameStart = m_out.size() + 1;
  m_out += '<';
  appendQualifiedName(token);
  const std::size_t nameLength = m_out.size() - nameStart;
  if (root) {
    m_out += ' ';
    if (m_strings.schemaInstanceDeclaration.empty()) {
      m_out += "xmlns:xsi=\"";
      m_out += ktSchemaInstanceNamespace;
      m_out += '"';
    } else {
      m_out += m_strings.schemaInstanceDeclaration;
    }
    m_out += "\n  xsi:schemaLocation=\"" + token.nameSpace() + "\n  " + m_strings.schemaLocationBase +
             schemaFileName(token) + '"';
  }
  ++m_depth;
  if (!token.nameSpace().empty() && !isDeclared(token.nameSpace())) {
    m_out += " xmlns:";
    m_out += prefixOf(token.nameSpace());
    m_out += "=\"";
    ktXmlAppendEscaped(m_out, token.nameSpace(), true);
    m_out += '"';
    m_declared.emplace_back(m_depth, token.nameSpace());
  }
  if (m_open.size() < m_depth) m_open.resize(m_depth);
  m_open[m_depth - 1].qualifiedName.assign(m_out, nameStart, nameLength);
  m_open[m_depth - 1].nameSpace = token.nameSpace();
  m_mode = kStartTag;
  m_items = 0;
  m_content.clear();
  flushIfLarge();
}

void KtXmlWriter::writeAttribute(const KtToken& token, std::string_view value) {
  if (m_mode != kStartTag && m_mode != kAttributes) {
    ktPrint(KtSeverity::Error,
            "KtXmlWriter Error: element %s is placing content at incorrect location.\n\tFile: %s\n",
            token.name().c_str(), m_fileName.c_str());
    return;
  }
  m_out += ' ';
  if (!token.nameSpace().empty()) {
    if (isDeclared(token.nameSpace())) {
      ktPrint(KtSeverity::Error, "KtXmlWriter Error: no namespace on attributes preferred: %s\n\tFile: %s\n",
              token.toString().c_str(), m_fileName.c_str());
      appendQualifiedName(token);
    } else {
      ktPrint(KtSeverity::Error, "KtXmlWriter Error: attribute namespace doesn't exist: %s\n\tFile: %s\n",
              token.toString().c_str(), m_fileName.c_str());
      m_out += token.name();
    }
  } else {
    m_out += token.name();
  }
  m_out += "=\"";
  ktXmlAppendEscaped(m_out, value, true);
  m_out += '"';
  m_mode = kAttributes;
}

void KtXmlWriter::writeContentItem(std::string_view text) {
  if (m_mode != kStartTag && m_mode != kAttributes && m_mode != kContent) {
    const char* element =
        m_depth > 0 && m_depth <= m_open.size() ? m_open[m_depth - 1].qualifiedName.c_str() : "";
    ktPrint(KtSeverity::Error,
            "KtXmlWriter Error: element %s is placing content at incorrect location.\n\tFile: %s\n", element,
            m_fileName.c_str());
    return;
  }
  if (m_items != 0) {
    if (m_items % kItemsPerLine == 0) {
      m_content += '\n';
      for (std::size_t i = 0; i < m_depth; ++i) m_content += m_strings.indentation;
    } else {
      m_content += ' ';
    }
  }
  ktXmlAppendEscaped(m_content, text, false);
  ++m_items;
  m_mode = kContent;
}

void KtXmlWriter::writeEndElement() {
  if (m_depth == 0 ||
      (m_mode != kStartTag && m_mode != kAttributes && m_mode != kContent && m_mode != kEndTag)) {
    ktPrint(KtSeverity::Error, "KtXmlWriter Error: end tag following incorrect mode %d.  File %s\n", m_mode,
            m_fileName.c_str());
    return;
  }
  const std::string& name = m_open[m_depth - 1].qualifiedName;
  switch (m_mode) {
    case kStartTag:
      m_out += " xsi:nil=\"true\"/>\n";
      break;
    case kAttributes:
      m_out += "/>\n";
      break;
    case kContent:
      m_out += '>';
      if (m_content.size() > kLongContent) {
        m_out += '\n';
        appendIndentation(m_depth);
        m_out += m_content;
        m_out += '\n';
        appendIndentation(m_depth - 1);
      } else {
        m_out += m_content;
      }
      m_out += "</" + name + ">\n";
      m_content.clear();
      break;
    default:
      appendIndentation(m_depth - 1);
      m_out += "</" + name + ">\n";
  }
  while (!m_declared.empty() && m_declared.back().first >= m_depth) m_declared.pop_back();
  --m_depth;
  m_mode = kEndTag;
  flushIfLarge();
}

#include "xml/KtXmlWriter.h"

#include <algorithm>

#include "foundation/Print.h"
#include "xml/KtXmlLimits.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlText.h"

namespace {

constexpr std::size_t kBlockSize = 1 << 16;

// The last segment of a namespace URI's path: the prefix the writer prefers for it.
std::string_view lastSegmentOf(std::string_view nameSpace) {
  const std::size_t slash = nameSpace.rfind('/');
  return slash == std::string_view::npos ? nameSpace : nameSpace.substr(slash + 1);
}

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// A prefix must be an XML name without colons that does not start with the reserved "xml".
bool isUsablePrefix(std::string_view prefix) {
  if (prefix.empty() || !(isAsciiLetter(prefix[0]) || prefix[0] == '_')) return false;
  for (const char c : prefix) {
    if (!(isAsciiLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.')) return false;
  }
  return !(prefix.size() >= 3 && (prefix[0] | 0x20) == 'x' && (prefix[1] | 0x20) == 'm' &&
           (prefix[2] | 0x20) == 'l');
}

// The prefix the schema-instance attributes are known by; the reader reserves it.
constexpr std::string_view kSchemaInstancePrefix = "xsi";

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
  if (m_failed) return false;
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
  name += lastSegmentOf(root.nameSpace());
  name += ".xsd";
  return name;
}

void KtXmlWriter::appendIndentation(std::string& out, std::size_t depth) const {
  for (std::size_t i = std::min(depth, kMaxIndentedDepth); i > 0; --i) out += m_strings.indentation;
}

const std::string* KtXmlWriter::boundPrefix(std::string_view nameSpace) const {
  for (const Binding& binding : m_bindings) {
    if (binding.nameSpace == nameSpace) return &binding.prefix;
  }
  return nullptr;
}

bool KtXmlWriter::isPrefixBound(std::string_view prefix) const {
  for (const Binding& binding : m_bindings) {
    if (binding.prefix == prefix) return true;
  }
  return false;
}

// A prefix for a namespace not in scope: one bound to nothing else, so that a declaration
// never hides another.
std::string KtXmlWriter::freePrefix(std::string_view nameSpace) const {
  const bool schemaInstance = nameSpace == ktSchemaInstanceNamespace;
  std::string base(schemaInstance ? kSchemaInstancePrefix : lastSegmentOf(nameSpace));
  if (!isUsablePrefix(base)) base = "ns";
  std::string prefix = base;
  for (unsigned suffix = 2; isPrefixBound(prefix) || (prefix == kSchemaInstancePrefix && !schemaInstance);
       ++suffix) {
    prefix = base + std::to_string(suffix);
  }
  return prefix;
}

// Declares the namespace on the current element, whose start tag is still open.
void KtXmlWriter::declare(std::string prefix, std::string_view nameSpace) {
  m_out += " xmlns:";
  m_out += prefix;
  m_out += "=\"";
  ktXmlAppendEscaped(m_out, nameSpace, true);
  m_out += '"';
  m_bindings.push_back({m_depth, std::move(prefix), std::string(nameSpace)});
}

// A document nested deeper than the reader accepts could not be loaded again: it is
// refused as a whole when its first element beyond that depth begins.
bool KtXmlWriter::refuseDeeperNesting(const KtToken& token) {
  if (m_failed) return true;
  if (m_depth < ktXmlMaxDepth) return false;
  ktPrint(KtSeverity::Error,
          "KtXmlWriter Error: element %s is nested deeper than %zu levels and could not be read back; "
          "the document is not written.\n\tFile: %s\n",
          token.name().c_str(), ktXmlMaxDepth, m_fileName.c_str());
  m_failed = true;
  m_out.clear();
  m_content.clear();
  return true;
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
  if (refuseDeeperNesting(token)) return;
  const std::string& nameSpace = token.nameSpace();
  if (nameSpace.empty()) {
    ktPrint(KtSeverity::Error, "KtXmlWriter Error: All elements must have namespace: %s\n\tFile: %s\n",
            token.name().c_str(), m_fileName.c_str());
  }
  closeStartTagForChild();
  appendIndentation(m_out, m_depth);
  ++m_depth;
  if (m_open.size() < m_depth) m_open.resize(m_depth);
  OpenElement& element = m_open[m_depth - 1];
  const std::string* bound = nameSpace.empty() ? nullptr : boundPrefix(nameSpace);
  std::string newPrefix = bound != nullptr || nameSpace.empty() ? std::string() : freePrefix(nameSpace);
  element.qualifiedName.clear();
  if (!nameSpace.empty()) element.qualifiedName.append(bound != nullptr ? *bound : newPrefix).append(1, ':');
  element.qualifiedName += token.name();
  element.nameSpace = nameSpace;
  m_out += '<';
  m_out += element.qualifiedName;
  if (root) {
    m_out += ' ';
    if (m_strings.schemaInstanceDeclaration.empty()) {
      m_out += "xmlns:xsi=\"";
      m_out += ktSchemaInstanceNamespace;
      m_out += '"';
    } else {
      m_out += m_strings.schemaInstanceDeclaration;
    }
    m_out += "\n  xsi:schemaLocation=\"" + nameSpace + "\n  " + m_strings.schemaLocationBase +
             schemaFileName(token) + '"';
    m_bindings.push_back(
        {m_depth, std::string(kSchemaInstancePrefix), std::string(ktSchemaInstanceNamespace)});
  }
  if (!newPrefix.empty()) declare(std::move(newPrefix), nameSpace);
  m_mode = kStartTag;
  m_items = 0;
  m_content.clear();
  flushIfLarge();
}

bool KtXmlWriter::startTagIsOpen(const KtToken& token) const {
  if (m_failed) return false;
  if (m_mode == kStartTag || m_mode == kAttributes) return true;
  ktPrint(KtSeverity::Error,
          "KtXmlWriter Error: element %s is placing content at incorrect location.\n\tFile: %s\n",
          token.name().c_str(), m_fileName.c_str());
  return false;
}

void KtXmlWriter::appendAttribute(std::string_view prefix, const KtToken& token, std::string_view value) {
  m_out += ' ';
  if (!prefix.empty()) {
    m_out += prefix;
    m_out += ':';
  }
  m_out += token.name();
  m_out += "=\"";
  ktXmlAppendEscaped(m_out, value, true);
  m_out += '"';
  m_mode = kAttributes;
}

void KtXmlWriter::writeAttribute(const KtToken& token, std::string_view value) {
  if (!startTagIsOpen(token)) return;
  const std::string* prefix = nullptr;
  if (!token.nameSpace().empty()) {
    prefix = boundPrefix(token.nameSpace());
    if (prefix != nullptr) {
      ktPrint(KtSeverity::Error, "KtXmlWriter Error: no namespace on attributes preferred: %s\n\tFile: %s\n",
              token.toString().c_str(), m_fileName.c_str());
    } else {
      ktPrint(KtSeverity::Error, "KtXmlWriter Error: attribute namespace doesn't exist: %s\n\tFile: %s\n",
              token.toString().c_str(), m_fileName.c_str());
    }
  }
  appendAttribute(prefix != nullptr ? std::string_view(*prefix) : std::string_view(), token, value);
}

// The prefix of a namespace, declared on the current element unless already in scope.
std::string KtXmlWriter::prefixInScope(std::string_view nameSpace) {
  if (const std::string* bound = boundPrefix(nameSpace)) return *bound;
  declare(freePrefix(nameSpace), nameSpace);
  return m_bindings.back().prefix;
}

void KtXmlWriter::writeQualifiedAttribute(const KtToken& token, std::string_view value) {
  if (!startTagIsOpen(token)) return;
  appendAttribute(token.nameSpace().empty() ? std::string() : prefixInScope(token.nameSpace()), token, value);
}

void KtXmlWriter::writeAttributeAsRead(const KtToken& token, std::string_view value,
                                       const KtToken& typeName) {
  if (typeName.nameSpace().empty())
    writeQualifiedAttribute(token, value);
  else
    writeQualifiedNameAttribute(token, typeName);
}

void KtXmlWriter::writeQualifiedNameAttribute(const KtToken& token, const KtToken& value) {
  if (!startTagIsOpen(token)) return;
  std::string text = value.nameSpace().empty() ? std::string() : prefixInScope(value.nameSpace()) + ':';
  text += value.name();
  writeQualifiedAttribute(token, text);
}

void KtXmlWriter::writeContentItem(std::string_view text) {
  if (m_failed) return;
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
      appendIndentation(m_content, m_depth);
    } else {
      m_content += ' ';
    }
  }
  ktXmlAppendEscaped(m_content, text, false);
  ++m_items;
  m_mode = kContent;
}

void KtXmlWriter::writeEndElement() {
  if (m_failed) return;
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
        appendIndentation(m_out, m_depth);
        m_out += m_content;
        m_out += '\n';
        appendIndentation(m_out, m_depth - 1);
      } else {
        m_out += m_content;
      }
      m_out += "</" + name + ">\n";
      m_content.clear();
      break;
    default:
      appendIndentation(m_out, m_depth - 1);
      m_out += "</" + name + ">\n";
  }
  while (!m_bindings.empty() && m_bindings.back().depth >= m_depth) m_bindings.pop_back();
  --m_depth;
  m_mode = kEndTag;
  flushIfLarge();
}

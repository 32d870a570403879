#include "xml/KtXmlFileReader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "foundation/Print.h"
#include "xml/KtXmlLimits.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlText.h"

namespace {

constexpr std::size_t kBlockSize = 1 << 16;

// Delimiter sets of the tokenizer. Besides the blanks, a tag name ends where the tag or
// an attribute could begin; an attribute name ends at '=' as well.
bool endsTagName(int c) {
  return c < 0 || ktXmlIsBlank(c) || c == '/' || c == '>' || c == '<' || c == '=' || c == '"' || c == '\'';
}
bool endsEndTagName(int c) { return c < 0 || ktXmlIsBlank(c) || c == '>' || c == '<'; }

bool isQuote(int c) { return c == '"' || c == '\''; }

std::string_view prefixOf(std::string_view qualifiedName) {
  const std::size_t colon = qualifiedName.find(':');
  return colon == std::string_view::npos ? std::string_view() : qualifiedName.substr(0, colon);
}

std::string_view localPartOf(std::string_view qualifiedName) {
  const std::size_t colon = qualifiedName.find(':');
  return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

}  // namespace

KtXmlFileReader::KtXmlFileReader(std::istream& stream, std::string fileName, KtXmlByteCount& bytes,
                                 std::size_t baseDepth)
    : m_source(stream.rdbuf()),
      m_chars(kBlockSize),
      m_bytes(bytes),
      m_fileName(std::move(fileName)),
      m_baseDepth(baseDepth) {
  // A byte-order mark in front of the document is not part of it.
  if (peekChar() == 0xEF && peekChar(1) == 0xBB && peekChar(2) == 0xBF) m_pos += 3;
}

void KtXmlFileReader::swapAttributes(std::vector<KtXmlAttribute>& storage, std::size_t& count) {
  m_attributes.swap(storage);
  std::swap(m_attributeCount, count);
}

void KtXmlFileReader::swapSchemaInstanceAttributes(std::vector<KtXmlAttribute>& storage, std::size_t& count) {
  m_schemaInstanceAttributes.swap(storage);
  std::swap(m_schemaInstanceCount, count);
}

void KtXmlFileReader::report(KtSeverity severity, std::string_view text) const {
  ktPrint(severity, "KtXmlFileReader Error: %.*s\n\tFile: %s\n\tLine: %d\n", static_cast<int>(text.size()),
          text.data(), m_fileName.c_str(), m_line);
}

void KtXmlFileReader::reportError(std::string_view text) {
  if (m_failed) return;
  m_failed = true;
  report(KtSeverity::Error, text);
}

KtXmlItem KtXmlFileReader::failWith(std::string_view text) {
  reportError(text);
  return KtXmlItem::Error;
}

// Makes at least `count` characters available behind the read position; false when the
// stream ends before that.
bool KtXmlFileReader::fill(std::size_t count) {
  if (m_end - m_pos >= count) return true;
  if (m_endOfStream || m_source == nullptr) return false;
  if (m_pos > 0) {
    std::memmove(m_chars.data(), m_chars.data() + m_pos, m_end - m_pos);
    m_end -= m_pos;
    m_pos = 0;
  }
  while (m_end < count && !m_endOfStream) {
    const std::streamsize got = readBlock();
    if (got <= 0)
      m_endOfStream = true;
    else
      m_end += static_cast<std::size_t>(got);
  }
  return m_end - m_pos >= count;
}

// Reads what the stream offers into the free part of the array. Stream buffers report a read
// error (a directory opened as a file, a failing disk) by throwing, as the standard file buffer
// does; that becomes a reader error here, and the stream counts as ended. So does passing the
// byte limit of the load.
std::streamsize KtXmlFileReader::readBlock() {
  std::streamsize got = 0;
  try {
    got = m_source->sgetn(m_chars.data() + m_end, static_cast<std::streamsize>(m_chars.size() - m_end));
  } catch (...) {
    reportError("file not readable.\n\tThe stream reported a read error.");
    return 0;
  }
  if (got > 0 && (m_bytes.used += static_cast<std::size_t>(got)) > m_bytes.limit) {
    reportError("file too large.\n\tThe document and its includes exceed " + std::to_string(m_bytes.limit) +
                " bytes.");
    return 0;
  }
  return got;
}

void KtXmlFileReader::advance(std::size_t count) {
  if (!fill(count)) count = m_end - m_pos;
  m_line += static_cast<int>(std::count(m_chars.data() + m_pos, m_chars.data() + m_pos + count, '\n'));
  m_pos += count;
}

// Skips blanks; tells whether there were any.
bool KtXmlFileReader::skipBlanks() {
  bool skipped = false;
  while (ktXmlIsBlank(peekChar())) {
    advance();
    skipped = true;
  }
  return skipped;
}

// An error found while reading ahead (a read error) fails the item in hand as well, even when
// the scanner took the end of the stream for the end of the document.
KtXmlItem KtXmlFileReader::next() {
  if (m_failed) return KtXmlItem::Error;
  const KtXmlItem item = scanNext();
  return m_failed ? KtXmlItem::Error : item;
}

KtXmlItem KtXmlFileReader::scanNext() {
  for (;;) {
    if (!scanText()) return KtXmlItem::Error;
    if (!ktXmlTrim(m_text).empty()) {
      if (!m_rootSeen) return failWith("file not well formed.\n\tFile must begin with start tag.");
      if (m_rootClosed) return failWith("file not well formed.\n\tExtra characters found before EOF.");
      if (m_previous == Previous::EmptyElement)
        return failWith("file not well formed.\n\tContent can only follow start tag.");
      if (m_previous == Previous::EndTag)
        return failWith("file not well formed.\n\tContent cannot follow end tag.");
      const std::string_view trimmed = ktXmlTrim(m_text);
      if (trimmed.size() != m_text.size()) m_text = std::string(trimmed);
      ktXmlDecodeReferences(m_text);
      m_previous = Previous::Content;
      return KtXmlItem::Content;
    }
    const int first = peekChar(1);
    if (peekChar() < 0) {
      if (!m_rootSeen) return failWith("file not well formed.\n\tNo start tag found.");
      return KtXmlItem::EndOfDocument;
    }
    if (first == '/') return readEndTag();
    if (m_previous == Previous::Content)
      return failWith("file not well formed.\n\tContent did not conclude with proper end tag.");
    if (first == '!') {
      // Comments were skipped with the text, so this is a declaration, allowed only
      // in front of the root element.
      if (m_rootSeen) return failWith("file not well formed.\n\tDeclaration not properly defined.");
      if (!skipDeclaration()) return KtXmlItem::Error;
      continue;
    }
    if (m_rootClosed) return failWith("file not well formed.\n\tExtra characters found before EOF.");
    return readStartTag();
  }
}

// Collects the character data in front of the next tag into m_text, skipping the comments
// and processing instructions found on the way. Stops at '<' or at the end of the stream.
bool KtXmlFileReader::scanText() {
  m_text.clear();
  for (;;) {
    if (!fill(1)) return true;
    const char* begin = m_chars.data() + m_pos;
    const std::size_t available = m_end - m_pos;
    const char* stop = static_cast<const char*>(std::memchr(begin, '<', available));
    const std::size_t length = stop != nullptr ? static_cast<std::size_t>(stop - begin) : available;
    if (m_text.size() + length > ktXmlMaxTextLength) {
      reportError("file too large.\n\tContent text exceeds the length limit.");
      return false;
    }
    m_text.append(begin, length);
    advance(length);
    if (stop == nullptr) continue;
    if (peekChar(1) == '?') {
      if (!skipProcessingInstruction()) return false;
    } else if (peekChar(1) == '!' && peekChar(2) == '-' && peekChar(3) == '-') {
      if (!skipComment()) return false;
    } else if (peekChar(1) == '!' && peekChar(2) == '-') {
      reportError("file not well formed.\n\tDeclaration not properly defined.");
      return false;
    } else {
      return true;
    }
  }
}

bool KtXmlFileReader::readName(std::string& name, bool (*isDelimiter)(int)) {
  name.clear();
  for (int c = peekChar(); !isDelimiter(c); c = peekChar()) {
    if (name.size() == ktXmlMaxNameLength) {
      reportError("file too large.\n\tName exceeds the length limit.");
      return false;
    }
    name.push_back(static_cast<char>(c));
    advance();
  }
  return true;
}

// Reads an attribute value up to the closing quote (the read position is behind the
// opening one) and consumes the closing quote.
bool KtXmlFileReader::readAttributeValue(std::string& value, int quote) {
  value.clear();
  for (;;) {
    if (!fill(1)) break;
    const char* begin = m_chars.data() + m_pos;
    const std::size_t available = m_end - m_pos;
    const char* close = static_cast<const char*>(std::memchr(begin, quote, available));
    const std::size_t length = close != nullptr ? static_cast<std::size_t>(close - begin) : available;
    if (std::memchr(begin, '<', length) != nullptr) break;
    if (value.size() + length > ktXmlMaxTextLength) {
      reportError("file too large.\n\tAttribute value exceeds the length limit.");
      return false;
    }
    value.append(begin, length);
    advance(length);
    if (close != nullptr) {
      advance();
      ktXmlDecodeReferences(value);
      return true;
    }
  }
  reportError("file not well formed.\n\tSecond quote of attribute value is missing.");
  return false;
}

KtXmlItem KtXmlFileReader::readStartTag() {
  advance();  // '<'
  int c = peekChar();
  if (c < 0) return failWith("file not well formed.\n\tPremature end of file.");
  if (ktXmlIsBlank(c)) {
    skipBlanks();
    c = peekChar();
    if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
    if (c == '>' || (c == '/' && peekChar(1) == '>'))
      return failWith("file not well formed.\n\tTag contains only white space.");
    return failWith("file not well formed.\n\tWhite space cannot exist before start tag name.");
  }
  if (endsTagName(c)) return failWith("file not well formed.\n\tNo element name found in start tag.");
  if (!readName(m_qualifiedName, endsTagName)) return KtXmlItem::Error;
  return readAttributes();
}

KtXmlItem KtXmlFileReader::readAttributes() {
  m_attributeCount = 0;
  for (;;) {
    const bool separated = skipBlanks();
    int c = peekChar();
    if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
    if (c == '>') {
      advance();
      return beginElement(false);
    }
    if (c == '/') {
      advance();
      c = peekChar();
      if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
      if (c != '>')
        return failWith("file not well formed.\n\tExtra characters found behind element or attributes.");
      advance();
      return beginElement(true);
    }
    if (!separated)
      return failWith("file not well formed.\n\tExtra characters found behind element or attributes.");
    if (c == '=' || c == '<' || isQuote(c))
      return failWith("file not well formed.\n\tMissing attribute name.");
    if (m_attributeCount == ktXmlMaxAttributes)
      return failWith("file too large.\n\tToo many attributes on one tag.");
    if (m_attributeCount == m_attributes.size()) m_attributes.emplace_back();
    KtXmlAttribute& attribute = m_attributes[m_attributeCount++];
    attribute.consumed = false;
    if (!readName(attribute.qualifiedName, endsTagName)) return KtXmlItem::Error;
    skipBlanks();
    c = peekChar();
    if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
    if (c != '=') return failWith("file not well formed.\n\tMissing quotes around attribute value.");
    advance();
    skipBlanks();
    c = peekChar();
    if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
    if (!isQuote(c)) return failWith("file not well formed.\n\tMissing quotes around attribute value.");
    advance();
    if (!readAttributeValue(attribute.value, c)) return KtXmlItem::Error;
    c = peekChar();
    if (c >= 0 && !ktXmlIsBlank(c) && c != '/' && c != '>')
      return failWith("file not well formed.\n\tImproper quotes around attribute value.");
  }
}

KtXmlItem KtXmlFileReader::beginElement(bool empty) {
  if (m_baseDepth + m_openCount >= ktXmlMaxDepth)
    return failWith("file too complex.\n\tElements nested deeper than " + std::to_string(ktXmlMaxDepth) +
                    " levels.");
  if (!takeOutNamespaceAttributes(m_openCount + 1)) return KtXmlItem::Error;
  resolveName(m_qualifiedName, m_token);
  for (KtXmlAttribute& attribute : attributes()) {
    // Attributes without a prefix are in no namespace, whatever the default namespace is.
    if (prefixOf(attribute.qualifiedName).empty())
      attribute.token.assign({}, attribute.qualifiedName);
    else
      resolveName(attribute.qualifiedName, attribute.token);
  }
  for (std::span<KtXmlAttribute> list : {attributes(), schemaInstanceAttributes()}) {
    for (KtXmlAttribute& attribute : list) {
      if (attribute.token.name() == "type" && attribute.token.nameSpace() == ktSchemaInstanceNamespace)
        resolveName(attribute.value, attribute.typeName);
      else
        attribute.typeName.assign({}, {});
    }
  }
  m_rootSeen = true;
  if (m_openCount == m_open.size()) m_open.emplace_back();
  m_open[m_openCount++] = m_qualifiedName;
  if (!empty) {
    m_previous = Previous::StartTag;
    return KtXmlItem::StartTag;
  }
  closeElement();
  m_previous = Previous::EmptyElement;
  return KtXmlItem::EmptyElement;
}

// Records the namespace declarations of a start tag (at the given depth) and removes them,
// and the schema-instance attributes, from its attribute list.
bool KtXmlFileReader::takeOutNamespaceAttributes(std::size_t depth) {
  const std::size_t firstOfTag = m_bindings.size();
  std::size_t kept = 0;
  m_nil = false;
  m_schemaInstanceCount = 0;
  for (std::size_t i = 0; i < m_attributeCount; ++i) {
    KtXmlAttribute& attribute = m_attributes[i];
    const std::string_view name = attribute.qualifiedName;
    if (name == "xmlns" || name.starts_with("xmlns:")) {
      const std::string_view prefix = name == "xmlns" ? std::string_view() : name.substr(6);
      for (std::size_t b = firstOfTag; b < m_bindings.size(); ++b) {
        if (m_bindings[b].prefix == prefix) {
          ktPrint(KtSeverity::Error, "KtXmlReader Error: Namespace already declared: %s\n",
                  attribute.qualifiedName.c_str());
          m_failed = true;
          return false;
        }
      }
      m_bindings.push_back({std::string(prefix), attribute.value, depth});
    } else if (name.starts_with("xsi:")) {
      if (name == "xsi:nil") m_nil = attribute.value == "true" || attribute.value == "1";
      if (m_schemaInstanceCount == m_schemaInstanceAttributes.size())
        m_schemaInstanceAttributes.emplace_back();
      KtXmlAttribute& schemaInstance = m_schemaInstanceAttributes[m_schemaInstanceCount++];
      std::swap(schemaInstance, attribute);
      schemaInstance.token.assign(ktSchemaInstanceNamespace, localPartOf(schemaInstance.qualifiedName));
    } else {
      std::swap(m_attributes[kept++], attribute);
    }
  }
  m_attributeCount = kept;
  return true;
}

std::string_view KtXmlFileReader::resolvePrefix(std::string_view prefix) const {
  for (auto binding = m_bindings.rbegin(); binding != m_bindings.rend(); ++binding) {
    if (binding->prefix == prefix) return binding->uri;
  }
  return {};
}

void KtXmlFileReader::resolveName(std::string_view qualifiedName, KtToken& token) const {
  token.assign(resolvePrefix(prefixOf(qualifiedName)), localPartOf(qualifiedName));
}

// Closes the innermost open element and forgets the namespaces it declared.
void KtXmlFileReader::closeElement() {
  const std::size_t depth = m_openCount--;
  while (!m_bindings.empty() && m_bindings.back().depth >= depth) m_bindings.pop_back();
  if (m_openCount == 0) m_rootClosed = true;
}

KtXmlItem KtXmlFileReader::readEndTag() {
  advance(2);  // "</"
  int c = peekChar();
  if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
  if (ktXmlIsBlank(c))
    return failWith("file not well formed.\n\tWhite space cannot exist before end tag name.");
  if (endsEndTagName(c)) return failWith("file not well formed.\n\tNo element name found in start tag.");
  if (!readName(m_qualifiedName, endsEndTagName)) return KtXmlItem::Error;
  skipBlanks();
  c = peekChar();
  if (c < 0) return failWith("file not well formed.\n\tEOF found before end of tag.");
  if (c != '>')
    return failWith("file not well formed.\n\tExtra characters found behind element or attributes.");
  advance();
  if (m_openCount == 0) return failWith("file not well formed.\n\tMore end tags than start tags.");
  const std::string& open = m_open[m_openCount - 1];
  if (open != m_qualifiedName) {
    m_failed = true;
    ktPrint(KtSeverity::Error,
            "KtXmlFileReader Error: file not well formed.\n\tEnd tag closed incorrect start tag.\n\tFile: "
            "%s\n\tLine: "
            "%d\n\tStart tag: %s\n\tEnd tag: %s\n",
            m_fileName.c_str(), m_line, open.c_str(), m_qualifiedName.c_str());
    return KtXmlItem::Error;
  }
  resolveName(m_qualifiedName, m_token);
  closeElement();
  m_previous = Previous::EndTag;
  return KtXmlItem::EndTag;
}

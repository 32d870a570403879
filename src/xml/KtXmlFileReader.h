#pragma once

#include <cstddef>
#include <istream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Print.h"
#include "xml/KtToken.h"

// What the tokenizer found next in a document.
enum class KtXmlItem { StartTag, EmptyElement, Content, EndTag, EndOfDocument, Error };

// One attribute of a start tag, as written and as resolved against the namespaces in scope.
struct KtXmlAttribute {
  std::string qualifiedName;
  KtToken token;
  std::string value;
  // For xsi:type: the type its value names, resolved against the namespaces in scope.
  KtToken typeName;
  bool consumed = false;
};

// The bytes read by the documents of one load together, against their limit.
struct KtXmlByteCount {
  std::size_t limit;
  std::size_t used = 0;
};

// Splits one XML document into tags and content and checks that it is well formed.
//
// The document is pulled through the stream's buffer in large blocks and then walked
// character by character, counting lines for the messages. Comments, processing
// instructions and the document type declaration are skipped; no DTD or entity is ever
// expanded (only the five predefined entities and character references are decoded).
// Namespace declarations are taken out of the attribute lists and used to resolve names;
// "xsi:" attributes belong to the schema-instance namespace and are taken out as well, into
// a list of their own.
// Every error is printed once, wrapped with the file name and line, after which the
// tokenizer only answers Error.
//
// Reaching the end of the document while elements are still open is not reported here:
// the end of the document is returned and openElementCount() tells the caller, who knows
// what it was waiting for.
class KtXmlFileReader {
 public:
  // Every byte read is counted in `bytes`, which the documents of one load share; reading
  // fails once their limit is passed. baseDepth counts the elements already open around this
  // document (when it is included into another), so that the nesting limit holds across
  // documents.
  KtXmlFileReader(std::istream& stream, std::string fileName, KtXmlByteCount& bytes,
                  std::size_t baseDepth = 0);

  KtXmlItem next();

  // The last start, empty or end tag: its name as written and resolved.
  const std::string& qualifiedName() const { return m_qualifiedName; }
  const KtToken& token() const { return m_token; }
  // The attributes of the last start or empty tag, and whether it carried xsi:nil="true".
  std::span<KtXmlAttribute> attributes() { return {m_attributes.data(), m_attributeCount}; }
  bool isNil() const { return m_nil; }
  // The "xsi:" attributes of the last start or empty tag, in the schema-instance namespace.
  std::span<KtXmlAttribute> schemaInstanceAttributes() {
    return {m_schemaInstanceAttributes.data(), m_schemaInstanceCount};
  }
  // Exchanges the attribute storage with the caller's, so that a caller can keep the
  // attributes of a start tag while the tokenizer goes on (the storage is reused).
  void swapAttributes(std::vector<KtXmlAttribute>& storage, std::size_t& count);
  void swapSchemaInstanceAttributes(std::vector<KtXmlAttribute>& storage, std::size_t& count);

  // The text of the last content item, with surrounding blanks removed and references decoded.
  std::string& content() { return m_text; }

  std::size_t openElementCount() const { return m_openCount; }
  // Elements open around the read position, including those of the including documents.
  std::size_t depth() const { return m_baseDepth + m_openCount; }
  int line() const { return m_line; }
  const std::string& fileName() const { return m_fileName; }
  bool hasFailed() const { return m_failed; }

  // Prints "KtXmlFileReader Error: <text>" with this document's name and current line,
  // and puts the tokenizer into its failed state.
  void reportError(std::string_view text);
  // Prints the same wrapped message with the given severity, without failing.
  void report(KtSeverity severity, std::string_view text) const;

 private:
  enum class Previous { Nothing, StartTag, EmptyElement, EndTag, Content };

  KtXmlItem scanNext();
  bool fill(std::size_t count);
  std::streamsize readBlock();
  int peekChar(std::size_t offset = 0) {
    return fill(offset + 1) ? static_cast<unsigned char>(m_chars[m_pos + offset]) : -1;
  }
  void advance(std::size_t count = 1);
  bool skipBlanks();
  KtXmlItem failWith(std::string_view text);

  bool scanText();
  bool skipComment();
  bool skipProcessingInstruction();
  bool skipDeclaration();
  bool readName(std::string& name, bool (*isDelimiter)(int));
  bool readAttributeValue(std::string& value, int quote);
  KtXmlItem readStartTag();
  KtXmlItem readAttributes();
  KtXmlItem readEndTag();
  KtXmlItem beginElement(bool empty);
  bool takeOutNamespaceAttributes(std::size_t depth);
  std::string_view resolvePrefix(std::string_view prefix) const;
  void resolveName(std::string_view qualifiedName, KtToken& token) const;
  void closeElement();

  struct Binding {
    std::string prefix;
    std::string uri;
    std::size_t depth;
  };

  std::streambuf* m_source;
  std::vector<char> m_chars;
  std::size_t m_pos = 0;
  std::size_t m_end = 0;
  bool m_endOfStream = false;
  KtXmlByteCount& m_bytes;

  std::string m_fileName;
  int m_line = 1;
  std::size_t m_baseDepth;
  bool m_failed = false;
  bool m_rootSeen = false;
  bool m_rootClosed = false;
  Previous m_previous = Previous::Nothing;

  std::vector<std::string> m_open;  // names of the open elements; entries beyond m_openCount are spare
  std::size_t m_openCount = 0;
  std::vector<Binding> m_bindings;

  std::string m_qualifiedName;
  KtToken m_token;
  std::vector<KtXmlAttribute> m_attributes;  // entries beyond m_attributeCount are spare
  std::size_t m_attributeCount = 0;
  std::vector<KtXmlAttribute> m_schemaInstanceAttributes;  // entries beyond the count are spare
  std::size_t m_schemaInstanceCount = 0;
  bool m_nil = false;
  std::string m_text;
};

#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "xml/KtToken.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlSimpleType.h"
#include "xml/KtXmlWriterDefaults.h"

// Lays out one XML document on the caller's stream.
//
// Elements are written by name (token); the element prefix is the last path segment of the
// token's namespace URI, declared on the first element that uses it. When that segment is
// not a usable prefix, or the prefix is already bound to another namespace in scope, a
// free variant is chosen ("ns", or the segment followed by a number), so that every name
// written resolves back to its own namespace. Content items are
// gathered on the element's line, blank-separated and ten to a line; content longer than
// 50 characters is set off on lines of its own. An element closed with nothing written
// into it becomes a nil element. Mistakes of the caller are reported and the writer goes
// on, so the document may then be malformed.
//
// Lines are indented once per level of depth up to kMaxIndentedDepth levels; deeper
// elements keep that indentation, so that the size of a document grows with its number
// of elements and not with the square of its depth. Nesting deeper than the reader
// accepts (ktXmlMaxDepth) is refused: the writer reports it once, writes nothing more
// and answers false from flush() and hasFailed(), so that the caller can discard the
// document instead of keeping one that cannot be read back.
//
// Output is collected in memory and handed to the stream in large blocks; flush() (or the
// destructor) hands over the rest.
class KtXmlWriter {
 public:
  // What has been written since the current element's start tag.
  enum Mode { kNothing = 0, kStartTag = 1, kAttributes = 3, kContent = 4, kEndTag = 5 };

  KtXmlWriter(std::string fileName, std::ostream& out);
  ~KtXmlWriter();
  KtXmlWriter(const KtXmlWriter&) = delete;
  KtXmlWriter& operator=(const KtXmlWriter&) = delete;

  // Chooses style 0 or 1 (see KtXmlWriterStrings); any other value changes nothing.
  void setStyle(int style) { m_strings.applyStyle(style); }
  const KtXmlWriterStrings& strings() const { return m_strings; }

  // The root element, preceded by the document header and followed by the schema-instance
  // declaration and the schema location.
  void writeRootStartElement(const KtToken& token);
  void writeStartElement(const KtToken& token);
  // A child element in the namespace of the current element (for the parts of a wrapper).
  void writeStartElement(std::string_view localName);
  void writeAttribute(const KtToken& token, std::string_view value);
  // An attribute with its namespace (for content passed through unchanged): the namespace
  // is declared on the current element unless it is already in scope.
  void writeQualifiedAttribute(const KtToken& token, std::string_view value);
  // An attribute as the reader gave it: when it names a type in a namespace (xsi:type), that
  // name is written with the prefix of its namespace, declared as well when needed; otherwise
  // the text value is written.
  void writeAttributeAsRead(const KtToken& token, std::string_view value, const KtToken& typeName);
  void writeContentItem(std::string_view text);
  void writeEndElement();

  // Writes a simple value as an attribute or as a content item. A floating-point value that
  // the reader would refuse (one that `reals` does not allow) is written all the same, so
  // that the document shows it, but reported, and the document counts as not written.
  template <KtXmlSimple T>
  void writeAttributeValue(const KtToken& token, const T& value, KtXmlReals reals = KtXmlReals::finite) {
    m_format.clear();
    KtXmlSimpleType<T>::format(value, m_format);
    if constexpr (std::floating_point<T>) {
      if (!ktXmlSimpleDetail::isTaken(value, reals))
        reportUnreadableValue("attribute", token.name(), m_format);
    }
    writeAttribute(token, m_format);
  }
  template <KtXmlSimple T>
  void writeContentValue(const T& value, KtXmlReals reals = KtXmlReals::finite) {
    m_format.clear();
    KtXmlSimpleType<T>::format(value, m_format);
    if constexpr (std::floating_point<T>) {
      if (!ktXmlSimpleDetail::isTaken(value, reals))
        reportUnreadableValue("element", currentElementName(), m_format);
    }
    writeContentItem(m_format);
  }
  // Reports a value, written as `text`, that the reader will refuse.
  void reportUnreadableValue(const char* kind, std::string_view name, std::string_view text);
  // Whether a value was reported so; the document then does not read back as it was.
  bool wroteUnreadableValues() const { return m_wroteUnreadable; }

  // Hands everything written so far to the stream; false when the stream failed or the
  // document was refused.
  bool flush();
  // The document was refused (nested too deeply); nothing is written any more.
  bool hasFailed() const { return m_failed; }

  // Whether components that could be omitted are written all the same.
  bool writesEveryComponent() const { return m_writeEveryComponent; }
  void setWriteEveryComponent(bool on) { m_writeEveryComponent = on; }
  // Whether a schema is gathered and written beside the document.
  bool writesSchema() const { return m_writeSchema; }
  void setWriteSchema(bool on) { m_writeSchema = on; }
  KtXmlSchema& schema() { return m_schema; }

  // The schema file named in the root's schema location: the document's file name without
  // directory and extension, the namespace's last path segment and ".xsd".
  std::string schemaFileName(const KtToken& root) const;

  const std::string& fileName() const { return m_fileName; }
  int mode() const { return m_mode; }
  std::size_t depth() const { return m_depth; }

  static constexpr std::size_t kItemsPerLine = 10;
  static constexpr std::size_t kLongContent = 50;
  static constexpr std::size_t kMaxIndentedDepth = 32;

 private:
  void beginElement(const KtToken& token, bool root);
  void closeStartTagForChild();
  void appendIndentation(std::string& out, std::size_t depth) const;
  const std::string* boundPrefix(std::string_view nameSpace) const;
  bool isPrefixBound(std::string_view prefix) const;
  std::string freePrefix(std::string_view nameSpace) const;
  void declare(std::string prefix, std::string_view nameSpace);
  std::string prefixInScope(std::string_view nameSpace);
  bool refuseDeeperNesting(const KtToken& token);
  bool startTagIsOpen(const KtToken& token) const;
  void appendAttribute(std::string_view prefix, const KtToken& token, std::string_view value);
  void flushIfLarge();
  void writeQualifiedNameAttribute(const KtToken& token, const KtToken& value);
  std::string_view currentElementName() const;

  std::ostream& m_stream;
  std::string m_fileName;
  KtXmlWriterStrings m_strings;
  bool m_writeEveryComponent;
  bool m_writeSchema;
  KtXmlSchema m_schema;

  std::string m_out;      // written text not yet handed to the stream
  std::string m_format;   // formatting buffer for single values
  KtToken m_childToken;   // name of the latest wrapper part, reused
  std::string m_content;  // the pending content line of the current element
  int m_mode = kNothing;
  bool m_wroteUnreadable = false;
  bool m_failed = false;
  std::size_t m_depth = 0;
  std::size_t m_items = 0;
  struct OpenElement {
    std::string qualifiedName;
    std::string nameSpace;
  };
  struct Binding {
    std::size_t depth;  // of the element that declares it
    std::string prefix;
    std::string nameSpace;
  };
  std::vector<OpenElement> m_open;  // entries beyond m_depth are spare
  std::vector<Binding> m_bindings;  // prefixes in scope, outermost first; no prefix is bound twice
};

#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "xml/KtXmlFileReader.h"
#include "xml/KtXmlLimits.h"

// The pull interface through which objects read themselves from a document.
//
// The reader offers one item at a time: peek() tells what comes next (a start tag, an
// empty element, content, an end tag or the end of the document) without taking it.
// enterElement() takes a start tag; the element becomes the current one and its token and
// attributes can be asked for. An empty element behaves as a start tag directly followed
// by its end tag. An object's read starts right behind its start tag and takes everything
// up to and including its end tag; a caller whose child could not be read calls
// skipElement() to pass over the rest of it.
//
// Attributes that nobody asked for are reported once, when the reader leaves the start
// tag behind: "Previous attribute names were not used." when a child element follows,
// "Some attribute were not used." when the element ends. Neither fails the read.
//
// KtInclude elements are replaced by the root element of the document they name, so the
// objects never see them. Include cycles and runaway include depth are errors, and so is a
// load that includes more documents or reads more bytes in all than its budget allows.
class KtXmlReader {
 public:
  KtXmlReader(std::istream& stream, std::string fileName, KtXmlLoadBudget budget = {});
  ~KtXmlReader();
  KtXmlReader(const KtXmlReader&) = delete;
  KtXmlReader& operator=(const KtXmlReader&) = delete;

  KtXmlItem peek();
  bool enterElement();

  // The current element: its token, whether it was written as an empty element, and
  // whether it carried xsi:nil="true".
  const KtToken& token() const { return m_token; }
  bool isEmptyElement() const { return m_empty; }
  bool isNil() const { return m_nil; }

  // The attributes of the current element (none once a child has been entered). Marking
  // an attribute consumed tells the reader that it was used.
  std::span<KtXmlAttribute> attributes();
  // The current element's "xsi:" attributes (xsi:nil, xsi:type, ...), which the reader
  // takes apart from the others: they describe the element rather than belong to it.
  std::span<KtXmlAttribute> schemaInstanceAttributes();
  // The value of the current element's attribute with this local name, marked consumed;
  // null when the element has no such attribute.
  const std::string* attribute(std::string_view localName);

  // Takes the content of the current element into text. An element without content gives
  // an empty text; false (without a message) when a child element comes first.
  bool readContent(std::string& text);
  // A text buffer that readers of single values may use, to save allocations.
  std::string& textBuffer() { return m_text; }
  // Takes the end tag of the current element.
  bool readEndTag();
  // Passes over everything up to and including the end tag of the element at `level`
  // (a value of depth() taken right after entering it), without messages. Does nothing if
  // that element is already closed.
  bool skipElement(std::size_t level);

  // Reads the children of the current element: enters each child element in turn and
  // calls readChild(childToken); a child that readChild did not read completely (it
  // returned false or left part of it) is skipped silently. The token is the child's only
  // until readChild reads further. Ends by taking the element's end tag.
  template <typename ReadChild>
  bool readChildren(ReadChild&& readChild);

  // Takes the rest of the current element, end tag included, and gives its content and
  // children as XML text (elements without a namespace are put into the current
  // element's). For parts of a document that are passed on rather than interpreted.
  bool getChildrenAsString(std::string& text);

  // After the root element: true when the document ends cleanly.
  bool finishDocument();

  // Number of elements entered and not yet closed.
  std::size_t depth() const { return m_depth; }
  bool hasFailed() const { return m_failed; }
  int line() const;
  const std::string& fileName() const;

  // Prints "KtXmlFileReader Error: <text>" with the current document and line and makes
  // the reader fail from now on.
  void reportError(std::string_view text);

 private:
  struct Source;

  KtXmlFileReader& top() const;
  KtXmlItem pull();
  bool openInclude(bool empty);
  void takeEndTag();
  void takePending() { m_hasPending = false; }
  bool hasUnusedAttributes() const;
  void reportUnusedAttributes(KtSeverity severity, std::string_view text);

  KtXmlLoadBudget m_budget;
  KtXmlByteCount m_bytes;
  std::size_t m_includedDocuments = 0;
  std::vector<std::unique_ptr<Source>> m_sources;  // the document and the documents it includes
  KtXmlItem m_pending = KtXmlItem::EndOfDocument;
  bool m_hasPending = false;
  bool m_endOfEmptyPending = false;  // the end tag implied by an entered empty element
  bool m_failed = false;
  std::size_t m_depth = 0;

  KtToken m_token;
  bool m_empty = false;
  bool m_nil = false;
  std::vector<KtXmlAttribute> m_attributes;
  std::size_t m_attributeCount = 0;
  std::vector<KtXmlAttribute> m_schemaInstanceAttributes;
  std::size_t m_schemaInstanceCount = 0;
  std::size_t m_attributesDepth = 0;  // depth of the element the attributes belong to; 0 for none
  std::string m_text;
};

template <typename ReadChild>
bool KtXmlReader::readChildren(ReadChild&& readChild) {
  for (KtXmlItem item = peek(); item == KtXmlItem::StartTag || item == KtXmlItem::EmptyElement;
       item = peek()) {
    if (!enterElement()) return false;
    const std::size_t level = m_depth;
    const bool complete = readChild(static_cast<const KtToken&>(m_token)) && m_depth < level;
    if (!complete && !skipElement(level)) return false;
  }
  return readEndTag();
}

#include "xml/KtXmlReader.h"

#include <filesystem>
#include <utility>

#include "foundation/Print.h"
#include "xml/KtInclude.h"
#include "xml/KtXmlLimits.h"

// One document being read: the outer one (whose stream belongs to the caller) or an
// included one (whose stream the reader owns).
struct KtXmlReader::Source {
  Source(std::unique_ptr<std::istream> ownedStream, std::istream& stream, const std::string& path,
         KtXmlByteCount& bytes, std::size_t baseDepth)
      : owned(std::move(ownedStream)),
        tokenizer(stream, path, bytes, baseDepth),
        identity(std::filesystem::path(path).lexically_normal().string()) {}

  std::unique_ptr<std::istream> owned;
  KtXmlFileReader tokenizer;
  std::string identity;  // the path in a normal form, to recognise include cycles
};

KtXmlReader::KtXmlReader(std::istream& stream, std::string fileName, KtXmlLoadBudget budget)
    : m_budget(budget), m_bytes{budget.maxBytes} {
  m_sources.push_back(std::make_unique<Source>(nullptr, stream, fileName, m_bytes, 0));
}

KtXmlReader::~KtXmlReader() = default;

KtXmlFileReader& KtXmlReader::top() const { return m_sources.back()->tokenizer; }

int KtXmlReader::line() const { return top().line(); }

const std::string& KtXmlReader::fileName() const { return top().fileName(); }

void KtXmlReader::reportError(std::string_view text) {
  top().reportError(text);
  m_failed = true;
}

KtXmlItem KtXmlReader::peek() {
  if (m_failed) return KtXmlItem::Error;
  if (m_endOfEmptyPending) return KtXmlItem::EndTag;
  if (!m_hasPending) {
    m_pending = pull();
    m_hasPending = true;
  }
  return m_pending;
}

// Takes the next item from the innermost document, replacing include elements by the
// documents they name and returning to the including document when one ends.
KtXmlItem KtXmlReader::pull() {
  for (;;) {
    KtXmlFileReader& tokenizer = top();
    const KtXmlItem item = tokenizer.next();
    if (item == KtXmlItem::EndOfDocument && m_sources.size() > 1) {
      if (tokenizer.openElementCount() > 0) {
        reportError("file not well formed.\n\tSome start tags not closed with end tag.");
        return KtXmlItem::Error;
      }
      m_sources.pop_back();
      continue;
    }
    const bool isTag = item == KtXmlItem::StartTag || item == KtXmlItem::EmptyElement;
    if (isTag && KtInclude::isIncludeElement(tokenizer.token())) {
      if (!openInclude(item == KtXmlItem::EmptyElement)) {
        m_failed = true;
        return KtXmlItem::Error;
      }
      continue;
    }
    if (item == KtXmlItem::Error) m_failed = true;
    return item;
  }
}

bool KtXmlReader::openInclude(bool empty) {
  KtXmlFileReader& including = top();
  std::string name;
  if (!KtInclude::targetName(including.attributes(), including.fileName(), including.line(), name))
    return false;
  if (!empty && including.next() != KtXmlItem::EndTag) {
    if (!including.hasFailed()) {
      ktPrint(KtSeverity::Error, "KtXmlReader Error: XLink syntax not correct.\n\tFile: %s\n\tLine: %d\n",
              including.fileName().c_str(), including.line());
    }
    return false;
  }
  if (m_sources.size() > ktXmlMaxIncludeDepth) {
    ktPrint(KtSeverity::Error,
            "KtXmlReader Error: includes nested deeper than %zu levels.\n\tFile: %s\n\tLine: %d\n",
            ktXmlMaxIncludeDepth, including.fileName().c_str(), including.line());
    return false;
  }
  if (++m_includedDocuments > m_budget.maxIncludedDocuments) {
    ktPrint(KtSeverity::Error,
            "KtXmlReader Error: more than %zu documents included in one load.\n\tFile: %s\n\tLine: %d\n",
            m_budget.maxIncludedDocuments, including.fileName().c_str(), including.line());
    return false;
  }
  std::string resolved;
  std::unique_ptr<std::istream> stream = KtInclude::open(name, resolved);
  if (!stream) {
    ktPrint(KtSeverity::Error, "KtXmlReader Error: not able to open file: %s\n", name.c_str());
    return false;
  }
  auto source = std::make_unique<Source>(nullptr, *stream, resolved, m_bytes, including.depth());
  for (const auto& open : m_sources) {
    if (open->identity == source->identity) {
      ktPrint(KtSeverity::Error, "KtXmlReader Error: include cycle through %s.\n\tFile: %s\n\tLine: %d\n",
              resolved.c_str(), including.fileName().c_str(), including.line());
      return false;
    }
  }
  source->owned = std::move(stream);
  m_sources.push_back(std::move(source));
  return true;
}

std::span<KtXmlAttribute> KtXmlReader::attributes() {
  if (m_attributesDepth != m_depth || m_depth == 0) return {};
  return {m_attributes.data(), m_attributeCount};
}

std::span<KtXmlAttribute> KtXmlReader::schemaInstanceAttributes() {
  if (m_attributesDepth != m_depth || m_depth == 0) return {};
  return {m_schemaInstanceAttributes.data(), m_schemaInstanceCount};
}

const std::string* KtXmlReader::attribute(std::string_view localName) {
  for (KtXmlAttribute& candidate : attributes()) {
    if (candidate.token.name() == localName) {
      candidate.consumed = true;
      return &candidate.value;
    }
  }
  return nullptr;
}

bool KtXmlReader::hasUnusedAttributes() const {
  if (m_attributesDepth != m_depth || m_depth == 0) return false;
  for (std::size_t i = 0; i < m_attributeCount; ++i) {
    if (!m_attributes[i].consumed) return true;
  }
  return false;
}

// Reports the unused attributes of the current element once and then forgets them.
void KtXmlReader::reportUnusedAttributes(KtSeverity severity, std::string_view text) {
  if (hasUnusedAttributes()) top().report(severity, text);
  m_attributesDepth = 0;
}

bool KtXmlReader::enterElement() {
  const KtXmlItem item = peek();
  if (item != KtXmlItem::StartTag && item != KtXmlItem::EmptyElement) {
    if (item == KtXmlItem::EndOfDocument && m_depth > 0) {
      reportError("file not well formed.\n\tSome start tags not closed with end tag.");
    } else if (item != KtXmlItem::Error && item != KtXmlItem::EndOfDocument) {
      reportError("error mode encountered.");
    }
    return false;
  }
  reportUnusedAttributes(KtSeverity::Warning,
                         "file possibly not valid.\n\tPrevious attribute names were not used.");
  KtXmlFileReader& tokenizer = top();
  tokenizer.swapAttributes(m_attributes, m_attributeCount);
  tokenizer.swapSchemaInstanceAttributes(m_schemaInstanceAttributes, m_schemaInstanceCount);
  m_token = tokenizer.token();
  m_nil = tokenizer.isNil();
  m_empty = item == KtXmlItem::EmptyElement;
  m_endOfEmptyPending = m_empty;
  takePending();
  m_attributesDepth = ++m_depth;
  return true;
}

void KtXmlReader::takeEndTag() {
  if (m_endOfEmptyPending)
    m_endOfEmptyPending = false;
  else
    takePending();
  --m_depth;
}

bool KtXmlReader::readEndTag() {
  switch (peek()) {
    case KtXmlItem::EndTag:
      reportUnusedAttributes(KtSeverity::Error, "file not well formed.\n\tSome attribute were not used.");
      takeEndTag();
      return true;
    case KtXmlItem::EndOfDocument:
      reportError("Requested next end tag but found EOF.");
      return false;
    case KtXmlItem::Error:
      return false;
    default:
      reportError("error mode encountered.");
      return false;
  }
}

bool KtXmlReader::readContent(std::string& text) {
  switch (peek()) {
    case KtXmlItem::Content:
      text.swap(top().content());
      takePending();
      return true;
    case KtXmlItem::EndTag:
      text.clear();
      return true;
    case KtXmlItem::EndOfDocument:
      reportError("file not well formed.\n\tSome start tags not closed with end tag.");
      return false;
    default:
      return false;
  }
}

bool KtXmlReader::skipElement(std::size_t level) {
  if (m_attributesDepth >= level) m_attributesDepth = 0;
  while (m_depth >= level) {
    switch (peek()) {
      case KtXmlItem::StartTag:
        takePending();
        ++m_depth;
        break;
      case KtXmlItem::EmptyElement:
      case KtXmlItem::Content:
        takePending();
        break;
      case KtXmlItem::EndTag:
        takeEndTag();
        break;
      case KtXmlItem::EndOfDocument:
        reportError("file not well formed.\n\tSome start tags not closed with end tag.");
        return false;
      case KtXmlItem::Error:
        return false;
    }
  }
  return true;
}

bool KtXmlReader::finishDocument() {
  const KtXmlItem item = peek();
  if (item == KtXmlItem::EndOfDocument || item == KtXmlItem::Error) return item == KtXmlItem::EndOfDocument;
  reportError("error mode encountered.");
  return false;
}

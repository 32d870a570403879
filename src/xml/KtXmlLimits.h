#pragma once

#include <cstddef>

// Bounds that keep the reader safe on hostile or broken documents. A document that
// exceeds one of them is rejected with a message instead of exhausting memory or stack.
inline constexpr std::size_t ktXmlMaxDepth = 256;                      // nested elements, across includes
inline constexpr std::size_t ktXmlMaxNameLength = 4096;                // element and attribute names
inline constexpr std::size_t ktXmlMaxTextLength = 256u * 1024 * 1024;  // one content text or attribute value
inline constexpr std::size_t ktXmlMaxAttributes = 1024;                // attributes on one start tag
inline constexpr std::size_t ktXmlMaxIncludeDepth = 16;                // documents included within each other
inline constexpr std::size_t ktXmlMaxReservedEntries = 1u << 20;  // entries reserved from a "size" attribute
inline constexpr std::size_t ktXmlMaxIncludedDocuments = 4096;    // documents included in one load, all told
inline constexpr std::size_t ktXmlMaxLoadBytes = 512u * 1024 * 1024;  // bytes read in one load, includes too

// What one load (a document and everything it includes, however often) may take in all, so
// that includes fanning out cannot multiply a few small files into endless work. A caller
// reading documents it trusts less may ask for a smaller budget.
struct KtXmlLoadBudget {
  std::size_t maxIncludedDocuments = ktXmlMaxIncludedDocuments;
  std::size_t maxBytes = ktXmlMaxLoadBytes;
};

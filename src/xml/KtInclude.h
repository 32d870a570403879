#pragma once

#include <functional>
#include <istream>
#include <memory>
#include <span>
#include <string>

#include "xml/KtToken.h"

struct KtXmlAttribute;

// Opens a document by name; returns null when it cannot be opened and otherwise sets the
// path actually used.
using KtDocumentOpener =
    std::function<std::unique_ptr<std::istream>(const std::string& name, std::string& resolvedPath)>;

// The element KtInclude stands for the root element of another document:
//   <sm:KtInclude xlink:type="simple" xlink:href="links/arm.xml"/>
// Its attributes may only be the XLink attributes type (which must be "simple") and href.
// An href beginning "c:", "C:" or "/" is used as it stands; any other is taken relative
// to the directory of the including document. Only these two drive letters count as
// absolute, by design.
class KtInclude {
 public:
  static bool isIncludeElement(const KtToken& token) { return token.name() == "KtInclude"; }

  // Checks the attributes of an include element (found in `file` at `line`) and sets
  // `name` to the document to read in its place. Prints the reason on failure.
  static bool targetName(std::span<KtXmlAttribute> attributes, const std::string& file, int line,
                         std::string& name);

  // The name under which an href given in the document `includingFile` is opened.
  static std::string resolveHref(const std::string& href, const std::string& includingFile);

  // Opens an included document through the current opener.
  static std::unique_ptr<std::istream> open(const std::string& name, std::string& resolvedPath);

  // Replaces the opener (by default the toolkit's document opener) and returns the previous
  // one; an empty opener restores the default. Used to serve included documents from memory.
  static KtDocumentOpener setDocumentOpener(KtDocumentOpener opener);
};

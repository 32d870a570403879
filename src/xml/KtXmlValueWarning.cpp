#include "xml/KtXmlValueWarning.h"

#include <algorithm>

#include "foundation/Print.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSimpleType.h"

namespace {

// A value longer than this is cut in the message; the line number finds the rest.
constexpr std::size_t kShownCharacters = 40;

}  // namespace

void ktXmlWarnUnreadableValue(const KtXmlReader& reader, const char* className, KtXmlSkipped skipped,
                              std::string_view name, std::string_view text) {
  const char* kind = skipped == KtXmlSkipped::attribute ? "attribute" : "element";
  const char* left = skipped == KtXmlSkipped::list ? "list" : kind;
  const char* why = ktXmlSpellsNonFiniteNumber(text) ? "is not finite" : "cannot be read";
  const std::size_t shown = std::min(text.size(), kShownCharacters);
  ktPrint(KtSeverity::Warning,
          "%s Warning: %s %.*s: value \"%.*s%s\" %s; the %s is skipped.\n\tFile: %s\n\tLine: %d\n", className,
          kind, static_cast<int>(name.size()), name.data(), static_cast<int>(shown), text.data(),
          shown < text.size() ? "..." : "", why, left, reader.fileName().c_str(), reader.line());
}

void ktXmlWarnRepeatedElement(const KtXmlReader& reader, const char* className, std::string_view name) {
  ktPrint(KtSeverity::Warning,
          "%s Warning: element %.*s appears more than once; the first is kept.\n\tFile: %s\n\tLine: %d\n",
          className, static_cast<int>(name.size()), name.data(), reader.fileName().c_str(), reader.line());
}

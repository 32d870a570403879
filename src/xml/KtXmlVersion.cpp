#include "xml/KtXmlVersion.h"

#include <charconv>
#include <string>

#include "foundation/Print.h"

namespace {

std::string_view majorPart(std::string_view version) { return version.substr(0, version.find('.')); }

// The leading integer of a version; text without one counts as 0.
long majorNumber(std::string_view version) {
  long number = 0;
  std::from_chars(version.data(), version.data() + version.size(), number);
  return number;
}

}  // namespace

bool ktIsVersionCompatible(std::string_view fileVersion) {
  if (fileVersion == ktCodeBaseVersion) return true;
  if (majorPart(fileVersion) == majorPart(ktCodeBaseVersion)) return true;
  const std::string file(fileVersion);
  const std::string code(ktCodeBaseVersion);
  ktPrint(KtSeverity::Warning,
          "KtXmlObject::isVersionCompatible warning: Input file version (v%s) is not equal with code base "
          "version (v%s).\n",
          file.c_str(), code.c_str());
  return majorNumber(fileVersion) <= majorNumber(ktCodeBaseVersion);
}

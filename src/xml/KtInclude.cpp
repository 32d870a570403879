#include "xml/KtInclude.h"

#include <utility>

#include "foundation/Print.h"
#include "xml/KtDocumentStream.h"
#include "xml/KtXmlFileReader.h"

namespace {

KtDocumentOpener& currentOpener() {
  static KtDocumentOpener opener;
  return opener;
}

bool isAbsolute(const std::string& href) {
  return href.starts_with("c:") || href.starts_with("C:") || href.starts_with("/");
}

}  // namespace

bool KtInclude::targetName(std::span<KtXmlAttribute> attributes, const std::string& file, int line,
                           std::string& name) {
  const std::string* href = nullptr;
  for (KtXmlAttribute& attribute : attributes) {
    attribute.consumed = true;
    const std::string& local = attribute.token.name();
    if (local == "href") {
      href = &attribute.value;
    } else if (local != "type") {
      ktPrint(
          KtSeverity::Error,
          "KtXmlReader Error: attribute name can only be simple and href, not %s.\n\tFile: %s\n\tLine: %d\n",
          attribute.qualifiedName.c_str(), file.c_str(), line);
      return false;
    } else if (attribute.value != "simple") {
      ktPrint(KtSeverity::Error,
              "KtXmlReader Error: XLink 'type' needs to be simple.\n\tFile: %s\n\tLine: %d\n", file.c_str(),
              line);
      return false;
    }
  }
  if (href == nullptr || href->empty()) {
    ktPrint(KtSeverity::Error, "KtXmlReader Error: XLink syntax not correct.\n\tFile: %s\n\tLine: %d\n",
            file.c_str(), line);
    return false;
  }
  name = resolveHref(*href, file);
  return true;
}

std::string KtInclude::resolveHref(const std::string& href, const std::string& includingFile) {
  if (isAbsolute(href)) return href;
  const std::size_t separator = includingFile.find_last_of("/\\");
  if (separator == std::string::npos) return href;
  return includingFile.substr(0, separator + 1) + href;
}

std::unique_ptr<std::istream> KtInclude::open(const std::string& name, std::string& resolvedPath) {
  if (const KtDocumentOpener& opener = currentOpener()) return opener(name, resolvedPath);
  return ktOpenDocumentForReading(name, resolvedPath);
}

KtDocumentOpener KtInclude::setDocumentOpener(KtDocumentOpener opener) {
  return std::exchange(currentOpener(), std::move(opener));
}

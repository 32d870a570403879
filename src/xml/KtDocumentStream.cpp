#include "xml/KtDocumentStream.h"

#include <fstream>

#include "foundation/FileUtil.h"
#include "xml/KtIfGzStream.h"
#include "xml/KtIfHttpStream.h"
#include "xml/KtOfGzStream.h"

namespace {

// Hands the stream back as its base class when it opened, else null.
template <typename Base, typename Stream>
std::unique_ptr<Base> keepIfOpen(std::unique_ptr<Stream> stream) {
  bool opened = false;
  if constexpr (requires { stream->isOpen(); }) {
    opened = stream->isOpen();
  } else {
    opened = stream->is_open();
  }
  if (!opened) return nullptr;
  return stream;
}

std::unique_ptr<std::istream> openCompressedFile(const std::string& path) {
  // zlib opens some paths it cannot read and reports nothing until the first read, so the
  // file is first opened plainly to learn whether it can be read at all.
  if (!std::ifstream(path, std::ios_base::binary).is_open()) return nullptr;
  return keepIfOpen<std::istream>(std::make_unique<KtIfGzStream>(path.c_str(), std::ios_base::in));
}

}  // namespace

bool ktIsCompressedDocumentName(const std::string& name) {
  return name.ends_with(".xml.gz") || name.ends_with(".ktz");
}

std::unique_ptr<std::istream> ktOpenDocumentForReading(const std::string& name, std::string& resolvedPath) {
  if (name.starts_with("http://")) {
    resolvedPath = name;
    return keepIfOpen<std::istream>(std::make_unique<KtIfHttpStream>(name));
  }
  bool found = false;
  resolvedPath = KtFileUtil::findFile(name, found);
  if (resolvedPath.empty()) return nullptr;
  if (ktIsCompressedDocumentName(name)) return openCompressedFile(resolvedPath);
  return keepIfOpen<std::istream>(std::make_unique<std::ifstream>(resolvedPath, std::ios_base::in));
}

std::unique_ptr<std::ostream> ktOpenDocumentForWriting(const std::string& name) {
  if (ktIsCompressedDocumentName(name)) {
    return keepIfOpen<std::ostream>(std::make_unique<KtOfGzStream>(name.c_str(), std::ios_base::out));
  }
  return keepIfOpen<std::ostream>(
      std::make_unique<std::ofstream>(name, std::ios_base::out | std::ios_base::trunc));
}

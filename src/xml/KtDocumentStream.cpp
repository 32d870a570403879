#include "xml/KtDocumentStream.h"

#include <unistd.h>

#include <ext/stdio_filebuf.h>
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

// A plain file read through a descriptor that is known to be a regular file, so that what
// was checked is what gets read. The stream closes the descriptor.
class RegularFileStream : public std::istream {
 public:
  explicit RegularFileStream(int descriptor) : std::istream(nullptr), buffer_(descriptor, std::ios_base::in) {
    init(&buffer_);
  }

 private:
  __gnu_cxx::stdio_filebuf<char> buffer_;
};

// zlib opens some paths it cannot read and reports nothing until the first read, so the
// file is first opened plainly to learn whether it can be read at all (and is a regular
// file), and zlib then reads that same descriptor.
std::unique_ptr<std::istream> openCompressedFile(const std::string& path) {
  const int descriptor = KtFileUtil::openRegularFile(path);
  if (descriptor < 0) return nullptr;
  auto stream = keepIfOpen<std::istream>(std::make_unique<KtIfGzStream>(descriptor, std::ios_base::in));
  if (!stream) ::close(descriptor);
  return stream;
}

std::unique_ptr<std::istream> openPlainFile(const std::string& path) {
  const int descriptor = KtFileUtil::openRegularFile(path);
  if (descriptor < 0) return nullptr;
  return std::make_unique<RegularFileStream>(descriptor);
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
  return openPlainFile(resolvedPath);
}

std::unique_ptr<std::ostream> ktOpenDocumentForWriting(const std::string& name) {
  if (ktIsCompressedDocumentName(name)) {
    return keepIfOpen<std::ostream>(std::make_unique<KtOfGzStream>(name.c_str(), std::ios_base::out));
  }
  return keepIfOpen<std::ostream>(
      std::make_unique<std::ofstream>(name, std::ios_base::out | std::ios_base::trunc));
}

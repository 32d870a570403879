#include "xml/KtHttpStreamBuffer.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "foundation/Print.h"
#include "xml/KtHttpFetch.h"
#include "xml/KtIfGzStream.h"
#include "xml/KtStreamPutBack.h"

namespace {

// True when the query (the text after "?") carries the value "true" behind its "=".
bool asksForFreshCopy(const std::string& url, std::size_t queryMark) {
  if (queryMark == std::string::npos) return false;
  const std::size_t equals = url.find('=', queryMark + 1);
  return equals != std::string::npos && url.compare(equals + 1, std::string::npos, "true") == 0;
}

// Writes `content` to an anonymous temporary file and returns a descriptor of it positioned at
// the start, or -1. The file disappears once the descriptor is closed.
int temporaryFileHolding(const std::string& content) {
  std::FILE* file = std::tmpfile();
  if (!file) return -1;
  const bool written =
      std::fwrite(content.data(), 1, content.size(), file) == content.size() && std::fflush(file) == 0;
  int descriptor = written ? ::dup(::fileno(file)) : -1;
  std::fclose(file);
  if (descriptor >= 0 && ::lseek(descriptor, 0, SEEK_SET) != 0) {
    ::close(descriptor);
    descriptor = -1;
  }
  return descriptor;
}

}  // namespace

KtHttpStreamBuffer::KtHttpStreamBuffer() = default;

KtHttpStreamBuffer::~KtHttpStreamBuffer() { close(); }

KtHttpStreamBuffer* KtHttpStreamBuffer::open(const std::string& url, std::ios_base::openmode mode) {
  if (open_) return nullptr;
  if ((mode & std::ios_base::out) || !(mode & std::ios_base::in)) {
    ktPrint(KtSeverity::Error, "KtHttpStream Error: only input mode allowed");
    return nullptr;
  }
  const std::size_t queryMark = url.find('?');
  url_ = url.substr(0, queryMark);
  if (!ktHttpFetch(url_, asksForFreshCopy(url, queryMark), content_)) return nullptr;
  if (url_.ends_with(".gz") && !openCompressedContent()) {
    content_.clear();
    return nullptr;
  }
  readPosition_ = 0;
  char* const readStart = buffer_ + kPutBackSize;
  setg(readStart, readStart, readStart);
  open_ = true;
  return this;
}

bool KtHttpStreamBuffer::openCompressedContent() {
  const int descriptor = temporaryFileHolding(content_);
  if (descriptor < 0) {
    ktPrint(KtSeverity::Error, "KtHttpStreamBuffer Error: could not create temporary file");
    return false;
  }
  // The compressed bytes now live in the file only.
  std::string().swap(content_);
  compressed_ = std::make_unique<KtIfGzStream>(descriptor);
  if (!compressed_->isOpen()) {
    ::close(descriptor);
    compressed_.reset();
    return false;
  }
  return true;
}

KtHttpStreamBuffer* KtHttpStreamBuffer::close() {
  if (!open_) return nullptr;
  open_ = false;
  compressed_.reset();
  std::string().swap(content_);
  readPosition_ = 0;
  setg(nullptr, nullptr, nullptr);
  return this;
}

KtHttpStreamBuffer::int_type KtHttpStreamBuffer::underflow() {
  if (!open_) return traits_type::eof();
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  const std::size_t kept = ktKeepPutBack(buffer_, kPutBackSize, eback(), gptr());
  char* const start = buffer_ + kPutBackSize;
  const std::size_t count = fill(start, kBufferSize - kPutBackSize);
  setg(start - kept, start, start + count);
  return count == 0 ? traits_type::eof() : traits_type::to_int_type(*start);
}

std::size_t KtHttpStreamBuffer::fill(char* destination, std::size_t capacity) {
  if (compressed_) {
    return static_cast<std::size_t>(
        compressed_->rdbuf()->sgetn(destination, static_cast<std::streamsize>(capacity)));
  }
  const std::size_t count = std::min(capacity, content_.size() - readPosition_);
  std::memcpy(destination, content_.data() + readPosition_, count);
  readPosition_ += count;
  return count;
}

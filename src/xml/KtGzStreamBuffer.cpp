#include "xml/KtGzStreamBuffer.h"

#include <cerrno>
#include <cstring>

#include "foundation/Print.h"
#include "xml/KtStreamPutBack.h"

namespace {

using std::ios_base;

// zlib's mode string: reading wins over writing, and the data is always binary.
const char* zlibMode(ios_base::openmode mode) {
  if (mode & ios_base::in) return "rb";
  if (mode & ios_base::out) return "wb";
  return "b";
}

// Only the direction that zlib will actually use is remembered.
ios_base::openmode effectiveMode(ios_base::openmode mode) {
  if (mode & ios_base::in) return ios_base::in;
  if (mode & ios_base::out) return ios_base::out;
  return {};
}

bool asksForUnsupportedAccess(ios_base::openmode mode) {
  return (mode & (ios_base::app | ios_base::ate)) || ((mode & ios_base::in) && (mode & ios_base::out));
}

void reportReadError(gzFile file) {
  int code = Z_OK;
  const char* reason = gzerror(file, &code);
  if (code == Z_OK) return;  // a plain end of the data
  if (code == Z_ERRNO) reason = std::strerror(errno);
  ktPrint(KtSeverity::Error, "KtGzStreamBuffer Error: corrupt or truncated compressed data (%s)\n", reason);
}

}  // namespace

KtGzStreamSettings& ktGzStreamSettings() {
  static KtGzStreamSettings settings;
  return settings;
}

KtGzStreamBuffer::~KtGzStreamBuffer() { close(); }

KtGzStreamBuffer* KtGzStreamBuffer::open(const char* name, ios_base::openmode mode) {
  return openWith(mode, [name](const char* zmode) { return gzopen(name, zmode); });
}

KtGzStreamBuffer* KtGzStreamBuffer::open(int descriptor, ios_base::openmode mode) {
  return openWith(mode, [descriptor](const char* zmode) { return gzdopen(descriptor, zmode); });
}

template <typename Opener>
KtGzStreamBuffer* KtGzStreamBuffer::openWith(ios_base::openmode mode, Opener opener) {
  if (isOpen()) return nullptr;
  // A compressed file can be neither appended to nor read and written at once. Such a request
  // is reported but still served, in the one direction zlib supports.
  if (asksForUnsupportedAccess(mode)) {
    ktPrint(KtSeverity::Error, "KtGzStream Error: append and read/write mode not allowed");
  }
  file_ = opener(zlibMode(mode));
  if (!file_) {
    ktPrint(KtSeverity::Error, "KtGzStream Error: zlib file did not open\n");
    return nullptr;
  }
  mode_ = effectiveMode(mode);
  decompressedBytes_ = 0;
  inputEnded_ = false;
  char* const readStart = buffer_ + kPutBackSize;
  setg(readStart, readStart, readStart);
  if (mode_ & ios_base::out) {
    setp(buffer_, buffer_ + kPutAreaSize);
  } else {
    setp(nullptr, nullptr);
  }
  return this;
}

KtGzStreamBuffer* KtGzStreamBuffer::close() {
  if (!isOpen()) return nullptr;
  const bool flushed = !(mode_ & ios_base::out) || flushPutArea();
  const int result = gzclose(file_);
  const int closeErrno = errno;
  file_ = nullptr;
  setg(nullptr, nullptr, nullptr);
  setp(nullptr, nullptr);
  if (result != Z_OK) {
    // Worded as the C library's perror would print it: the message, a colon and the reason.
    const char* reason = result == Z_ERRNO ? std::strerror(closeErrno) : zError(result);
    ktPrint(KtSeverity::Error, "KtGzStreamBuffer Error in close(): %s\n", reason);
    return nullptr;
  }
  return flushed ? this : nullptr;
}

KtGzStreamBuffer::int_type KtGzStreamBuffer::underflow() {
  if (!isOpen() || !(mode_ & ios_base::in)) return traits_type::eof();
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (inputEnded_) return traits_type::eof();

  const std::size_t kept = ktKeepPutBack(buffer_, kPutBackSize, eback(), gptr());
  char* const start = buffer_ + kPutBackSize;
  const int count = gzread(file_, start, static_cast<unsigned>(kBufferSize - kPutBackSize));
  if (count < 1) {
    reportReadError(file_);
    inputEnded_ = true;
    setg(start - kept, start, start);
    return traits_type::eof();
  }
  char* const end = limitReadBlock(start, start + count);
  setg(start - kept, start, end);
  return start == end ? traits_type::eof() : traits_type::to_int_type(*start);
}

char* KtGzStreamBuffer::limitReadBlock(char* start, char* end) {
  const std::size_t limit = ktGzStreamSettings().maxDecompressedBytes;
  const std::size_t allowed = decompressedBytes_ < limit ? limit - decompressedBytes_ : 0;
  if (static_cast<std::size_t>(end - start) > allowed) {
    ktPrint(KtSeverity::Error, "KtGzStreamBuffer Error: decompressed data exceeds the limit of %zu bytes\n",
            limit);
    end = start + allowed;
    inputEnded_ = true;
  }
  decompressedBytes_ += static_cast<std::size_t>(end - start);
  if (void* marker = std::memchr(start, 0xff, static_cast<std::size_t>(end - start))) {
    end = static_cast<char*>(marker);
    inputEnded_ = true;
  }
  return end;
}

KtGzStreamBuffer::int_type KtGzStreamBuffer::overflow(int_type character) {
  if (!isOpen() || !(mode_ & ios_base::out)) return traits_type::eof();
  // The put area stops one byte short of the array, so the overflowing character always fits.
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(character);
    pbump(1);
  }
  return flushPutArea() ? traits_type::not_eof(character) : traits_type::eof();
}

int KtGzStreamBuffer::sync() {
  if (!isOpen() || !(mode_ & ios_base::out)) return 0;
  return flushPutArea() ? 0 : -1;
}

bool KtGzStreamBuffer::flushPutArea() {
  const auto count = static_cast<unsigned>(pptr() - pbase());
  const bool written = count == 0 || gzwrite(file_, pbase(), count) != 0;
  // The area is emptied even when writing failed, so that the next overflow has room again.
  setp(buffer_, buffer_ + kPutAreaSize);
  if (!written) ktPrint(KtSeverity::Error, "KtGzStreamBuffer Error: could not write compressed data\n");
  return written;
}

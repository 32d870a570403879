#include "xml/KtOfGzStream.h"

KtOfGzStream::KtOfGzStream() : std::ostream(nullptr) { init(&buffer_); }

KtOfGzStream::KtOfGzStream(const char* name, std::ios_base::openmode mode) : KtOfGzStream() {
  open(name, mode);
}

void KtOfGzStream::open(const char* name, std::ios_base::openmode mode) {
  if (!buffer_.open(name, mode | std::ios_base::out)) setstate(std::ios_base::failbit);
}

void KtOfGzStream::close() {
  if (!buffer_.close()) setstate(std::ios_base::failbit);
}

#include "xml/KtIfGzStream.h"

KtIfGzStream::KtIfGzStream() : std::istream(nullptr) { init(&buffer_); }

KtIfGzStream::KtIfGzStream(const char* name, std::ios_base::openmode mode) : KtIfGzStream() {
  open(name, mode);
}

KtIfGzStream::KtIfGzStream(int descriptor, std::ios_base::openmode mode) : KtIfGzStream() {
  open(descriptor, mode);
}

void KtIfGzStream::open(const char* name, std::ios_base::openmode mode) {
  if (!buffer_.open(name, mode | std::ios_base::in)) setstate(std::ios_base::failbit);
}

void KtIfGzStream::open(int descriptor, std::ios_base::openmode mode) {
  if (!buffer_.open(descriptor, mode | std::ios_base::in)) setstate(std::ios_base::failbit);
}

void KtIfGzStream::close() {
  if (!buffer_.close()) setstate(std::ios_base::failbit);
}

#include "xml/KtIfHttpStream.h"

KtIfHttpStream::KtIfHttpStream() : std::istream(nullptr) { init(&buffer_); }

KtIfHttpStream::KtIfHttpStream(const std::string& url, std::ios_base::openmode mode) : KtIfHttpStream() {
  open(url, mode);
}

void KtIfHttpStream::open(const std::string& url, std::ios_base::openmode mode) {
  if (!buffer_.open(url, mode | std::ios_base::in)) setstate(std::ios_base::failbit);
}

void KtIfHttpStream::close() {
  if (!buffer_.close()) setstate(std::ios_base::failbit);
}

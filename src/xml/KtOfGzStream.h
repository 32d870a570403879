#pragma once

#include <ios>
#include <ostream>

#include "xml/KtGzStreamBuffer.h"

// An output stream that writes a gzip file. The output bit is always added to the mode; the
// file is complete once the stream is closed or destroyed.
class KtOfGzStream : public std::ostream {
 public:
  KtOfGzStream();
  explicit KtOfGzStream(const char* name, std::ios_base::openmode mode = std::ios_base::out);

  void open(const char* name, std::ios_base::openmode mode = std::ios_base::out);
  void close();
  bool isOpen() const { return buffer_.isOpen(); }
  KtGzStreamBuffer* rdbuf() { return &buffer_; }

 private:
  KtGzStreamBuffer buffer_;
};

#pragma once

#include <ios>
#include <istream>

#include "xml/KtGzStreamBuffer.h"

// An input stream that decompresses a gzip file, named or given as an open descriptor.
// The input bit is always added to the mode.
class KtIfGzStream : public std::istream {
 public:
  KtIfGzStream();
  explicit KtIfGzStream(const char* name, std::ios_base::openmode mode = std::ios_base::in);
  // The descriptor belongs to the stream once it opened; on failure the caller keeps it.
  explicit KtIfGzStream(int descriptor, std::ios_base::openmode mode = std::ios_base::in);

  void open(const char* name, std::ios_base::openmode mode = std::ios_base::in);
  void open(int descriptor, std::ios_base::openmode mode = std::ios_base::in);
  void close();
  bool isOpen() const { return buffer_.isOpen(); }
  KtGzStreamBuffer* rdbuf() { return &buffer_; }

 private:
  KtGzStreamBuffer buffer_;
};

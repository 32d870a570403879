#pragma once

#include <ios>
#include <istream>
#include <string>

#include "xml/KtHttpStreamBuffer.h"

// An input stream over a document fetched by HTTP (see KtHttpStreamBuffer). The input bit is
// always added to the mode; asking for output fails with a message.
class KtIfHttpStream : public std::istream {
 public:
  KtIfHttpStream();
  explicit KtIfHttpStream(const std::string& url, std::ios_base::openmode mode = std::ios_base::in);

  void open(const std::string& url, std::ios_base::openmode mode = std::ios_base::in);
  void close();
  bool isOpen() const { return buffer_.isOpen(); }
  KtHttpStreamBuffer* rdbuf() { return &buffer_; }

 private:
  KtHttpStreamBuffer buffer_;
};

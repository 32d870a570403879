#pragma once

#include <cstddef>
#include <ios>
#include <memory>
#include <streambuf>
#include <string>

class KtIfGzStream;

// An input stream buffer over a document fetched by HTTP. The document is downloaded whole when
// the buffer opens. A query after "?" is not sent; a value "true" behind its "=" asks for a fresh
// copy past every cache. A URL ending in ".gz" is decompressed through a temporary file;
// any other document is served from memory.
class KtHttpStreamBuffer : public std::streambuf {
 public:
  KtHttpStreamBuffer();
  ~KtHttpStreamBuffer() override;
  KtHttpStreamBuffer(const KtHttpStreamBuffer&) = delete;
  KtHttpStreamBuffer& operator=(const KtHttpStreamBuffer&) = delete;

  // Only input is accepted. Returns null when the download fails or the buffer is already open.
  KtHttpStreamBuffer* open(const std::string& url, std::ios_base::openmode mode);
  KtHttpStreamBuffer* close();
  bool isOpen() const { return open_; }
  // The address that was fetched: the URL without its query.
  const std::string& url() const { return url_; }

 protected:
  int_type underflow() override;

 private:
  static constexpr std::size_t kBufferSize = 1000;
  static constexpr std::size_t kPutBackSize = 5;

  // Moves the downloaded bytes into an anonymous temporary file and opens a gzip stream on it.
  bool openCompressedContent();
  // Copies up to `capacity` further document bytes to `destination`; returns how many.
  std::size_t fill(char* destination, std::size_t capacity);

  std::string url_;
  std::string content_;
  std::size_t readPosition_ = 0;
  char buffer_[kBufferSize] = {};
  std::unique_ptr<KtIfGzStream> compressed_;
  bool open_ = false;
};

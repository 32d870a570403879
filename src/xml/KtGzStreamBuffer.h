#pragma once

#include <cstddef>
#include <ios>
#include <streambuf>

#include <zlib.h>

// Limits of compressed input.
struct KtGzStreamSettings {
  // Reading stops, with a message, once this many bytes have been decompressed from one file,
  // so that a small hostile file cannot expand into an unbounded amount of memory or time.
  std::size_t maxDecompressedBytes = std::size_t{256} << 20;
};

// The limits every compressed input uses; a host (or a test) may change them between documents.
KtGzStreamSettings& ktGzStreamSettings();

// A stream buffer over a gzip file, through zlib's gz file functions. It is opened for either
// input or output. On input the first bytes of the array are a put-back area and each refill
// reads behind it; on output the array collects characters until it is full and then
// compresses them as one block.
//
// A decompressed byte of value 255 ends the input wherever it stands: read as a signed character
// it equals the end-of-stream value, and documents never use that byte as content.
class KtGzStreamBuffer : public std::streambuf {
 public:
  KtGzStreamBuffer() = default;
  ~KtGzStreamBuffer() override;
  KtGzStreamBuffer(const KtGzStreamBuffer&) = delete;
  KtGzStreamBuffer& operator=(const KtGzStreamBuffer&) = delete;

  bool isOpen() const { return file_ != nullptr; }

  // Opens the named file, or an already open descriptor (which then belongs to the buffer; on
  // failure the caller keeps it). The input bit selects reading, else the output bit writing.
  // Returns null when the file does not open or the buffer is already open.
  KtGzStreamBuffer* open(const char* name, std::ios_base::openmode mode);
  KtGzStreamBuffer* open(int descriptor, std::ios_base::openmode mode);

  // Writes what is pending and closes the file. Returns null when nothing was open or zlib
  // reports an error while closing.
  KtGzStreamBuffer* close();

 protected:
  int_type underflow() override;
  int_type overflow(int_type character) override;
  int sync() override;

 private:
  static constexpr std::size_t kBufferSize = 100;
  static constexpr std::size_t kPutBackSize = 5;
  // Output leaves the last byte free for the character that overflows the put area.
  static constexpr std::size_t kPutAreaSize = kBufferSize - 1;

  template <typename Opener>
  KtGzStreamBuffer* openWith(std::ios_base::openmode mode, Opener opener);
  // Compresses the put area and empties it; false when zlib refuses the data.
  bool flushPutArea();
  // Cuts a freshly read block short at the size limit or at a byte 255; returns its new end.
  char* limitReadBlock(char* start, char* end);

  char buffer_[kBufferSize] = {};
  gzFile file_ = nullptr;
  std::ios_base::openmode mode_{};
  std::size_t decompressedBytes_ = 0;
  bool inputEnded_ = false;
};

// The binary matrix file and the text and notebook dumps.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "foundation/Print.h"
#include "math/ReArray.h"

namespace Kt {

namespace {

// A matrix without columns holds no data, so its row count is not backed by the file's size;
// beyond this many rows such a header is taken for damage rather than allocated.
constexpr std::uint64_t maxRowsWithoutColumns = std::uint64_t{1} << 16;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

// Opens path only when it is a regular file (created when writing). A directory, device or
// FIFO is refused; O_NONBLOCK keeps the open of a FIFO without a peer from waiting for one.
// A file opened for writing is emptied only once it is known to be regular.
FilePointer openRegularFile(const KtString& path, bool forWriting, std::uint64_t& size) {
  const int access = forWriting ? O_WRONLY | O_CREAT : O_RDONLY;
  const int descriptor = ::open(path.c_str(), access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  struct stat status {};
  const bool regular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                       (!forWriting || ::ftruncate(descriptor, 0) == 0);
  std::FILE* file = regular ? ::fdopen(descriptor, forWriting ? "wb" : "rb") : nullptr;
  if (!file) {
    ::close(descriptor);
    return nullptr;
  }
  size = static_cast<std::uint64_t>(status.st_size);
  return FilePointer(file);
}

// Integers and doubles are stored least significant byte first on every platform.
void appendLittleEndian(std::string& bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

std::uint64_t decodeLittleEndian(const unsigned char* bytes, int count) {
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i) value |= std::uint64_t{bytes[i]} << (8 * i);
  return value;
}

bool readLittleEndian(std::FILE* file, std::uint64_t& value, int count) {
  unsigned char bytes[8];
  if (std::fread(bytes, 1, static_cast<std::size_t>(count), file) != static_cast<std::size_t>(count))
    return false;
  value = decodeLittleEndian(bytes, count);
  return true;
}

// Writes one row as its entries in full precision between the given texts.
void writeRow(std::FILE* file, const std::vector<KtReal>& row, const char* open, const char* separator,
              const char* close) {
  std::fputs(open, file);
  for (std::size_t column = 0; column < row.size(); ++column) {
    std::fprintf(file, "%s%.17g", column == 0 ? "" : separator, row[column]);
  }
  std::fputs(close, file);
}

// Opens path as a text file, lets write fill it and reports whether all of it was written.
template <typename Write>
bool writeTextFile(const KtString& path, Write write) {
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (!file) return false;
  write(file);
  const bool written = !std::ferror(file);
  return std::fclose(file) == 0 && written;
}

}  // namespace

bool ReArray::writeBin(const KtString& path) const {
  std::uint64_t size = 0;
  const FilePointer file = openRegularFile(path, true, size);
  if (!file) return false;
  std::string bytes;
  appendLittleEndian(bytes, rows(), 4);
  if (rows() > 0) appendLittleEndian(bytes, columns(), 4);
  bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  for (const Row& row : array_) {
    bytes.clear();
    for (KtReal entry : row) appendLittleEndian(bytes, std::bit_cast<std::uint64_t>(entry), 8);
    written = written && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  }
  return std::fflush(file.get()) == 0 && written;
}

bool ReArray::readBin(const KtString& path) {
  std::uint64_t size = 0;
  const FilePointer file = openRegularFile(path, false, size);
  if (!file || size == 0) {
    ktPrint(KtSeverity::Error, "%s::readBin(): could not open file, %s, for reading.\n", className(),
            path.c_str());
    return false;
  }
  std::uint64_t rowCount = 0;
  std::uint64_t columnCount = 0;
  if (readLittleEndian(file.get(), rowCount, 4) && rowCount == 0) return true;
  // The header is checked against the file's size before anything is allocated. Both counts
  // are below 2^32, so their product cannot overflow; the entry bytes are compared by division.
  const char* damage = nullptr;
  if (!readLittleEndian(file.get(), columnCount, 4) || (size - 8) / 8 < rowCount * columnCount) {
    damage = "is too short for its matrix";
  } else if (size - 8 != 8 * rowCount * columnCount) {
    damage = "is longer than its matrix";
  } else if (columnCount == 0 && rowCount > maxRowsWithoutColumns) {
    damage = "names too many rows for a matrix without columns";
  }
  std::vector<unsigned char> bytes;
  try {
    if (!damage) bytes.resize(size - 8);
    // The file may have shrunk since its size was taken.
    if (!damage && std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
      damage = "is too short for its matrix";
    if (!damage) resizeArray(rowCount, columnCount);
  } catch (const std::bad_alloc&) {
    damage = "holds a matrix too large for the memory";
  }
  if (damage) {
    ktPrint(KtSeverity::Error, "%s::readBin(): file, %s, %s.\n", className(), path.c_str(), damage);
    return false;
  }
  const unsigned char* next = bytes.data();
  for (Row& row : array_) {
    for (KtReal& entry : row) {
      entry = std::bit_cast<KtReal>(decodeLittleEndian(next, 8));
      next += 8;
    }
  }
  return true;
}

bool ReArray::dump(const KtString& path) const {
  const bool written = writeTextFile(path, [this](std::FILE* file) {
    std::fprintf(file, "%zu %zu\n", rows(), columns());
    for (const Row& row : array_) writeRow(file, row, "", " ", "\n");
  });
  if (!written)
    ktPrint(KtSeverity::Error, "%s::dump(): could not write file, %s.\n", className(), path.c_str());
  return written;
}

bool ReArray::dumpMath(const KtString& path, const KtString& name) const {
  const bool written = writeTextFile(path, [this, &name](std::FILE* file) {
    std::fprintf(file, "(* %s: %zu by %zu matrix, entries in full precision *)\n", name.c_str(), rows(),
                 columns());
    std::fprintf(file, "%s = {", name.c_str());
    for (std::size_t row = 0; row < rows(); ++row) {
      writeRow(file, array_[row], row == 0 ? "{" : ",\n  {", ", ", "}");
    }
    std::fputs("};\n", file);
  });
  if (!written) {
    ktPrint(KtSeverity::Error, "%s::dumpMath(): could not write file, %s.\n", className(), path.c_str());
  }
  return written;
}

}  // namespace Kt

// The binary matrix file and the text and notebook dumps.
#include <bit>
#include <cstdint>
#include <cstdio>
#include <fstream>

#include "foundation/Print.h"
#include "math/ReArray.h"

namespace Kt {

namespace {

// Integers and doubles are stored least significant byte first on every platform.
void putLittleEndian(std::ostream& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

bool getLittleEndian(std::istream& in, std::uint64_t& value, int bytes) {
  char buffer[8];
  if (!in.read(buffer, bytes)) return false;
  value = 0;
  for (int i = 0; i < bytes; ++i) value |= std::uint64_t{static_cast<unsigned char>(buffer[i])} << (8 * i);
  return true;
}

// Bytes between the read position and the end of the stream.
std::uint64_t remainingBytes(std::istream& in) {
  const std::streampos here = in.tellg();
  in.seekg(0, std::ios::end);
  const std::streampos end = in.tellg();
  in.seekg(here);
  return static_cast<std::uint64_t>(end - here);
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
  std::ofstream out(path, std::ios::binary);
  if (!out) return false;
  putLittleEndian(out, rows(), 4);
  if (rows() > 0) putLittleEndian(out, columns(), 4);
  for (const Row& row : array_) {
    for (KtReal entry : row) putLittleEndian(out, std::bit_cast<std::uint64_t>(entry), 8);
  }
  out.flush();
  return static_cast<bool>(out);
}

bool ReArray::readBin(const KtString& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in || in.peek() == std::ifstream::traits_type::eof()) {
    ktPrint(KtSeverity::Error, "%s::readBin(): could not open file, %s, for reading.\n", className(),
            path.c_str());
    return false;
  }
  std::uint64_t rowCount = 0;
  std::uint64_t columnCount = 0;
  if (getLittleEndian(in, rowCount, 4) && rowCount == 0) return true;
  // The size is checked before resizing, so that a damaged header cannot ask for more
  // storage than the file could fill.
  const bool complete = getLittleEndian(in, columnCount, 4) &&
                        (columnCount == 0 || remainingBytes(in) / 8 / columnCount >= rowCount);
  if (!complete) {
    ktPrint(KtSeverity::Error, "%s::readBin(): file, %s, is too short for its matrix.\n", className(),
            path.c_str());
    return false;
  }
  resizeArray(rowCount, columnCount);
  for (Row& row : array_) {
    for (KtReal& entry : row) {
      std::uint64_t bits = 0;
      getLittleEndian(in, bits, 8);
      entry = std::bit_cast<KtReal>(bits);
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

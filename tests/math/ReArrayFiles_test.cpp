#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "math/MatrixOracle.h"
#include "math/ReArray.h"
#include "support/PrintCapture.h"

using Kt::ReArray;
using namespace matrix_oracle;

namespace {

std::string scratchPath(const std::string& name) {
  return (std::filesystem::temp_directory_path() / ("kt_rearray_" + name)).string();
}

std::string contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

// Every shape round-trips exactly behind a header of two little-endian 32-bit counts, except
// the empty matrix: four zero bytes that leave the reader as it was.
TEST(ReArrayFiles, BinaryFilesRoundTripExactlyInLittleEndianLayout) {
  TestRandom rng(601);
  const std::string path = scratchPath("roundtrip.bin");
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t rows = rng.integer(1, 6), columns = rng.integer(0, 6);
    const ReArray written = toReArray(random(rng, rows, columns));
    ReArray read(2, 2);
    ASSERT_TRUE(written.writeBin(path));
    const std::string bytes = contents(path);
    ASSERT_EQ(bytes.size(), 8 + 8 * rows * columns);
    EXPECT_EQ(bytes.substr(0, 8), std::string({char(rows), 0, 0, 0, char(columns), 0, 0, 0}));
    ASSERT_TRUE(read.readBin(path));
    EXPECT_EQ(read.rows(), rows);
    EXPECT_EQ(entries(read), entries(written));
  }
  ASSERT_TRUE(ReArray().writeBin(path));
  EXPECT_EQ(contents(path), std::string(4, '\0'));
  const ReArray original = toReArray({{1.0, 2.0}, {3.0, 4.0}});
  ReArray read = original;
  EXPECT_TRUE(read.readBin(path) && read == original);
  std::filesystem::remove(path);
}

TEST(ReArrayFiles, UnreadableShortAndUnwritableFilesFail) {
  const std::string empty = scratchPath("nothing.bin"), truncated = scratchPath("short.bin");
  const std::string missing = "/nonexistent-directory/matrix.bin";
  std::ofstream(empty).close();
  std::ofstream(truncated, std::ios::binary).write("\x02\0\0\0\x02\0\0\0", 8);  // entries missing
  PrintCapture capture;
  ReArray matrix(1, 1);
  EXPECT_FALSE(matrix.readBin(missing));
  EXPECT_FALSE(matrix.readBin(empty));
  EXPECT_FALSE(matrix.readBin(truncated));
  EXPECT_FALSE(matrix.writeBin(missing));
  EXPECT_EQ(matrix, ReArray(1, 1));
  EXPECT_EQ(capture.text(), "ReArray::readBin(): could not open file, " + missing + ", for reading.\n" +
                                "ReArray::readBin(): could not open file, " + empty + ", for reading.\n" +
                                "ReArray::readBin(): file, " + truncated +
                                ", is too short for its matrix.\n");
  std::filesystem::remove(empty);
  std::filesystem::remove(truncated);
}

TEST(ReArrayFiles, TextDumpsHoldEveryEntryInFullPrecision) {
  const std::string path = scratchPath("dump.txt");
  const ReArray matrix = toReArray({{1.0, 0.5}, {-2.0, 0.1}});
  ASSERT_TRUE(matrix.dump(path));
  EXPECT_EQ(contents(path), "2 2\n1 0.5\n-2 0.10000000000000001\n");
  ASSERT_TRUE(matrix.dumpMath(path, "M"));
  EXPECT_EQ(contents(path),
            "(* M: 2 by 2 matrix, entries in full precision *)\n"
            "M = {{1, 0.5},\n  {-2, 0.10000000000000001}};\n");
  std::filesystem::remove(path);
}

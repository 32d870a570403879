#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "math/MatrixOracle.h"
#include "math/ReArray.h"
#include "support/PrintCapture.h"
#include "support/TempFiles.h"

using Kt::ReArray;
using namespace matrix_oracle;

// Every shape round-trips exactly behind a header of two little-endian 32-bit counts, except
// the empty matrix: four zero bytes that leave the reader as it was.
TEST(ReArrayFiles, BinaryFilesRoundTripExactlyInLittleEndianLayout) {
  TestRandom rng(601);
  const TempDirectory directory;
  const std::string path = directory.file("roundtrip.bin");
  for (int c = 0; c < TestRandom::cases(); ++c) {
    const std::size_t rows = rng.integer(1, 6), columns = rng.integer(0, 6);
    const ReArray written = toReArray(random(rng, rows, columns));
    ReArray read(2, 2);
    ASSERT_TRUE(written.writeBin(path));
    const std::string bytes = readBytes(path);
    ASSERT_EQ(bytes.size(), 8 + 8 * rows * columns);
    EXPECT_EQ(bytes.substr(0, 8), std::string({char(rows), 0, 0, 0, char(columns), 0, 0, 0}));
    ASSERT_TRUE(read.readBin(path));
    EXPECT_EQ(read.rows(), rows);
    EXPECT_EQ(entries(read), entries(written));
  }
  ASSERT_TRUE(ReArray().writeBin(path));
  EXPECT_EQ(readBytes(path), std::string(4, '\0'));
  const ReArray original = toReArray({{1.0, 2.0}, {3.0, 4.0}});
  ReArray read = original;
  EXPECT_TRUE(read.readBin(path) && read == original);
}

// Whatever the header claims, nothing is allocated or read unless the file holds exactly the
// entries it announces; paths that are not regular files are refused without blocking.
TEST(ReArrayFiles, DamagedHeadersAndOtherThanRegularFilesAreRefused) {
  const std::string ones8 = std::string(8, '\x01');
  const std::string allOnes = "\xff\xff\xff\xff";
  const TempDirectory scratch;
  const std::string empty = scratch.file("empty.bin"), directory = scratch.path(),
                    fifo = scratch.file("fifo.bin");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  struct Case {
    std::string path, bytes, damage;
  };
  const Case cases[] = {
      {"/nonexistent-directory/matrix.bin", "", ""},
      {empty, "", ""},
      {directory, "", ""},
      {fifo, "", ""},
      {scratch.file("header.bin"), std::string("\x01\0\0", 3), "is too short for its matrix"},
      {scratch.file("entries.bin"), std::string("\x02\0\0\0\x02\0\0\0", 8) + ones8,
       "is too short for its matrix"},
      {scratch.file("huge.bin"), allOnes + allOnes + ones8, "is too short for its matrix"},
      {scratch.file("long.bin"), std::string("\x01\0\0\0\x01\0\0\0", 8) + ones8 + "x",
       "is longer than its matrix"},
      {scratch.file("rows.bin"), allOnes + std::string(4, '\0'),
       "names too many rows for a matrix without columns"},
  };
  std::string expected;
  for (const Case& c : cases) {
    if (c.path == empty || !c.damage.empty()) std::ofstream(c.path, std::ios::binary) << c.bytes;
    expected +=
        "ReArray::readBin(): " + (c.damage.empty() ? "could not open file, " + c.path + ", for reading.\n"
                                                   : "file, " + c.path + ", " + c.damage + ".\n");
  }
  PrintCapture capture;
  ReArray matrix(1, 1);
  for (const Case& c : cases) EXPECT_FALSE(matrix.readBin(c.path)) << c.path;
  EXPECT_EQ(matrix, ReArray(1, 1));
  EXPECT_EQ(capture.text(), expected);
  for (const std::string& path : {cases[0].path, directory, fifo})
    EXPECT_FALSE(matrix.writeBin(path)) << path;
  EXPECT_EQ(capture.text(), expected);
}

TEST(ReArrayFiles, TextDumpsHoldEveryEntryInFullPrecision) {
  const TempDirectory directory;
  const std::string path = directory.file("dump.txt");
  const ReArray matrix = toReArray({{1.0, 0.5}, {-2.0, 0.1}});
  ASSERT_TRUE(matrix.dump(path));
  EXPECT_EQ(readBytes(path), "2 2\n1 0.5\n-2 0.10000000000000001\n");
  ASSERT_TRUE(matrix.dumpMath(path, "M"));
  EXPECT_EQ(readBytes(path),
            "(* M: 2 by 2 matrix, entries in full precision *)\n"
            "M = {{1, 0.5},\n  {-2, 0.10000000000000001}};\n");
}

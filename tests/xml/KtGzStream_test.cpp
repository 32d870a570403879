#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "support/PrintCapture.h"
#include "xml/KtIfGzStream.h"
#include "xml/KtOfGzStream.h"
#include "xml/KtStreamTestFiles.h"

namespace {

// Lengths around the input refill (95) and the output block (100) are drawn often.
std::size_t interestingLength(TestRandom& rng) {
  static const int edges[] = {0, 1, 94, 95, 96, 99, 100, 101, 190, 200};
  return static_cast<std::size_t>(rng.integer(0, 1) ? edges[rng.integer(0, 9)] : rng.integer(0, 3000));
}

// Writes through the compressing stream in random pieces: single characters and blocks.
std::string writeCompressed(const std::string& path, const std::string& bytes, TestRandom& rng) {
  KtOfGzStream stream(path.c_str());
  for (std::size_t at = 0, size = 0; at < bytes.size(); at += size) {
    size = std::min<std::size_t>(rng.integer(0, 1) ? 1 : rng.integer(1, 300), bytes.size() - at);
    stream.write(bytes.data() + at, static_cast<std::streamsize>(size));
  }
  stream.close();
  EXPECT_TRUE(stream.good());
  return path;
}

std::string readCompressed(const std::string& path) { return readAll(KtIfGzStream(path.c_str())); }

}  // namespace

// The gzip tools are the independent oracle in both directions. Written in random pieces, a
// document gunzips to itself, byte 255 included; read back, it ends at the first byte 255, and
// stepping back works across refills.
TEST(KtGzStream, AgreesWithTheGzipToolsAndEndsAtTheFirstByte255) {
  TestRandom rng(101);
  TempDirectory directory;
  const std::string path = directory.file("doc.gz");
  for (int i = 0; i < std::max(3, TestRandom::cases() / 10); ++i) {
    std::string document = randomBytes(rng, interestingLength(rng), 255);
    for (int marks = rng.integer(0, 2); marks > 0 && !document.empty(); --marks)
      document[rng.integer(0, static_cast<int>(document.size()) - 1)] = '\xff';
    ASSERT_TRUE(runTool("gunzip", writeCompressed(path, document, rng), directory.file("plain")));
    ASSERT_EQ(readBytes(directory.file("plain")), document);
    const std::string upToMark = document.substr(0, document.find('\xff'));
    KtIfGzStream stream(path.c_str());
    expectPutBackAnywhere(stream, upToMark, rng);
    writeBytes(path, gzipWithTool(directory, upToMark));
    ASSERT_EQ(readCompressed(path), upToMark);
  }
  writeCompressed(path, randomBytes(rng, 1000, 255), rng);
  KtIfGzStream byDescriptor(::open(path.c_str(), O_RDONLY));
  expectRefillBlocks(byDescriptor, 95);
}

TEST(KtGzStream, OpeningReportsUnsupportedModesAndFailures) {
  TestRandom rng(104);
  TempDirectory directory;
  const std::string path = writeCompressed(directory.file("doc.gz"), "<arm/>", rng);
  const std::string unsupported = "KtGzStream Error: append and read/write mode not allowed";
  // Unsupported modes are reported but still open, reading winning over writing.
  for (const auto mode :
       {std::ios::in | std::ios::app, std::ios::in | std::ios::ate, std::ios::in | std::ios::out}) {
    PrintCapture capture;
    KtGzStreamBuffer buffer;
    ASSERT_NE(buffer.open(path.c_str(), mode), nullptr);
    EXPECT_EQ(capture.text(), unsupported);
    EXPECT_EQ(readAll(std::istream(&buffer)), "<arm/>");
  }
  PrintCapture capture;
  KtOfGzStream(path.c_str(), std::ios::app) << "<hand/>";
  EXPECT_EQ(capture.text(), unsupported);
  KtIfGzStream stream(path.c_str());
  stream.open(directory.file("doc.gz").c_str());  // already open: changes nothing
  EXPECT_TRUE(stream.fail());
  stream.clear();
  EXPECT_EQ(readAll(stream), "<hand/>");

  capture.clear();
  KtIfGzStream missing(directory.file("missing/doc.gz").c_str()), badDescriptor(-1);
  KtOfGzStream unwritable(directory.file("missing/out.gz").c_str());
  const std::string notOpened = "KtGzStream Error: zlib file did not open\n";
  EXPECT_EQ(capture.text(), notOpened + notOpened + notOpened);
  EXPECT_TRUE(missing.rdbuf()->sgetc() == EOF && badDescriptor.rdbuf()->sgetc() == EOF && unwritable.fail());
}

// Damaged or hostile input ends the document with a message: no crash, no hang, bounded output.
TEST(KtGzStream, DamagedInputEndsTheDocument) {
  TestRandom rng(105);
  TempDirectory directory;
  const std::string path = directory.file("damaged.gz");
  writeBytes(path, "");
  EXPECT_EQ(readCompressed(path), "");
  for (int i = 0; i < std::max(2, TestRandom::cases() / 10); ++i) {
    const std::string document = randomBytes(rng, rng.integer(200, 3000), 255);
    std::string compressed = readBytes(writeCompressed(path, document, rng));
    const bool truncate = rng.integer(0, 1);
    if (truncate) compressed.resize(rng.integer(11, static_cast<int>(compressed.size()) - 9));
    for (int hits = truncate ? 0 : 8; hits > 0; --hits)
      compressed[rng.integer(10, compressed.size() - 1)] ^= 0x5a;
    writeBytes(path, compressed);
    PrintCapture capture;
    const std::string read = readCompressed(path);
    EXPECT_TRUE(!truncate || read == document.substr(0, read.size()))
        << "a truncated document reads up to its cut";
    EXPECT_NE(capture.text().find("KtGzStreamBuffer Error: corrupt or truncated compressed data"),
              std::string::npos);
    // Garbage, half of the time behind a gzip header so that zlib tries to inflate it.
    const std::string header("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10);
    writeBytes(path, (rng.integer(0, 1) ? header : "") + randomBytes(rng, rng.integer(0, 2000)));
    readCompressed(path);
  }
  writeBytes(path, gzipWithTool(directory, std::string(50'000, 'a')));
  const KtGzStreamSettings previous = ktGzStreamSettings();
  for (const std::size_t limit : {10'000, 10'001, 49'999, 50'000}) {
    ktGzStreamSettings().maxDecompressedBytes = limit;
    PrintCapture capture;
    EXPECT_EQ(readCompressed(path), std::string(std::min<std::size_t>(limit, 50'000), 'a'));
    EXPECT_EQ(capture.text(), limit == 50'000
                                  ? ""
                                  : "KtGzStreamBuffer Error: decompressed data exceeds the limit of " +
                                        std::to_string(limit) + " bytes\n");
  }
  ktGzStreamSettings() = previous;
}

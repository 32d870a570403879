#include <gtest/gtest.h>

#include <string>

#include "foundation/FileUtil.h"
#include "support/PrintCapture.h"
#include "xml/KtDocumentStream.h"
#include "xml/KtStreamTestFiles.h"

namespace {

const std::string kDocument = "<?xml version=\"1.0\"?>\n<sm:arm xsi:nil=\"true\"/>\n";

// Names are looked up below a temporary data directory.
class KtDocumentStreamTest : public testing::Test {
 protected:
  void SetUp() override { KtFileUtil::setDataDirectories({files_.path()}); }
  void TearDown() override { KtFileUtil::setDataDirectories(saved_); }

  // Stores `bytes` under `name` in the data directory and reads the document back by that name.
  std::string storeAndRead(const std::string& name, const std::string& bytes) {
    writeBytes(files_.file(name), bytes);
    std::string resolved;
    auto stream = ktOpenDocumentForReading(name, resolved);
    EXPECT_EQ(resolved, files_.file(name));
    return stream ? readAll(*stream) : "(not opened)";
  }

  const std::vector<std::string> saved_ = KtFileUtil::dataDirectories();
  TempDirectory files_;
};

}  // namespace

// Only the two lower-case suffixes mean compressed, and the name alone decides, whatever the
// content: both when reading and when writing.
TEST_F(KtDocumentStreamTest, NameAloneDecidesHowADocumentIsReadAndWritten) {
  const std::string compressed = gzipWithTool(files_, kDocument);
  const std::pair<std::string, bool> names[] = {
      {"arm.xml.gz", true}, {"arm.ktz", true},  {".ktz", true},         {".xml.gz", true},
      {"arm.gz", false},    {"ARM.KTZ", false}, {"arm.XML.GZ", false},  {"arm.xml", false},
      {"ktz", false},       {"xml.gz", false},  {"arm.ktz.xml", false}, {"z", false}};
  for (const auto& [name, isCompressed] : names) {
    EXPECT_EQ(ktIsCompressedDocumentName(name), isCompressed) << name;
    EXPECT_EQ(storeAndRead(name, compressed), isCompressed ? kDocument : compressed) << name;
    *ktOpenDocumentForWriting(files_.file(name)) << kDocument;
    const std::string written = readBytes(files_.file(name));
    ASSERT_TRUE(!isCompressed || runTool("gunzip", files_.file(name), files_.file("plain")));
    EXPECT_EQ(isCompressed ? readBytes(files_.file("plain")) : written, kDocument) << name;
    EXPECT_EQ(storeAndRead(name, written), kDocument) << name;
  }
  EXPECT_TRUE(ktIsCompressedDocumentName("http://h/a.ktz"));
  EXPECT_FALSE(ktIsCompressedDocumentName(""));
  // Names that only look like addresses are files found by the finder.
  for (const char* name : {"HTTP://arm.xml", "x/http://arm.xml"})
    EXPECT_EQ(storeAndRead(name, kDocument), kDocument);

  PrintCapture capture;
  std::string resolved = "unchanged";
  for (const char* name : {"missing.xml", "missing.xml.gz", "missing.ktz", ""}) {
    EXPECT_EQ(ktOpenDocumentForReading(name, resolved), nullptr) << name;
    EXPECT_EQ(resolved, "");
  }
  EXPECT_EQ(capture.text(), "");
  EXPECT_EQ(ktOpenDocumentForWriting(files_.file("missing/out.xml")), nullptr);
  EXPECT_EQ(ktOpenDocumentForWriting(files_.file("missing/out.ktz")), nullptr);
}

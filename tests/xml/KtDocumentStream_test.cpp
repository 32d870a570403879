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

TEST(KtDocumentStreamNames, OnlyTheTwoLowerCaseSuffixesMeanCompressed) {
  for (const char* name : {"arm.xml.gz", "arm.ktz", ".ktz", ".xml.gz", "http://h/a.ktz"}) {
    EXPECT_TRUE(ktIsCompressedDocumentName(name)) << name;
  }
  for (const char* name :
       {"arm.gz", "ARM.KTZ", "arm.XML.GZ", "arm.xml", "ktz", "xml.gz", "", "arm.ktz.xml", "z"}) {
    EXPECT_FALSE(ktIsCompressedDocumentName(name)) << name;
  }
}

TEST_F(KtDocumentStreamTest, NameAloneDecidesHowADocumentIsRead) {
  const std::string compressed = gzipWithTool(files_, kDocument);
  for (const char* name : {"arm.xml.gz", "arm.ktz", ".ktz"})
    EXPECT_EQ(storeAndRead(name, compressed), kDocument);
  for (const char* name : {"arm.gz", "ARM.KTZ", "arm.xml"})
    EXPECT_EQ(storeAndRead(name, compressed), compressed);
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
}

TEST_F(KtDocumentStreamTest, WritesCompressedOrPlainByName) {
  for (const char* name : {"out.xml.gz", "out.ktz", "out.xml", "out.gz"}) {
    const std::string path = files_.file(name);
    *ktOpenDocumentForWriting(path) << kDocument;
    const bool compressed = ktIsCompressedDocumentName(name);
    ASSERT_TRUE(!compressed || runTool("gunzip", path, files_.file("plain")));
    EXPECT_EQ(readBytes(compressed ? files_.file("plain") : path), kDocument) << name;
    EXPECT_EQ(storeAndRead(name, readBytes(path)), kDocument) << name;
  }
  PrintCapture capture;
  EXPECT_EQ(ktOpenDocumentForWriting(files_.file("missing/out.xml")), nullptr);
  EXPECT_EQ(ktOpenDocumentForWriting(files_.file("missing/out.ktz")), nullptr);
}

#include "xml/KtXmlFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtXmlWriterDefaults.h"

namespace {

namespace fs = std::filesystem;

// A scratch directory for the documents of one test, and schema output switched on.
class KtXmlFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_directory = fs::temp_directory_path() / ("kt-xml-file-" + std::to_string(::getpid()));
    fs::create_directories(m_directory);
    KtXmlWriterDefaults::instance().writeSchema = true;
  }
  void TearDown() override {
    KtXmlWriterDefaults::instance().writeSchema = false;
    fs::remove_all(m_directory);
  }
  std::string path(const std::string& name) const { return (m_directory / name).string(); }

  static int xmllint(const std::string& arguments) {
    return std::system(("xmllint --noout " + arguments + " > /dev/null 2>&1").c_str());
  }

  fs::path m_directory;
};

// Documents written to files (plain and compressed) read back equal, are well formed and
// are valid against the schema written beside them.
TEST_F(KtXmlFileTest, writtenDocumentsReadBackAndValidateAgainstTheirSchema) {
  TestRandom rng(13);
  for (int i = 0; i < 5; ++i) {
    KtTestEverything original;
    fillRandomly(original, rng);
    const std::string plain = path("arm" + std::to_string(i) + ".xml");
    ASSERT_TRUE(ktWriteObjectToFile(original, plain));
    const std::string schema = path("arm" + std::to_string(i) + ".ct.xsd");
    ASSERT_TRUE(fs::exists(schema));
    EXPECT_EQ(xmllint("--schema " + schema + " " + plain), 0) << plain;
    EXPECT_EQ(xmllint(schema), 0) << "the schema itself is well formed";

    KtTestEverything read;
    ASSERT_TRUE(ktReadObjectFromFile(read, plain));
    EXPECT_TRUE(read.isEqual(original));

    const std::string compressed = path("arm" + std::to_string(i) + ".xml.gz");
    ASSERT_TRUE(ktWriteObjectToFile(original, compressed));
    EXPECT_TRUE(fs::exists(path("arm" + std::to_string(i) + ".xml.ct.xsd")));
    KtTestEverything unpacked;
    ASSERT_TRUE(ktReadObjectFromFile(unpacked, compressed));
    EXPECT_TRUE(unpacked.isEqual(original));
  }
}

// A type with open content admits whatever attributes, text and elements it holds.
TEST_F(KtXmlFileTest, openContentAdmitsAnything) {
  KtXmlSchema schema;
  schema.setOpenContent(KtXmlSchema::ownType("kept"));
  std::ofstream xsd(path("open.xsd"));
  schema.write(xsd, KtToken(ktNamespaceSm, "kept"), KtXmlSchema::ownType("kept"));
  xsd.close();
  std::ofstream(path("open.xml"))
      << "<sm:kept xmlns:sm=\"http://kt.example.org/namespace/sm\" any=\"1\">text"
         "<sm:deeper a=\"b\"><other xmlns=\"u\">1 2</other></sm:deeper></sm:kept>";
  EXPECT_EQ(xmllint("--schema " + path("open.xsd") + " " + path("open.xml")), 0);
}

TEST_F(KtXmlFileTest, missingFilesAreReported) {
  PrintCapture capture;
  KtTestLeaf leaf;
  EXPECT_FALSE(ktReadObjectFromFile(leaf, path("missing.xml")));
  EXPECT_EQ(capture.text(), "KtXmlReader Error: not able to open file: " + path("missing.xml") + "\n");
}

TEST_F(KtXmlFileTest, rootVersionDecidesWhetherTheDocumentLoads) {
  const struct {
    const char* version;
    bool loads;
    bool warns;
  } cases[] = {{"1.9.0", true, true}, {"2.3.1", true, false}, {"3.0.0", false, true}};
  for (const auto& c : cases) {
    const std::string name = path(std::string("v") + c.version + ".xml");
    std::ofstream(name) << "<testLeaf version=\"" << c.version << "\"><value>4</value></testLeaf>";
    PrintCapture capture;
    KtTestLeaf leaf;
    EXPECT_EQ(ktReadObjectFromFile(leaf, name), c.loads) << c.version;
    EXPECT_EQ(leaf.m_value, c.loads ? 4.0 : 0.0);
    EXPECT_EQ(capture.text().find("(v" + std::string(c.version) +
                                  ") is not equal with code base version (v2.0.0)") != std::string::npos,
              c.warns)
        << capture.text();
  }
}

}  // namespace

#include "xml/KtXmlFile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "KtXmlTestObjects.h"
#include "support/HangGuard.h"
#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtStreamTestFiles.h"
#include "xml/KtXmlTextDocuments.h"
#include "xml/KtXmlVersion.h"
#include "xml/KtXmlWriterDefaults.h"

namespace {

// A scratch directory for the documents of one test, and schema output switched on.
class KtXmlFileTest : public ::testing::Test {
 protected:
  void SetUp() override { KtXmlWriterDefaults::instance().writeSchema = true; }
  void TearDown() override { KtXmlWriterDefaults::instance().writeSchema = false; }

  static int xmllint(const std::string& arguments) {
    return std::system(("xmllint --noout " + arguments + " > /dev/null 2>&1").c_str());
  }

  TempDirectory m_directory;
};

// Documents written to files (plain and compressed) read back equal, and they and the schema
// written beside them (named after the document without its last suffix) are valid.
TEST_F(KtXmlFileTest, writtenDocumentsReadBackAndValidateAgainstTheirSchema) {
  TestRandom rng(13);
  for (int i = 0; i < 5; ++i) {
    KtTestEverything original;
    fillRandomly(original, rng);
    for (const std::string suffix : {".xml", ".xml.gz"}) {
      const std::string name = m_directory.file("arm" + std::to_string(i) + suffix);
      const std::string schema = name.substr(0, name.rfind('.')) + ".ct.xsd";
      ASSERT_TRUE(ktWriteObjectToFile(original, name));
      EXPECT_EQ(xmllint(schema), 0) << "the schema itself is well formed";
      EXPECT_EQ(xmllint("--schema " + schema + " " + name), 0) << name;
      KtTestEverything read;
      ASSERT_TRUE(ktReadObjectFromFile(read, name));
      EXPECT_TRUE(read.isEqual(original));
    }
  }
}

// A type with open content admits whatever attributes, text and elements it holds.
TEST_F(KtXmlFileTest, openContentAdmitsAnything) {
  KtXmlSchema schema;
  schema.setOpenContent(KtXmlSchema::ownType("kept"));
  std::ofstream xsd(m_directory.file("open.xsd"));
  schema.write(xsd, KtToken(ktNamespaceSm, "kept"), KtXmlSchema::ownType("kept"));
  xsd.close();
  writeBytes(m_directory.file("open.xml"),
             "<sm:kept xmlns:sm=\"http://kt.example.org/namespace/sm\" any=\"1\">text"
             "<sm:deeper a=\"b\"><other xmlns=\"u\">1 2</other></sm:deeper></sm:kept>");
  EXPECT_EQ(xmllint("--schema " + m_directory.file("open.xsd") + " " + m_directory.file("open.xml")), 0);
}

// Only regular files are read: a missing name, a directory, a FIFO without a writer and a
// device, plain or compressed, named directly or included, each end in the same message,
// never in a crash or a hang.
TEST_F(KtXmlFileTest, onlyRegularFilesAreRead) {
  const HangGuard guard(30);
  std::filesystem::create_directory(m_directory.file("directory.xml"));
  std::filesystem::create_directory(m_directory.file("directory.xml.gz"));
  ASSERT_EQ(::mkfifo(m_directory.file("fifo.xml").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo(m_directory.file("fifo.ktz").c_str(), 0600), 0);
  for (const std::string& name : {m_directory.file("missing.xml"), m_directory.file("directory.xml"),
                                  m_directory.file("directory.xml.gz"), m_directory.file("fifo.xml"),
                                  m_directory.file("fifo.ktz"), std::string("/dev/null")}) {
    const std::string message = "KtXmlReader Error: not able to open file: " + name + "\n";
    PrintCapture capture;
    KtTestLeaf leaf;
    EXPECT_FALSE(ktReadObjectFromFile(leaf, name));
    EXPECT_EQ(capture.text(), message);
    capture.clear();
    writeBytes(m_directory.file("main.xml"), "<a>" + includeOf(name) + "</a>");
    EXPECT_FALSE(ktReadObjectFromFile(leaf, m_directory.file("main.xml")));
    EXPECT_EQ(capture.text(), message);
  }
}

// Another major version warns, and a newer one is refused: the version attribute of the root
// decides whether a document loads.
TEST(KtXmlVersion, majorVersionsDecideCompatibility) {
  const struct {
    const char* version;
    bool compatible;
    bool warns;
  } cases[] = {{"2.0.0", true, false}, {"2.3.1", true, false}, {"2", true, false},
               {"1.9.0", true, true},  {"3.0.0", false, true}, {"10.0", false, true}};
  for (const auto& c : cases) {
    const std::string warning =
        c.warns ? std::string("KtXmlObject::isVersionCompatible warning: Input file version (v") + c.version +
                      ") is not equal with code base version (v2.0.0).\n"
                : "";
    PrintCapture capture;
    EXPECT_EQ(ktIsVersionCompatible(c.version), c.compatible) << c.version;
    KtTestLeaf leaf;
    EXPECT_EQ(
        ktTestRead(leaf, std::string("<testLeaf version=\"") + c.version + "\"><value>4</value></testLeaf>"),
        c.compatible);
    EXPECT_EQ(leaf.m_value, c.compatible ? 4.0 : 0.0) << c.version;
    EXPECT_EQ(capture.text(), warning + warning) << c.version;
  }
}

}  // namespace

#include "xml/KtInclude.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "KtXmlTestObjects.h"
#include "support/HangGuard.h"
#include "support/PrintCapture.h"
#include "xml/KtStreamTestFiles.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

// Serves documents from memory and records which names were asked for.
class MemoryDocuments {
 public:
  MemoryDocuments()
      : m_previous(KtInclude::setDocumentOpener([this](const std::string& name, std::string& resolved) {
          m_requested.push_back(name);
          const std::string normal = std::filesystem::path(name).lexically_normal().string();
          const auto found = m_documents.find(normal);
          if (found == m_documents.end()) return std::unique_ptr<std::istream>();
          resolved = normal;
          return std::unique_ptr<std::istream>(std::make_unique<std::istringstream>(found->second));
        })) {}
  ~MemoryDocuments() { KtInclude::setDocumentOpener(m_previous); }

  void add(const std::string& name, const std::string& text) { m_documents[name] = text; }
  const std::vector<std::string>& requested() const { return m_requested; }

 private:
  std::map<std::string, std::string> m_documents;
  std::vector<std::string> m_requested;
  KtDocumentOpener m_previous;
};

TEST(KtInclude, resolvesHrefsAgainstTheIncludingDocument) {
  const std::array<const char*, 3> cases[] = {{"part.xml", "dir/main.xml", "dir/part.xml"},
                                              {"sub/part.xml", "a\\b\\main.xml", "a\\b\\sub/part.xml"},
                                              {"part.xml", "main.xml", "part.xml"},
                                              {"/abs/part.xml", "dir/main.xml", "/abs/part.xml"},
                                              {"c:\\part.xml", "dir/main.xml", "c:\\part.xml"},
                                              {"C:/part.xml", "dir/main.xml", "C:/part.xml"},
                                              {"d:\\part.xml", "dir/main.xml", "dir/d:\\part.xml"}};
  for (const auto& [href, including, resolved] : cases)
    EXPECT_EQ(KtInclude::resolveHref(href, including), resolved) << href << " in " << including;
}

TEST(KtInclude, replacesTheElementByTheIncludedRoot) {
  MemoryDocuments documents;
  documents.add("dir/leaf.xml", "<?xml version=\"1.0\"?>\n<element><value>7</value></element>\n");
  documents.add("dir/sub/reals.xml", "<reals size=\"2\"><group>1 2</group></reals>");
  documents.add("dir/sub/other.xml", includeOf("../leaf.xml"));
  KtTestEverything read;
  ASSERT_EQ(ktTestReadPrinting(read,
                               "<e><leaves size=\"2\">" + includeOf("leaf.xml") + includeOf("sub/other.xml") +
                                   "</leaves>" + includeOf("sub/reals.xml") + "<real>3</real></e>",
                               "dir/main.xml"),
            std::pair(true, std::string()));
  EXPECT_EQ(documents.requested(), (std::vector<std::string>{"dir/leaf.xml", "dir/sub/other.xml",
                                                             "dir/sub/../leaf.xml", "dir/sub/reals.xml"}));
  ASSERT_EQ(read.m_leaves.size(), 2u);
  EXPECT_EQ(read.m_leaves[1].m_value, 7.0);
  EXPECT_EQ(read.m_reals.value(), (std::vector<KtReal>{1, 2}));
  EXPECT_EQ(read.m_real, 3.0);
}

TEST(KtInclude, rejectsBadIncludes) {
  MemoryDocuments documents;
  documents.add("a.xml", "<x>" + includeOf("b.xml") + "</x>");
  documents.add("b.xml", "<x>\n" + includeOf("./a.xml") + "</x>");
  for (int i = 0; i < 20; ++i) {
    documents.add("deep" + std::to_string(i) + ".xml",
                  "<x>" + includeOf("deep" + std::to_string(i + 1) + ".xml") + "</x>");
  }
  documents.add("broken.xml", "<x><y></x>");
  const std::string xlink = "<sm:KtInclude xmlns:sm=\"s\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" ";
  const std::pair<std::string, std::string> failures[] = {
      {includeOf("a.xml"), "KtXmlReader Error: include cycle through a.xml.\n\tFile: b.xml\n\tLine: 2\n"},
      {includeOf("deep0.xml"),
       "KtXmlReader Error: includes nested deeper than 16 levels.\n\tFile: deep15.xml\n\tLine: 1\n"},
      {includeOf("missing.xml"), "KtXmlReader Error: not able to open file: missing.xml\n"},
      {xlink + "xlink:href=\"a.xml\" role=\"x\"/>",
       "KtXmlReader Error: attribute name can only be simple and href, not role.\n\tFile: main.xml\n\tLine: "
       "1\n"},
      {xlink + "xlink:type=\"extended\" xlink:href=\"a.xml\"/>",
       "KtXmlReader Error: XLink 'type' needs to be simple.\n\tFile: main.xml\n\tLine: 1\n"},
      {xlink + "xlink:type=\"simple\"/>",
       "KtXmlReader Error: XLink syntax not correct.\n\tFile: main.xml\n\tLine: 1\n"},
      {xlink + "xlink:href=\"a.xml\">text</sm:KtInclude>",
       "KtXmlReader Error: XLink syntax not correct.\n\tFile: main.xml\n\tLine: 1\n"},
      {includeOf("broken.xml"),
       "KtXmlFileReader Error: file not well formed.\n\tEnd tag closed incorrect start "
       "tag.\n\tFile: broken.xml\n\tLine: 1\n\tStart tag: y\n\tEnd tag: x\n"},
  };
  for (const auto& [document, messages] : failures) {
    KtTestLeaf leaf;
    EXPECT_EQ(ktTestReadPrinting(leaf, "<a>" + document + "</a>", "main.xml"), std::pair(false, messages));
  }
}

// A load may include as many documents, and read as many bytes, as its budget allows, and not
// one more.
TEST(KtInclude, loadsStayWithinTheirBudget) {
  MemoryDocuments documents;
  const std::string leaf = "<element><value>7</value></element>";
  documents.add("leaf.xml", leaf);
  const std::string main =
      "<a>\n" + includeOf("leaf.xml") + "\n" + includeOf("leaf.xml") + "\n" + includeOf("leaf.xml") + "</a>";
  const std::size_t total = main.size() + 3 * leaf.size();
  const struct {
    KtXmlLoadBudget budget;
    std::string messages;
  } cases[] = {
      {{3, total}, ""},
      {{2, total},
       "KtXmlReader Error: more than 2 documents included in one load.\n\tFile: main.xml\n\tLine: 4\n"},
      {{3, total - 1},
       "KtXmlFileReader Error: file too large.\n\tThe document and its includes exceed " +
           std::to_string(total - 1) + " bytes.\n\tFile: leaf.xml\n\tLine: 1\n"},
  };
  for (const auto& [budget, messages] : cases) {
    std::istringstream in(main);
    KtXmlReader reader(in, "main.xml", budget);
    PrintCapture capture;
    KtTestLeaf object;
    EXPECT_EQ(ktReadRootObject(object, reader), messages.empty()) << messages;
    EXPECT_EQ(capture.text(), messages);
  }
}

// Includes fanning out from real files (nine levels, each including the next eight times, 8^8
// leaves) stop quickly at the default include budget instead of loading for ever.
TEST(KtInclude, fanningOutStopsAtTheDefaultBudget) {
  const HangGuard guard(60);
  const TempDirectory directory;
  const auto level = [&directory](int n) { return directory.file("level" + std::to_string(n) + ".xml"); };
  for (int n = 0; n < 9; ++n) {
    std::string text = "<x>";
    for (int i = 0; i < 8 && n < 8; ++i) text += "\n" + includeOf("level" + std::to_string(n + 1) + ".xml");
    writeBytes(level(n), text + "</x>");
  }
  PrintCapture capture;
  KtTestLeaf leaf;
  EXPECT_FALSE(ktReadObjectFromFile(leaf, level(0)));
  // The 4097th include is the sixth of a level-7 file, preorder.
  EXPECT_EQ(capture.text(), "KtXmlReader Error: more than 4096 documents included in one load.\n\tFile: " +
                                level(7) + "\n\tLine: 7\n");
}

}  // namespace

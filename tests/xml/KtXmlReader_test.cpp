#include "xml/KtXmlReader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtStreamTestFiles.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

std::string wrapped(const std::string& text, int line) {
  return "KtXmlFileReader Error: " + text + "\n\tFile: bad.xml\n\tLine: " + std::to_string(line) + "\n";
}

std::string notWellFormed(const std::string& text, int line) {
  return wrapped("file not well formed.\n\t" + text, line);
}

// `count` pieces, the i-th made by piece(i).
std::string repeated(int count, const std::function<std::string(int)>& piece) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece(i);
  return text;
}
std::string attributes(int count) {
  return repeated(count, [](int i) { return " a" + std::to_string(i) + "=\"\""; });
}

// Every well-formedness error of the tokenizer, each on a minimal document.
TEST(KtXmlReader, reportsEachMalformedDocumentExactly) {
  const std::pair<std::string, std::string> cases[] = {
      {"hello", notWellFormed("File must begin with start tag.", 1)},
      {"\x01\x02\xff garbage", notWellFormed("File must begin with start tag.", 1)},
      {"", notWellFormed("No start tag found.", 1)},
      {"<?xml version=\"1.0\"?>\n<!-- only a comment -->\n", notWellFormed("No start tag found.", 3)},
      {"< a/>", notWellFormed("White space cannot exist before start tag name.", 1)},
      {"<>", notWellFormed("No element name found in start tag.", 1)},
      {"< >", notWellFormed("Tag contains only white space.", 1)},
      {"<a\n b=\"1\"", notWellFormed("EOF found before end of tag.", 2)},
      {"<a =\"1\"/>", notWellFormed("Missing attribute name.", 1)},
      {"<a b=1/>", notWellFormed("Missing quotes around attribute value.", 1)},
      {"<a b/>", notWellFormed("Missing quotes around attribute value.", 1)},
      {"<a b=\"1\"c=\"2\"/>", notWellFormed("Improper quotes around attribute value.", 1)},
      {"<a b=\"1/>", notWellFormed("Second quote of attribute value is missing.", 1)},
      {"<a b=\"1<\"/>", notWellFormed("Second quote of attribute value is missing.", 1)},
      {"<a/x>", notWellFormed("Extra characters found behind element or attributes.", 1)},
      {"<a></a b>", notWellFormed("Extra characters found behind element or attributes.", 1)},
      {"<a><b/>text</a>", notWellFormed("Content can only follow start tag.", 1)},
      {"<a><b></b>text</a>", notWellFormed("Content cannot follow end tag.", 1)},
      {"<a><value>1<b/></value></a>", notWellFormed("Content did not conclude with proper end tag.", 1)},
      {"<a></ a>", notWellFormed("White space cannot exist before end tag name.", 1)},
      {"<a>\n<b>\n</c>",
       notWellFormed("End tag closed incorrect start tag.", 3) + "\tStart tag: b\n\tEnd tag: c\n"},
      {"<a/></a>", notWellFormed("More end tags than start tags.", 1)},
      {"<a><zzz><y/>", notWellFormed("Some start tags not closed with end tag.", 1)},
      {"<a><value>1</value>\n", wrapped("Requested next end tag but found EOF.", 2)},
      {"<a>text</a>", wrapped("error mode encountered.", 1)},
      {"<", notWellFormed("Premature end of file.", 1)},
      {"<?xml version=\"1.0\"", notWellFormed("Premature end of file.", 1)},
      {"<!DOCTYPE a [ <!ENTITY e \"x\"> ]", notWellFormed("Premature end of file.", 1)},
      {"<a/>\nx", notWellFormed("Extra characters found before EOF.", 2)},
      {"<a/><b/>", notWellFormed("Extra characters found before EOF.", 1)},
      {"<!1>", notWellFormed("Declaration not properly defined.", 1)},
      {"<a><!-x--></a>", notWellFormed("Declaration not properly defined.", 1)},
      {"<a><!DOCTYPE a></a>", notWellFormed("Declaration not properly defined.", 1)},
      {"<a><!-- x -- y --></a>", notWellFormed("Comment contains extra -- in it.", 1)},
      {"<a>\n<!-- x", notWellFormed("EOF found within comment.", 2)},
      {"<a xmlns:p=\"u\" xmlns:p=\"v\"/>", "KtXmlReader Error: Namespace already declared: xmlns:p\n"},
      // The limits that keep hostile documents small, each one past what is accepted below.
      {repeated(257, [](int) { return "<e>"; }),
       wrapped("file too complex.\n\tElements nested deeper than 256 levels.", 1)},
      {"<" + std::string(4097, 'n') + "/>", wrapped("file too large.\n\tName exceeds the length limit.", 1)},
      {"<a" + attributes(1025) + "/>", wrapped("file too large.\n\tToo many attributes on one tag.", 1)},
  };
  for (const auto& [document, message] : cases) {
    KtTestLeaf leaf;
    EXPECT_EQ(ktTestReadPrinting(leaf, document, "bad.xml"), std::pair(false, message)) << document;
  }
}

// The usual prolog, comments and processing instructions read silently, and only the predefined
// entities and character references are decoded. Unused attributes are reported once, when the
// reader leaves their start tag, and do not fail the read; those of a skipped element are not
// looked at.
TEST(KtXmlReader, readsAcceptableDocumentsWithTheirWarnings) {
  const struct {
    std::string document, messages, label;
  } cases[] = {
      {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<?xml-stylesheet href=\"x.xsl\"?>\n"
       "<!DOCTYPE a [ <!ELEMENT a ANY> <!ENTITY e \"&#60;\"> ]>\n<!-- comment -->\n"
       "<a><label><!-- inside -->&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&unknown;</label><?pi in content?></a>\n"
       "<!-- trailing -->\n",
       "", "<&>\"'AB&unknown;"},
      {"<a bogus=\"1\"><label>2</label></a>",
       wrapped("file possibly not valid.\n\tPrevious attribute names were not used.", 1), "2"},
      {"<a>\n<label bogus=\"1\">2</label></a>", notWellFormed("Some attribute were not used.", 2), "2"},
      {"<a><unknown bogus=\"1\"><deeper also=\"2\"/></unknown><label>2</label></a>", "", "2"},
      // At the limits: elements nested 256 deep, a name of 4096 characters, 1024 attributes.
      {"<a><label>2</label>" + repeated(255, [](int) { return "<e>"; }) +
           repeated(255, [](int) { return "</e>"; }) + "</a>",
       "", "2"},
      {"<" + std::string(4096, 'n') + "/>", "", ""},
      {"<a" + attributes(1024) + "/>", notWellFormed("Some attribute were not used.", 1), ""}};
  for (const auto& [document, messages, label] : cases) {
    KtTestOtherLeaf leaf;
    EXPECT_EQ(ktTestReadPrinting(leaf, document, "bad.xml"), std::pair(true, messages)) << document;
    EXPECT_EQ(leaf.m_label.value(), label) << document;
  }
}

// Whatever is done to a valid document (cut short, bytes replaced, parts repeated), the
// reader ends: either the document still reads, or a message explains why not (an error,
// or the warning about an incompatible version).
TEST(KtXmlReader, survivesDamagedDocuments) {
  TestRandom rng(7);
  KtTestEverything source;
  fillRandomly(source, rng);
  const std::string document = ktTestWrite(source), specials = "<>/=\"'!-?&# \n";
  const auto anywhere = [&rng](const std::string& text) {
    return static_cast<std::size_t>(rng.integer(0, static_cast<int>(text.size()) - 1));
  };
  for (int i = 0; i < TestRandom::cases(); ++i) {
    std::string damaged = document;
    const int kind = rng.integer(0, 2);
    if (kind == 0) damaged.resize(anywhere(document));
    for (int n = kind == 1 ? rng.integer(1, 4) : 0; n > 0; --n)
      damaged[anywhere(damaged)] =
          rng.integer(0, 1) ? specials[anywhere(specials)] : char(rng.integer(0, 255));
    if (kind == 2) {
      const std::size_t from = anywhere(damaged);
      damaged.insert(from, damaged.substr(from, static_cast<std::size_t>(rng.integer(1, 40))));
    }
    PrintCapture capture;
    KtTestEverything target;
    EXPECT_TRUE(ktTestRead(target, damaged) || !capture.messages().empty()) << damaged;
  }
}

// Serves its text in one block and then fails, as a disk might in the middle of a document.
class FailingAfterText : public std::streambuf {
 public:
  explicit FailingAfterText(std::string text) : m_text(std::move(text)) {}

 protected:
  std::streamsize xsgetn(char* into, std::streamsize) override {
    if (m_served) throw std::ios_base::failure("read error");
    m_served = true;
    m_text.copy(into, m_text.size());
    return static_cast<std::streamsize>(m_text.size());
  }

 private:
  std::string m_text;
  bool m_served = false;
};

// A stream that fails to read (a directory opened as a file, or an error mid-document) ends the
// load with a message at the line reached, also when what came before was a whole document.
TEST(KtXmlReader, reportsReadErrorsOfTheStream) {
  const std::string readError = "file not readable.\n\tThe stream reported a read error.";
  const std::pair<std::string, int> cases[] = {{"<a>\n<value>1</value>\n", 3}, {"<a/>\n", 2}};
  const TempDirectory directory;
  for (const auto& [text, line] : cases) {
    FailingAfterText failing(text);
    std::istream stream(&failing);
    std::ifstream opened(directory.path());  // a directory
    ASSERT_TRUE(opened.is_open());
    PrintCapture capture;
    KtTestLeaf leaf;
    EXPECT_FALSE(ktReadObjectFromStream(leaf, stream, "bad.xml") ||
                 ktReadObjectFromStream(leaf, opened, "bad.xml"));
    EXPECT_EQ(capture.text(), wrapped(readError, line) + wrapped(readError, 1)) << text;
  }
}

// The children of an element come back as a document fragment of their own (namespaces declared,
// attributes with their namespaces, xsi:type naming a declared type, text with its inner blanks,
// nil elements marked), the element's end tag taken; an early end is reported.
TEST(KtXmlReader, givesChildrenAsText) {
  std::istringstream in(
      "<sm:keeper xmlns:sm=\"http://kt.example.org/namespace/sm\" "
      "xmlns:ct=\"http://kt.example.org/namespace/ct\">"
      "<sm:environment kind=\"room\"><ct:wall height=\"2.5\" ct:side=\"north\" xsi:type=\"ct:wallType\">"
      "<ct:corner>1 2 3</ct:corner><ct:corner/></ct:wall>"
      "<floor>oak  and\n  wood</floor></sm:environment><sm:count>3</sm:count></sm:keeper>");
  KtXmlReader reader(in, "x.xml");
  ASSERT_TRUE(reader.enterElement() && reader.enterElement());
  std::string text;
  ASSERT_TRUE(reader.getChildrenAsString(text));
  EXPECT_EQ(text,
            "<ct:wall xmlns:ct=\"http://kt.example.org/namespace/ct\" height=\"2.5\" ct:side=\"north\" "
            "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:type=\"ct:wallType\">\n"
            " <ct:corner>1 2 3</ct:corner>\n"
            " <ct:corner xsi:nil=\"true\"/>\n"
            "</ct:wall>\n"
            "<sm:floor xmlns:sm=\"http://kt.example.org/namespace/sm\">oak  and\n  wood</sm:floor>\n");
  EXPECT_EQ(reader.depth(), 1u) << "the element's end tag is taken";
  EXPECT_EQ(reader.peek(), KtXmlItem::StartTag);
  ASSERT_TRUE(reader.enterElement() && reader.getChildrenAsString(text));
  EXPECT_EQ(text, "3\n");

  PrintCapture capture;
  std::istringstream early("<sm:keeper xmlns:sm=\"s\"><sm:environment><sm:a/>");
  KtXmlReader cut(early, "x.xml");
  ASSERT_TRUE(cut.enterElement() && cut.enterElement());
  EXPECT_FALSE(cut.getChildrenAsString(text));
  EXPECT_EQ(capture.text(), "getChildrenAsString Error: end of file too early -- expecting start tag.");
}

}  // namespace

#include "xml/KtXmlReader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

std::string wrapped(const std::string& text, int line) {
  return "KtXmlFileReader Error: " + text + "\n\tFile: bad.xml\n\tLine: " + std::to_string(line) + "\n";
}

std::string notWellFormed(const std::string& text, int line) {
  return wrapped("file not well formed.\n\t" + text, line);
}

struct ReadResult {
  bool read;
  std::string messages;
};

ReadResult readLeaf(const std::string& document) {
  PrintCapture capture;
  KtTestLeaf leaf;
  const bool read = ktTestRead(leaf, document, "bad.xml");
  return {read, capture.text()};
}

// Every well-formedness error of the tokenizer, each on a minimal document.
TEST(KtXmlReader, reportsEachMalformedDocumentExactly) {
  struct Case {
    const char* document;
    std::string message;
  };
  const Case cases[] = {
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
  };
  for (const Case& c : cases) {
    const ReadResult result = readLeaf(c.document);
    EXPECT_FALSE(result.read) << c.document;
    EXPECT_EQ(result.messages, c.message) << c.document;
  }
}

// Unused attributes are reported once, at the moment the reader leaves their start tag,
// and do not fail the read.
TEST(KtXmlReader, reportsUnusedAttributesWithoutFailing) {
  ReadResult result = readLeaf("<a bogus=\"1\"><value>2</value></a>");
  EXPECT_TRUE(result.read);
  EXPECT_EQ(result.messages,
            wrapped("file possibly not valid.\n\tPrevious attribute names were not used.", 1));
  result = readLeaf("<a>\n<value bogus=\"1\">2</value></a>");
  EXPECT_TRUE(result.read);
  EXPECT_EQ(result.messages, notWellFormed("Some attribute were not used.", 2));
  // Attributes of a skipped element are not looked at.
  result = readLeaf("<a><unknown bogus=\"1\"><deeper also=\"2\"/></unknown></a>");
  EXPECT_TRUE(result.read);
  EXPECT_EQ(result.messages, "");
}

TEST(KtXmlReader, acceptsTheUsualProlog) {
  const ReadResult result = readLeaf(
      "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<?xml-stylesheet href=\"x.xsl\"?>\n"
      "<!DOCTYPE a [ <!ELEMENT a ANY> <!ENTITY e \"&#60;\"> ]>\n<!-- comment -->\n"
      "<a><value><!-- inside -->1.5</value><?pi in content?></a>\n<!-- trailing -->\n");
  EXPECT_TRUE(result.read);
  EXPECT_EQ(result.messages, "");
}

TEST(KtXmlReader, decodesPredefinedEntitiesAndReferencesOnly) {
  KtTestOtherLeaf leaf;
  ASSERT_TRUE(ktTestRead(leaf, "<a><label>&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&unknown;</label></a>"));
  EXPECT_EQ(leaf.m_label.value(), "<&>\"'AB&unknown;");
}

TEST(KtXmlReader, enforcesItsLimits) {
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<e>";
  ReadResult result = readLeaf(deep);
  EXPECT_FALSE(result.read);
  EXPECT_EQ(result.messages, wrapped("file too complex.\n\tElements nested deeper than 256 levels.", 1));

  result = readLeaf("<" + std::string(5000, 'n') + "/>");
  EXPECT_FALSE(result.read);
  EXPECT_EQ(result.messages, wrapped("file too large.\n\tName exceeds the length limit.", 1));

  std::string attributes = "<a";
  for (int i = 0; i < 1100; ++i) attributes += " a" + std::to_string(i) + "=\"\"";
  result = readLeaf(attributes + "/>");
  EXPECT_FALSE(result.read);
  EXPECT_EQ(result.messages, wrapped("file too large.\n\tToo many attributes on one tag.", 1));
}

// Whatever is done to a valid document (cut short, bytes replaced, parts repeated), the
// reader ends: either the document still reads, or a message explains why not (an error,
// or the warning about an incompatible version).
TEST(KtXmlReader, survivesDamagedDocuments) {
  KtTestEverything source;
  source.m_reals = std::vector<KtReal>{1.0, 2.5, -3.0};
  source.m_words = std::vector<std::string>{"a", "b"};
  source.m_leaves.push_back(KtTestLeaf());
  const std::string document = ktTestWrite(source);
  TestRandom rng(7);
  const std::string specials = "<>/=\"'!-?&# \n";
  for (int i = 0; i < TestRandom::cases(); ++i) {
    std::string damaged = document;
    switch (rng.integer(0, 2)) {
      case 0:
        damaged.resize(static_cast<std::size_t>(rng.integer(0, static_cast<int>(document.size()))));
        break;
      case 1:
        for (int n = rng.integer(1, 4); n > 0; --n) {
          const auto at = static_cast<std::size_t>(rng.integer(0, static_cast<int>(damaged.size()) - 1));
          damaged[at] = rng.integer(0, 1) ? specials[static_cast<std::size_t>(rng.integer(0, 12))]
                                          : static_cast<char>(rng.integer(0, 255));
        }
        break;
      default: {
        const auto from = static_cast<std::size_t>(rng.integer(0, static_cast<int>(damaged.size()) - 1));
        damaged.insert(from, damaged.substr(from, static_cast<std::size_t>(rng.integer(1, 40))));
      }
    }
    PrintCapture capture;
    KtTestEverything target;
    const bool read = ktTestRead(target, damaged);
    if (!read) {
      EXPECT_FALSE(capture.messages().empty()) << damaged;
    }
  }
}

}  // namespace

namespace {

const char* const kPassedOn =
    "<sm:keeper xmlns:sm=\"http://kt.example.org/namespace/sm\" "
    "xmlns:ct=\"http://kt.example.org/namespace/ct\">"
    "<sm:environment kind=\"room\"><ct:wall height=\"2.5\"><ct:corner>1 2 "
    "3</ct:corner><ct:corner/></ct:wall>"
    "<floor>wood</floor></sm:environment><sm:count>3</sm:count></sm:keeper>";

TEST(KtXmlReader, givesChildrenAsText) {
  std::istringstream in(kPassedOn);
  KtXmlReader reader(in, "x.xml");
  ASSERT_TRUE(reader.enterElement());
  ASSERT_TRUE(reader.enterElement());
  std::string text;
  ASSERT_TRUE(reader.getChildrenAsString(text));
  EXPECT_EQ(text,
            "<ct:wall xmlns:ct=\"http://kt.example.org/namespace/ct\" height=\"2.5\">\n"
            " <ct:corner>1 2 3</ct:corner>\n"
            " <ct:corner xsi:nil=\"true\"/>\n"
            "</ct:wall>\n"
            "<sm:floor xmlns:sm=\"http://kt.example.org/namespace/sm\">wood</sm:floor>\n");
  EXPECT_EQ(reader.depth(), 1u) << "the element's end tag is taken";
  EXPECT_EQ(reader.peek(), KtXmlItem::StartTag);
  ASSERT_TRUE(reader.enterElement());
  ASSERT_TRUE(reader.getChildrenAsString(text));
  EXPECT_EQ(text, "3\n");
}

TEST(KtXmlReader, childrenAsTextReportsADocumentEndingEarly) {
  PrintCapture capture;
  std::istringstream in("<sm:keeper xmlns:sm=\"s\"><sm:environment><sm:a/>");
  KtXmlReader reader(in, "x.xml");
  ASSERT_TRUE(reader.enterElement());
  ASSERT_TRUE(reader.enterElement());
  std::string text;
  EXPECT_FALSE(reader.getChildrenAsString(text));
  EXPECT_EQ(capture.text(), "getChildrenAsString Error: end of file too early -- expecting start tag.");
}

}  // namespace

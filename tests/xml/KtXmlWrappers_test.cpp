#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

// Reads a document into a fresh object and checks everything it printed.
KtTestEverything readPrinting(const std::string& document, const std::string& messages = "") {
  KtTestEverything read;
  EXPECT_EQ(ktTestReadPrinting(read, document), std::pair(true, messages));
  return read;
}

// Every wrapper reads back what it wrote, and writing what was read gives the same text.
TEST(KtXmlWrappers, roundTripRandomObjects) {
  TestRandom rng(5);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    KtTestEverything original;
    fillRandomly(original, rng);
    const std::string text = ktTestWrite(original);
    const KtTestEverything read = readPrinting(text);
    EXPECT_TRUE(read.isEqual(original)) << text;
    EXPECT_EQ(ktTestWrite(read), text);
  }
}

// An empty vector of numbers has no group. The size attribute is only a hint: the entries
// decide, and they replace what the vector held.
TEST(KtXmlWrappers, entriesDecideTheContentOfVectorsAndSets) {
  const std::string text = ktTestWrite(KtTestEverything());
  EXPECT_NE(text.find("<ct:reals size=\"0\"/>"), std::string::npos) << text;
  KtTestEverything read;
  read.m_reals.push_back(1.0);
  ASSERT_TRUE(ktTestRead(read, text));
  EXPECT_TRUE(read.m_reals.empty());
  ASSERT_TRUE(ktTestRead(read,
                         "<e><reals size=\"99999999999\"><group>1 2\n3</group></reals>"
                         "<set size=\"1\"><group>5 5 6</group></set></e>"));
  EXPECT_EQ(read.m_reals.value(), (std::vector<KtReal>{1, 2, 3}));
  EXPECT_EQ(read.m_set.value(), (std::set<long>{5, 6}));
}

// An orientation with three attributes loads with a warning: q3 keeps its former value (0) and
// the quaternion is normalised. Orientations and vectors with content are reported, and reading
// goes on after them.
TEST(KtXmlWrappers, orientationAndVectorAreEmptyElementsWithAllTheirAttributes) {
  EXPECT_EQ(readPrinting("<e><orientation q0=\"0\" q1=\"0\" q2=\"1\"/></e>",
                         "KtXmlVector Warning: 4 attributes needed, but 3 were found")
                .m_orientation.value(),
            Kt::Orientation(0, 0, 1, 0));
  const KtTestEverything read = readPrinting(
      "<e>\n<orientation q0=\"0\" q1=\"1\" q2=\"0\" q3=\"0\"><x/></orientation>\n"
      "<vector x=\"1\" y=\"2\" z=\"3\">4</vector><real>2</real></e>",
      "KtXmlOrientation Error: file not well formed.\n\tEnd tag needed.\n\tFile: test.xml\n\tLine: 2"
      "KtXmlVector Error: file not well formed.\n\tEnd tag needed.\n\tFile: test.xml\n\tLine: 3");
  EXPECT_EQ(read.m_real, 2.0);
}

TEST(KtXmlWrappers, variableVectorSkipsAndReportsUnknownEntries) {
  const KtTestEverything read = readPrinting(
      "<e xmlns:sm=\"http://kt.example.org/namespace/sm\"><variety>\n"
      "<sm:testLeaf><value>1</value></sm:testLeaf>\n"
      "<sm:mystery><value>2</value></sm:mystery>\n"
      "<sm:testOtherLeaf><label>three</label></sm:testOtherLeaf>\n"
      "</variety></e>",
      "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#mystery could not "
      "be read and is skipped.\n\tFile: test.xml\n\tLine: 3\n");
  ASSERT_EQ(read.m_variety.size(), 2u);
  EXPECT_EQ(read.m_variety[0].m_value, 1.0);
  EXPECT_EQ(dynamic_cast<const KtTestOtherLeaf&>(read.m_variety[1]).m_label.value(), "three");
}

// Enumerations are written as words and read from words or numbers (an unknown word is
// refused, see below), and a value without a word is written as its number. Incomplete map entries are
// skipped.
TEST(KtXmlWrappers, enumerationsAndMapsReadWhatTheyCan) {
  EXPECT_EQ(readPrinting("<e><joint>prismatic</joint></e>").m_joint, KtTestJoint::prismatic);
  KtTestEverything read;
  read.m_joint = KtTestJoint::prismatic;
  ASSERT_TRUE(ktTestRead(read, "<e><joint>0</joint></e>"));
  EXPECT_EQ(read.m_joint, KtTestJoint::rotational);
  read.m_joint = static_cast<KtTestJoint>(7);
  EXPECT_NE(ktTestWrite(read).find("<ct:joint>7</ct:joint>"), std::string::npos);
  EXPECT_EQ(readPrinting("<e><map><entry><value>1</value></entry><entry><value>2</value><key>b</key></entry>"
                         "<entry><key>c</key></entry></map></e>")
                .m_map.value(),
            (std::map<std::string, KtReal>{{"b", 2.0}}));
}

// Attribute texts: a leading '+' but no trailing characters, booleans as 1/0/true/false. A
// number field refuses NaN and the infinities in every spelling; a field that may be
// unlimited takes the infinities, reads back the schema spellings it writes, and still
// refuses NaN.
TEST(KtXmlWrappers, basicTypesParseAndFormatText) {
  KtXmlBasicType<KtReal> number;
  KtXmlBasicType<KtReal, KtXmlReals::finiteOrInfinite> limit;
  std::string text;
  EXPECT_TRUE(number.readText("+2e3") && number == 2000.0);
  EXPECT_FALSE(number.readText("2e3x"));
  KtXmlBasicType<bool> flag;
  EXPECT_TRUE(flag.readText("1") && flag);
  EXPECT_FALSE(flag.readText("yes"));
  for (const char* spelling : {"1.5", "INF", "-INF"}) {
    ASSERT_TRUE(limit.readText(spelling)) << spelling;
    text.clear();
    ASSERT_TRUE(limit.writeText(text));
    EXPECT_EQ(text, spelling);
  }
  number = 1.0;
  for (const char* spelling : {"INF", "-INF", "inf", "+Infinity", "-infinity"}) {
    EXPECT_TRUE(limit.readText(spelling) && std::isinf(limit.value())) << spelling;
    EXPECT_FALSE(number.readText(spelling)) << spelling;
  }
  for (const char* spelling : {"NaN", "nan", "-nan", "nan(7)"}) {
    EXPECT_FALSE(limit.readText(spelling) || number.readText(spelling)) << spelling;
  }
  EXPECT_EQ(number, 1.0);
}

// Values that a field cannot take leave it as it was, each with one warning that names the
// element or attribute, the text, the document and the line: words that are not numbers,
// numbers out of range, NaN and the infinities, unknown enumeration words, and lists of
// numbers with one bad entry (refused as a whole). A matrix whose entries do not fit its shape
// is left as it was.
TEST(KtXmlWrappers, valuesThatCannotBeTakenAreReportedAndSkipped) {
  TestRandom rng(11);
  KtTestEverything original;
  fillRandomly(original, rng);
  const auto skipped = [](const char* className, const char* kind, const char* name, const char* text,
                          const char* why, const char* left) {
    return std::string(className) + " Warning: " + kind + " " + name + ": value \"" + text + "\" " + why +
           "; the " + left + " is skipped.\n\tFile: test.xml\n\tLine: 1\n";
  };
  const char* const unreadable = "cannot be read";
  const char* const infinite = "is not finite";
  const auto element = [&skipped](const char* name, const char* text, const char* why) {
    return skipped("KtXmlBasicType", "element", name, text, why, "element");
  };
  const struct {
    std::string document;
    std::string messages;
  } cases[] = {
      {"<e><real>abc</real></e>", element("real", "abc", unreadable)},
      {"<e><real>0,5</real></e>", element("real", "0,5", unreadable)},
      {"<e><real>1e309</real></e>", element("real", "1e309", unreadable)},
      {"<e><real>-Infinity</real></e>", element("real", "-Infinity", infinite)},
      {"<e><single>nan</single></e>", element("single", "nan", infinite)},
      {"<e><flag>maybe</flag></e>", element("flag", "maybe", unreadable)},
      {"<e><count>2.5</count></e>", element("count", "2.5", unreadable)},
      {"<e><pair><first>one</first></pair></e>", element("first", "one", unreadable)},
      {"<e><joint>craigg</joint></e>",
       skipped("KtXmlEnumType", "element", "joint", "craigg", unreadable, "element")},
      {"<e tag=\"0x1\"/>", skipped("KtXmlCompoundType", "attribute", "tag", "0x1", unreadable, "attribute")},
      {"<e><reals size=\"3\"><group>1 abc 3</group></reals></e>",
       skipped("KtXmlVectorType", "element", "reals", "abc", unreadable, "list")},
      {"<e><reals><group>1 2</group><group>INF</group></reals></e>",
       skipped("KtXmlVectorType", "element", "reals", "INF", infinite, "list")},
      {"<e><set><group>4 5.5</group></set></e>",
       skipped("KtXmlVectorType", "element", "set", "5.5", unreadable, "list")},
      {"<e><matrix rows=\"1\" columns=\"2\">1 NaN</matrix></e>",
       skipped("KtReArray", "element", "matrix", "NaN", infinite, "list")},
      {"<e><matrix rows=\"1\" columns=\"2\">1 x</matrix></e>",
       skipped("KtReArray", "element", "matrix", "x", unreadable, "list")},
      // Entries that do not fit the shape, however large it claims to be.
      {"<e><matrix rows=\"2\" columns=\"2\">1 2 3</matrix></e>", ""},
      {"<e><matrix rows=\"1\" columns=\"2\">1 2 3</matrix></e>", ""},
      {"<e><matrix rows=\"4611686018427387904\" columns=\"4\">1 2 3 4</matrix></e>", ""},
      {"<e><matrix rows=\"2\">1 2</matrix></e>", ""},
      {"<e><vector x=\"a\" y=\"-inf\" z=\"1e999\"/></e>",
       skipped("KtXmlVector", "attribute", "x", "a", unreadable, "attribute") +
           skipped("KtXmlVector", "attribute", "y", "-inf", infinite, "attribute") +
           skipped("KtXmlVector", "attribute", "z", "1e999", unreadable, "attribute")},
  };
  for (const auto& [document, messages] : cases) {
    KtTestEverything read(original);
    EXPECT_EQ(ktTestReadPrinting(read, document), std::pair(true, messages)) << document;
    EXPECT_TRUE(read.isEqual(original)) << document;
  }
  EXPECT_EQ(readPrinting("<e><orientation q0=\"0\" q1=\"0\" q2=\"1\" q3=\"NaN\"/></e>",
                         skipped("KtXmlOrientation", "attribute", "q3", "NaN", infinite, "attribute"))
                .m_orientation.value(),
            Kt::Orientation(0, 0, 1, 0));
}

}  // namespace

// The matrix reports under the name of its persistent class.
TEST(KtXmlWrappers, matrixReportsUnderItsOwnName) {
  PrintCapture capture;
  Kt::ReArray::Pivots pivots;
  KtReArray tall(3, 2);
  EXPECT_FALSE(tall.LUDecomposition(0, pivots));
  EXPECT_EQ(capture.text().rfind("KtReArray::", 0), 0u) << capture.text();
}

// What the reader would refuse is written all the same, so that the document shows it, but
// each value is reported and the document counts as not written.
TEST(KtXmlWrappers, writerReportsValuesTheReaderWouldRefuse) {
  const double infinity = std::numeric_limits<double>::infinity();
  KtTestEverything e;
  e.m_real = std::nan("");
  e.m_map["m"] = infinity;
  e.m_reals.push_back(-infinity);
  e.m_vector = Kt::Vector(0, infinity, 0);
  PrintCapture capture;
  std::ostringstream out;
  EXPECT_FALSE(ktWriteObjectToStream(e, out, "test.xml"));
  const auto refused = [](const char* kind, const char* name, const char* text) {
    return "KtXmlWriter Error: " + std::string(kind) + " " + name + ": value " + text +
           " is not finite and will not read back.\n\tFile: test.xml\n";
  };
  EXPECT_EQ(capture.text(), refused("element", "ct:value", "INF") + refused("element", "ct:real", "NaN") +
                                refused("element", "ct:group", "-INF") + refused("attribute", "y", "INF"));
  EXPECT_NE(out.str().find("<ct:real>NaN</ct:real>"), std::string::npos);
}

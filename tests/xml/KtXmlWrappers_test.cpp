#include <gtest/gtest.h>

#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

// Reads a document into a fresh object and checks everything it printed.
KtTestEverything readPrinting(const std::string& document, const std::string& messages = "") {
  PrintCapture capture;
  KtTestEverything read;
  EXPECT_TRUE(ktTestRead(read, document)) << document;
  EXPECT_EQ(capture.text(), messages) << document;
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

// Enumerations are written as words and read from words or numbers; an unknown word leaves the
// value alone, and a value without a word is written as its number. Incomplete map entries are
// skipped.
TEST(KtXmlWrappers, enumerationsAndMapsReadWhatTheyCan) {
  EXPECT_EQ(readPrinting("<e><joint>prismatic</joint></e>").m_joint, KtTestJoint::prismatic);
  KtTestEverything read;
  read.m_joint = KtTestJoint::prismatic;
  ASSERT_TRUE(ktTestRead(read, "<e><joint>0</joint></e>"));
  EXPECT_EQ(read.m_joint, KtTestJoint::rotational);
  read.m_joint = KtTestJoint::prismatic;
  ASSERT_TRUE(ktTestRead(read, "<e><joint>sideways</joint></e>"));
  EXPECT_EQ(read.m_joint, KtTestJoint::prismatic);
  read.m_joint = static_cast<KtTestJoint>(7);
  EXPECT_NE(ktTestWrite(read).find("<ct:joint>7</ct:joint>"), std::string::npos);
  EXPECT_EQ(readPrinting("<e><map><entry><value>1</value></entry><entry><value>2</value><key>b</key></entry>"
                         "<entry><key>c</key></entry></map></e>")
                .m_map.value(),
            (std::map<std::string, KtReal>{{"b", 2.0}}));
}

// Attribute texts: a leading '+' but no trailing characters, booleans as 1/0/true/false, and
// the schema spellings of the special values.
TEST(KtXmlWrappers, basicTypesParseAndFormatText) {
  KtXmlBasicType<KtReal> number;
  std::string text;
  EXPECT_TRUE(number.readText("+2e3") && number == 2000.0);
  EXPECT_FALSE(number.readText("2e3x"));
  KtXmlBasicType<bool> flag;
  EXPECT_TRUE(flag.readText("1") && flag);
  EXPECT_FALSE(flag.readText("yes"));
  for (const char* spelling : {"1.5", "INF", "-INF", "NaN"}) {
    ASSERT_TRUE(number.readText(spelling)) << spelling;
    text.clear();
    ASSERT_TRUE(number.writeText(text));
    EXPECT_EQ(text, spelling);
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

// Every wrapper reads back what it wrote, and writing what was read gives the same text.
TEST(KtXmlWrappers, roundTripRandomObjects) {
  TestRandom rng(5);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    KtTestEverything original;
    fillRandomly(original, rng);
    const std::string text = ktTestWrite(original);
    PrintCapture capture;
    KtTestEverything read;
    ASSERT_TRUE(ktTestRead(read, text)) << text;
    EXPECT_EQ(capture.text(), "");
    EXPECT_TRUE(read.isEqual(original)) << text;
    EXPECT_EQ(ktTestWrite(read), text);
  }
}

TEST(KtXmlWrappers, emptyVectorOfNumbersHasNoGroup) {
  KtTestEverything empty;
  const std::string text = ktTestWrite(empty);
  EXPECT_NE(text.find("<ct:reals size=\"0\"/>"), std::string::npos) << text;
  KtTestEverything read;
  read.m_reals.push_back(1.0);
  ASSERT_TRUE(ktTestRead(read, text));
  EXPECT_TRUE(read.m_reals.empty());
}

// The size attribute is only a hint: the entries decide.
TEST(KtXmlWrappers, entriesWinOverTheSizeAttribute) {
  KtTestEverything read;
  ASSERT_TRUE(ktTestRead(read,
                         "<e><reals size=\"99999999999\"><group>1 2\n3</group></reals>"
                         "<set size=\"1\"><group>5 5 6</group></set></e>"));
  EXPECT_EQ(read.m_reals.value(), (std::vector<KtReal>{1, 2, 3}));
  EXPECT_EQ(read.m_set.value(), (std::set<long>{5, 6}));
}

TEST(KtXmlWrappers, orientationWithThreeAttributesLoadsWithAWarning) {
  PrintCapture capture;
  KtTestEverything read;
  ASSERT_TRUE(ktTestRead(read, "<e><orientation q0=\"0\" q1=\"0\" q2=\"1\"/></e>"));
  EXPECT_EQ(capture.text(), "KtXmlVector Warning: 4 attributes needed, but 3 were found");
  // q3 keeps its former value (0), and the quaternion is normalised.
  EXPECT_EQ(read.m_orientation.value(), Kt::Orientation(0, 0, 1, 0));
}

TEST(KtXmlWrappers, orientationAndVectorMustBeEmptyElements) {
  PrintCapture capture;
  KtTestEverything read;
  ASSERT_TRUE(ktTestRead(read,
                         "<e>\n<orientation q0=\"0\" q1=\"1\" q2=\"0\" q3=\"0\"><x/></orientation>\n"
                         "<vector x=\"1\" y=\"2\" z=\"3\">4</vector><real>2</real></e>"));
  EXPECT_EQ(capture.text(),
            "KtXmlOrientation Error: file not well formed.\n\tEnd tag needed.\n\tFile: test.xml\n\tLine: 2"
            "KtXmlVector Error: file not well formed.\n\tEnd tag needed.\n\tFile: test.xml\n\tLine: 3");
  EXPECT_EQ(read.m_real, 2.0) << "reading goes on after the broken element";
}

TEST(KtXmlWrappers, variableVectorSkipsAndReportsUnknownEntries) {
  PrintCapture capture;
  KtTestEverything read;
  ASSERT_TRUE(ktTestRead(read,
                         "<e xmlns:sm=\"http://kt.example.org/namespace/sm\"><variety>\n"
                         "<sm:testLeaf><value>1</value></sm:testLeaf>\n"
                         "<sm:mystery><value>2</value></sm:mystery>\n"
                         "<sm:testOtherLeaf><label>three</label></sm:testOtherLeaf>\n"
                         "</variety></e>"));
  EXPECT_EQ(capture.text(),
            "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#mystery could not be "
            "read and "
            "is skipped.\n\tFile: test.xml\n\tLine: 3\n");
  ASSERT_EQ(read.m_variety.size(), 2u);
  EXPECT_EQ(read.m_variety[0].m_value, 1.0);
  EXPECT_EQ(dynamic_cast<KtTestOtherLeaf&>(read.m_variety[1]).m_label.value(), "three");
}

TEST(KtXmlWrappers, enumerationsAreWordsAndAcceptNumbers) {
  KtTestEverything read;
  ASSERT_TRUE(ktTestRead(read, "<e><joint>prismatic</joint></e>"));
  EXPECT_EQ(read.m_joint, KtTestJoint::prismatic);
  ASSERT_TRUE(ktTestRead(read, "<e><joint>0</joint></e>"));
  EXPECT_EQ(read.m_joint, KtTestJoint::rotational);
  ASSERT_TRUE(ktTestRead(read, "<e><joint>sideways</joint></e>"));
  EXPECT_EQ(read.m_joint, KtTestJoint::rotational) << "an unknown word leaves the value alone";
  read.m_joint = static_cast<KtTestJoint>(7);
  EXPECT_NE(ktTestWrite(read).find("<ct:joint>7</ct:joint>"), std::string::npos);
}

TEST(KtXmlWrappers, incompleteMapEntriesAreSkipped) {
  KtTestEverything read;
  ASSERT_TRUE(ktTestRead(read,
                         "<e><map><entry><value>1</value></entry><entry><value>2</value><key>b</key></entry>"
                         "<entry><key>c</key></entry></map></e>"));
  EXPECT_EQ(read.m_map.value(), (std::map<std::string, KtReal>{{"b", 2.0}}));
}

TEST(KtXmlWrappers, basicTypesStandInForTheirValues) {
  KtXmlBasicType<KtReal> theta = 0.5;
  theta += 0.25;
  theta *= 2.0;
  EXPECT_EQ(std::sin(theta), std::sin(1.5));
  KtXmlBasicType<std::string> label = std::string("x");
  EXPECT_EQ(label.value().size(), 1u);
  std::string text;
  ASSERT_TRUE(theta.writeText(text));
  EXPECT_EQ(text, "1.5");
  EXPECT_TRUE(theta.readText("+2e3"));
  EXPECT_EQ(theta, 2000.0);
  EXPECT_FALSE(theta.readText("2e3x"));
  KtXmlBasicType<bool> flag;
  EXPECT_TRUE(flag.readText("1"));
  EXPECT_TRUE(flag);
  EXPECT_FALSE(flag.readText("yes"));
  KtXmlBasicType<double> special;
  for (const char* spelling : {"INF", "-INF", "NaN"}) {
    ASSERT_TRUE(special.readText(spelling)) << spelling;
    text.clear();
    special.writeText(text);
    EXPECT_EQ(text, spelling);
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"
#include "xml/KtStreamTestFiles.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlLimits.h"
#include "xml/KtXmlTextDocuments.h"
#include "xml/KtXmlWriter.h"

using namespace manipulator_test;

namespace {

// A stated system whose every uninterpreted element holds nested content, attributes and
// lists, written the way other programs might lay it out.
const char* const kDocumentWithUnknownParts = R"(<?xml version="1.0"?>
<sm:statedSystem xmlns:sm="http://kt.example.org/namespace/sm" xmlns:ct="http://kt.example.org/namespace/ct" version="2.0.0">
  <sm:processingParameters><sm:stepCount>12</sm:stepCount><ct:gain kind="soft">0.5 0.25</ct:gain></sm:processingParameters>
  <sm:system>
    <sm:environment><sm:plane normal="0 0 1"/><sm:label>floor of the cell</sm:label></sm:environment>
    <sm:linkInteractionsVector size="1"><sm:element><sm:pair a="1" b="2"/></sm:element></sm:linkInteractionsVector>
    <sm:manipulators>
      <sm:individualManipulator>
        <sm:identifier>arm</sm:identifier>
        <sm:surfaces><sm:surface id="3">1 2 3 4 5 6 7 8 9 10 11 12</sm:surface></sm:surfaces>
        <sm:childLinks>
          <sm:manipulatorLink>
            <sm:identifier>first</sm:identifier>
            <sm:shapeContainer><sm:sphere radius="0.1"/></sm:shapeContainer>
            <sm:massProperties><sm:mass>2.5</sm:mass></sm:massProperties>
            <sm:springProperties><sm:stiffness>100</sm:stiffness></sm:springProperties>
            <sm:linkKinematicsContainer>
              <sm:denavitHartenberg><sm:dhType>craig</sm:dhType><sm:a>0.25</sm:a></sm:denavitHartenberg>
            </sm:linkKinematicsContainer>
          </sm:manipulatorLink>
        </sm:childLinks>
      </sm:individualManipulator>
    </sm:manipulators>
  </sm:system>
</sm:statedSystem>
)";

// A stated system whose processing parameters and first link's shapes are given.
std::string documentKeeping(const std::string& kept) {
  return R"(<?xml version="1.0"?>
<sm:statedSystem xmlns:sm="http://kt.example.org/namespace/sm" xmlns:ct="http://kt.example.org/namespace/ct"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" version="2.0.0">
  <sm:processingParameters>)" +
         kept + R"(</sm:processingParameters>
  <sm:system><sm:manipulators><sm:individualManipulator><sm:childLinks><sm:manipulatorLink>
    <sm:shapeContainer>)" +
         kept + R"(</sm:shapeContainer>
  </sm:manipulatorLink></sm:childLinks></sm:individualManipulator></sm:manipulators></sm:system>
</sm:statedSystem>
)";
}

// The deepest element nesting of a document and its widest indentation, counted from the text.
std::pair<std::size_t, std::size_t> nestingAndIndentation(const std::string& text) {
  std::size_t depth = 0, deepest = 0, widest = 0;
  for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
    if (text[at + 1] == '/') {
      --depth;
    } else if (text[at + 1] != '?') {
      deepest = std::max(deepest, ++depth);
      if (text[text.find('>', at) - 1] == '/') --depth;
    }
    const std::size_t lineStart = text.rfind('\n', at) + 1;
    widest = std::max(widest, text.find_first_not_of(' ', lineStart) - lineStart);
  }
  return {deepest, widest};
}

}  // namespace

// The sample documents load silently and save to the same bytes; the compressed sample holds
// the same system as the plain one.
TEST(KtManipulatorDocumentTest, SampleDocumentsAreReproducedByteForByte) {
  for (const char* name : {"craig_arm.xml", "paul_arm.xml", "arm_and_customer.xml"}) {
    const std::string original = readBytes(samplePath(name));
    ASSERT_FALSE(original.empty()) << name;
    KtStatedSystem stated;
    PrintCapture capture;
    ASSERT_TRUE(ktTestRead(stated, original, name)) << name;
    EXPECT_EQ(capture.text(), "") << name;
    EXPECT_EQ(ktTestWrite(stated, name), original) << name;
  }
  KtStatedSystem plain, compressed;
  ASSERT_TRUE(ktReadObjectFromFile(plain, samplePath("craig_arm.xml")));
  ASSERT_TRUE(ktReadObjectFromFile(compressed, samplePath("craig_arm.xml.gz")));
  EXPECT_TRUE(plain.isEqual(compressed));
  EXPECT_TRUE(plain.system().size() == 1u && plain.system().manipulator(0).jointDof() == 7u);
}

TEST(KtManipulatorDocumentTest, UninterpretedElementsSurviveLoadingAndSaving) {
  KtStatedSystem first, second;
  ASSERT_TRUE(ktTestRead(first, kDocumentWithUnknownParts));
  const std::string once = ktTestWrittenTwice(first, second);
  for (const char* kept :
       {"<sm:stepCount>12</sm:stepCount>", "kind=\"soft\">0.5 0.25</ct:gain>", "<sm:plane normal=\"0 0 1\"/>",
        "<sm:label>floor of the cell</sm:label>", "<sm:pair a=\"1\" b=\"2\"/>",
        ">1 2 3 4 5 6 7 8 9 10 11 12</sm:surface>", "<sm:sphere radius=\"0.1\"/>", "<sm:mass>2.5</sm:mass>",
        "<sm:stiffness>100</sm:stiffness>"}) {
    EXPECT_NE(once.find(kept), std::string::npos) << kept;
  }
  EXPECT_EQ(second.system().manipulator(0).link(0).denavitHartenberg()->a(), 0.25);
}

TEST(KtManipulatorDocumentTest, ReadingAParameterDropsCachedFrames) {
  KtStatedSystem stated;
  ASSERT_TRUE(ktReadObjectFromFile(stated, samplePath("craig_arm.xml")));
  KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState active;
  active.activePositionState().setJointPositions(std::vector<double>(7, 0.2));
  arm.link(6).dhFrameInSystem(active);
  std::string text = ktTestWrite(stated, "craig_arm.xml");
  const std::string oldD = "<sm:d>0.33300000000000001821</sm:d>";
  text.replace(text.find(oldD), oldD.size(), "<sm:d>0.5</sm:d>");
  ASSERT_TRUE(ktTestRead(stated, text));
  expectFramesFresh(stated.system().manipulator(0), active);
}

// A link whose limits are not an interval makes the whole document fail, with the place (the
// containers above it then report their entries as unreadable).
TEST(KtManipulatorDocumentTest, InvertedJointLimitsRefuseTheDocument) {
  const std::string document = R"(<?xml version="1.0"?>
<sm:statedSystem xmlns:sm="http://kt.example.org/namespace/sm" version="2.0.0">
  <sm:system><sm:manipulators><sm:individualManipulator><sm:childLinks>
    <sm:manipulatorLink>
      <sm:identifier>elbow</sm:identifier>
      <sm:upperLimitConstraint>-0.5</sm:upperLimitConstraint>
      <sm:lowerLimitConstraint>0.5</sm:lowerLimitConstraint>
    </sm:manipulatorLink>
  </sm:childLinks></sm:individualManipulator></sm:manipulators></sm:system>
</sm:statedSystem>
)";
  KtStatedSystem stated;
  PrintCapture capture;
  EXPECT_FALSE(ktTestRead(stated, document, "limits.xml"));
  EXPECT_EQ(
      capture.text(),
      "KtXmlFileReader Error: manipulatorLink elbow: lower limit 0.5 and upper limit -0.5 do not form an "
      "interval.\n\tFile: limits.xml\n\tLine: 8\n"
      "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#manipulatorLink could not "
      "be read and is skipped.\n\tFile: limits.xml\n\tLine: 8\n"
      "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#individualManipulator "
      "could not be read and is skipped.\n\tFile: limits.xml\n\tLine: 8\n");
}

// A placement, which reads its own children, keeps its first translation and reports the
// second with its line, as every compound element does.
TEST(KtManipulatorDocumentTest, PlacementKeepsItsFirstTranslation) {
  PrintCapture capture;
  KtCoordinateSystemTransformation placement;
  ASSERT_TRUE(ktTestRead(
      placement, "<p><translation x=\"1\" y=\"0\" z=\"0\"/>\n<translation x=\"2\" y=\"0\" z=\"0\"/></p>"));
  EXPECT_EQ(
      capture.text(),
      "KtCoordinateSystemTransformation Warning: element translation appears more than once; the first is "
      "kept.\n\tFile: test.xml\n\tLine: 2\n");
  EXPECT_EQ(placement.translation(), Kt::Vector(1, 0, 0));
}

// A manipulator where links stand, a link where joint kinematics stand, and numbers that are
// not finite are each reported with their line and skipped. Joint limits may be infinite
// (unlimited, the default) but not NaN; what was read writes out and reads back silently.
TEST(KtManipulatorDocumentTest, MisplacedAndNonFiniteElementsAreReportedAndSkipped) {
  const std::string text = R"(<sm:manipulatorSystem xmlns:sm="http://kt.example.org/namespace/sm">
<sm:manipulators><sm:individualManipulator><sm:childLinks>
<sm:individualManipulator><sm:childLinks><sm:manipulatorLink/></sm:childLinks></sm:individualManipulator>
<sm:deformableManipulatorLink><sm:linkKinematicsContainer><sm:manipulatorLink/>
<sm:denavitHartenberg><sm:a>inf</sm:a><sm:d>0.5</sm:d></sm:denavitHartenberg></sm:linkKinematicsContainer>
<sm:upperLimitConstraint>nan</sm:upperLimitConstraint><sm:lowerLimitConstraint>-1</sm:lowerLimitConstraint>
</sm:deformableManipulatorLink><sm:manipulatorLink/>
</sm:childLinks></sm:individualManipulator></sm:manipulators></sm:manipulatorSystem>)";
  const auto refused = [](const char* element, int line) {
    return "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#" +
           std::string(element) +
           " is not accepted here and is skipped.\n\tFile: test.xml\n\tLine: " + std::to_string(line) + "\n";
  };
  const auto notFinite = [](const char* element, const char* value, int line) {
    return "KtXmlBasicType Warning: element " + std::string(element) + ": value \"" + value +
           "\" is not finite; the element is skipped.\n\tFile: test.xml\n\tLine: " + std::to_string(line) +
           "\n";
  };
  PrintCapture capture;
  KtManipulatorSystem system;
  ASSERT_TRUE(ktTestRead(system, text));
  EXPECT_EQ(capture.text(), refused("individualManipulator", 3) + refused("manipulatorLink", 4) +
                                notFinite("a", "inf", 5) + notFinite("upperLimitConstraint", "nan", 6));
  const KtIndividualManipulator& arm = system.manipulator(0);
  ASSERT_EQ(arm.jointDof(), 2u);
  const KtManipulatorLink& link = arm.link(0);
  EXPECT_TRUE(link.isDeformable());
  EXPECT_EQ(link.denavitHartenberg()->a(), 0.0);
  EXPECT_EQ(link.denavitHartenberg()->d(), 0.5);
  EXPECT_EQ(link.upperLimitConstraint(), std::numeric_limits<KtReal>::infinity());
  EXPECT_EQ(link.lowerLimitConstraint(), -1.0);
  EXPECT_EQ(arm.link(1).lowerLimitConstraint(), -std::numeric_limits<KtReal>::infinity());

  capture.clear();
  const std::string once = ktTestWrite(system, "test.xml");
  EXPECT_NE(once.find("<sm:upperLimitConstraint>INF</sm:upperLimitConstraint>"), std::string::npos);
  EXPECT_NE(once.find("<sm:lowerLimitConstraint>-INF</sm:lowerLimitConstraint>"), std::string::npos);
  KtManipulatorSystem again;
  ASSERT_TRUE(ktTestRead(again, once));
  EXPECT_EQ(capture.text(), "");
  EXPECT_TRUE(again.isEqual(system));
}

// A chain nests two elements deeper with each link. Chains are saved with one link more each
// time until the writer refuses: the last one saved is as deep as the reader accepts, reads
// back equal and is indented no further than the cap; the refused save names the element,
// leaves the earlier file as it was and no stray file beside it.
TEST(KtManipulatorDocumentTest, ChainsTooDeepToReadBackAreRefused) {
  TempDirectory directory;
  const std::string name = directory.file("chain.xml");
  KtStatedSystem stated;
  stated.system().addManipulator(makeSerialArm(craigArmRows()));
  KtIndividualManipulator& arm = stated.system().manipulator(0);
  const DhRow row{KtDhType::craig, KtJointType::rotational, 0.1, 0.2, 0.3, 0.0};
  std::string lastSaved;
  KtManipulatorSystem lastSystem;
  PrintCapture capture;
  for (int parent = static_cast<int>(arm.jointDof()) - 1;; ++parent) {
    arm.addLink(parent, makeLink(row, "link"));
    if (arm.jointDof() < 100) continue;
    if (!ktWriteObjectToFile(stated, name)) break;
    ASSERT_LT(arm.jointDof(), ktXmlMaxDepth);
    lastSaved = readBytes(name);
    lastSystem = stated.system();
  }
  EXPECT_EQ(capture.text(),
            "KtXmlWriter Error: element a is nested deeper than 256 levels and could not be read back; the "
            "document is not written.\n\tFile: " +
                name + "\n");
  EXPECT_EQ(readBytes(name), lastSaved);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);
  const auto [deepest, widest] = nestingAndIndentation(lastSaved);
  EXPECT_GE(deepest + 2, ktXmlMaxDepth + 1);
  EXPECT_EQ(widest, KtXmlWriter::kMaxIndentedDepth);
  KtStatedSystem loaded;
  ASSERT_TRUE(ktReadObjectFromFile(loaded, name));
  EXPECT_TRUE(loaded.system().isEqual(lastSystem));
}

// Elements kept unchanged survive any number of loads and saves: the first save shows what
// the original held (names in their namespaces, attributes with theirs, xsi:type naming a
// declared type, text with its inner blanks), each later load holds the same, and every
// later save gives the same bytes. Nothing is reported on the way.
TEST(KtManipulatorDocumentTest, KeptElementsAreAFixedPointOfLoadingAndSaving) {
  const char* const ct = "xmlns:ct=\"http://kt.example.org/namespace/ct\"";
  const std::pair<std::string, std::string> cases[] = {
      // kept snippet, part of the first save
      {R"(<ct:gain ct:kind="soft" sm:unit="N" plain="1">0.5 0.25</ct:gain>)",
       std::string("<ct:gain ") + ct + R"( ct:kind="soft" sm:unit="N" plain="1">0.5 0.25</ct:gain>)"},
      {R"(<sm:shape xsi:type="ct:sphereType" radius="0.1"/><sm:gone xsi:nil="true" note="n"/>)",
       std::string(R"(<sm:shape radius="0.1" )") + ct + R"( xsi:type="ct:sphereType"/>)"},
      {R"(<sm:gone xsi:nil="true" note="n"/><sm:none xsi:nil="1"/>)",
       "<sm:gone note=\"n\" xsi:nil=\"true\"/>\n  <sm:none xsi:nil=\"1\"/>"},
      {R"(<sm:alias xmlns:i="http://www.w3.org/2001/XMLSchema-instance" i:type="ct:boxType" b="2"/>)",
       std::string(R"(<sm:alias b="2" )") + ct + R"( xsi:type="ct:boxType"/>)"},
      {R"(<group xmlns="http://other.example.com/a/b/c/deep/v2"><item k="1">x</item><item/></group>)",
       "<v2:group xmlns:v2=\"http://other.example.com/a/b/c/deep/v2\">\n   <v2:item k=\"1\">x</v2:item>"},
      {R"(<o:thing xmlns:o="http://other.example.com/very/deep/path/to/sm"><o:part o:at="1"><sm:own/></o:part></o:thing>)",
       "<sm2:part sm2:at=\"1\">\n    <sm:own xsi:nil=\"true\"/>"},
      {R"(<p:n xmlns:p="http://one.example.com/x"><q:n xmlns:q="http://two.example.com/x" q:v="2" p:v="1"/></p:n>)",
       R"(<x2:n xmlns:x2="http://two.example.com/x" x2:v="2" x:v="1"/>)"},
      {R"(<s:a xmlns:s="http://other.example.com/ns/"><h:b xmlns:h="http://other.example.com/ns#frag"/></s:a>)",
       R"(<ns2:b xmlns:ns2="http://other.example.com/ns#frag" xsi:nil="true"/>)"},
      {R"(<u:grip xmlns:u="urn:example:robot:grip" xmlns:w="http://w.example.com/xmlish" w:only="&lt;&amp;"/>)",
       R"(<ns:grip xmlns:ns="urn:example:robot:grip" xmlns:ns2="http://w.example.com/xmlish" ns2:only="&lt;&amp;"/>)"},
      {"<sm:label>  two  blanks\tand &lt;tag&gt; &amp; &quot;q&quot; &#233;\n   next line  </sm:label>",
       "two  blanks\tand &lt;tag&gt; &amp; \"q\" \xe9\n   next line\n  </sm:label>"},
      {"<sm:list>1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25</sm:list>",
       "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25\n"},
      {R"(<sm:a><sm:b><sm:c x="1">deep  text</sm:c><ct:d/></sm:b><sm:b/></sm:a>)",
       R"(<sm:c x="1">deep  text</sm:c>)"},
  };
  for (const auto& [snippet, expected] : cases) {
    KtStatedSystem original;
    {
      PrintCapture stateCompleted;  // the document has no state: the first load adds it
      ASSERT_TRUE(ktTestRead(original, documentKeeping(snippet))) << snippet;
    }
    PrintCapture capture;
    KtStatedSystem loaded;
    const std::string saved = ktTestWrittenTwice(original, loaded);
    EXPECT_NE(saved.find(expected), std::string::npos) << snippet << "\n" << saved;
    EXPECT_EQ(capture.text(), "") << snippet;
  }
}

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <sstream>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFile.h"

using namespace manipulator_test;

namespace {

std::string dataPath(const std::string& name) { return std::string(KT_TEST_DATA_DIR) + "/" + name; }

std::string fileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string written(const KtXmlObject& object, const std::string& name) {
  std::ostringstream out;
  EXPECT_TRUE(ktWriteObjectToStream(object, out, name));
  return out.str();
}

bool readText(KtXmlObject& object, const std::string& text, const std::string& name = "memory.xml") {
  std::istringstream in(text);
  return ktReadObjectFromStream(object, in, name);
}

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

}  // namespace

TEST(KtManipulatorDocumentTest, SampleDocumentsAreReproducedByteForByte) {
  for (const char* name : {"craig_arm.xml", "paul_arm.xml", "arm_and_customer.xml"}) {
    const std::string original = fileText(dataPath(name));
    ASSERT_FALSE(original.empty()) << name;
    KtStatedSystem stated;
    PrintCapture capture;
    ASSERT_TRUE(readText(stated, original, name)) << name;
    EXPECT_EQ(capture.text(), "") << name;
    EXPECT_EQ(written(stated, name), original) << name;
  }
}

TEST(KtManipulatorDocumentTest, CompressedSampleHoldsTheSameSystem) {
  KtStatedSystem plain, compressed;
  ASSERT_TRUE(ktReadObjectFromFile(plain, dataPath("craig_arm.xml")));
  ASSERT_TRUE(ktReadObjectFromFile(compressed, dataPath("craig_arm.xml.gz")));
  EXPECT_TRUE(plain.isEqual(compressed));
  ASSERT_EQ(plain.system().size(), 1u);
  EXPECT_EQ(plain.system().manipulator(0).jointDof(), 7u);
}

TEST(KtManipulatorDocumentTest, LoadedSampleArmsAgreeWithKdl) {
  TestRandom rng(31);
  for (const char* name : {"craig_arm.xml", "paul_arm.xml"}) {
    KtStatedSystem stated;
    ASSERT_TRUE(ktReadObjectFromFile(stated, dataPath(name)));
    const KtIndividualManipulator& arm = stated.system().manipulator(0);
    KtManipulatorActiveState active;
    for (int i = 0; i < TestRandom::cases(); ++i) {
      const std::vector<double> q = randomJoints(rng, arm.jointDof());
      active.activePositionState().setJointPositions(q);
      const std::vector<KDL::Frame> expected = kdlFrames(arm, Kt::coordinateSystemTransformation(), q);
      for (std::size_t link = 0; link < arm.jointDof(); ++link) {
        const KDL::Frame primary = expected[link] * toKdl(arm.link(link).kinematics().primaryFrame());
        ASSERT_LT(frameDistance(arm.link(link).primaryFrameInSystem(active), primary), 1e-12) << name;
      }
    }
  }
}

TEST(KtManipulatorDocumentTest, UninterpretedElementsSurviveLoadingAndSaving) {
  KtStatedSystem first;
  ASSERT_TRUE(readText(first, kDocumentWithUnknownParts));
  const std::string once = written(first, "kept.xml");
  for (const char* kept :
       {"<sm:stepCount>12</sm:stepCount>", "kind=\"soft\">0.5 0.25</ct:gain>", "<sm:plane normal=\"0 0 1\"/>",
        "<sm:label>floor of the cell</sm:label>", "<sm:pair a=\"1\" b=\"2\"/>", "1 2 3 4 5 6 7 8 9 10\n",
        "<sm:sphere radius=\"0.1\"/>", "<sm:mass>2.5</sm:mass>", "<sm:stiffness>100</sm:stiffness>"}) {
    EXPECT_NE(once.find(kept), std::string::npos) << kept;
  }
  KtStatedSystem second;
  ASSERT_TRUE(readText(second, once));
  EXPECT_EQ(written(second, "kept.xml"), once);
  EXPECT_TRUE(first.isEqual(second));
  EXPECT_EQ(second.system().manipulator(0).link(0).denavitHartenberg()->a(), 0.25);
}

TEST(KtManipulatorDocumentTest, ReadingAParameterDropsCachedFrames) {
  KtStatedSystem stated;
  ASSERT_TRUE(ktReadObjectFromFile(stated, dataPath("craig_arm.xml")));
  KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState active;
  active.activePositionState().setJointPositions(std::vector<double>(7, 0.2));
  arm.link(6).dhFrameInSystem(active);
  std::string text = written(stated, "craig_arm.xml");
  const std::string oldD = "<sm:d>0.33300000000000001821</sm:d>";
  text.replace(text.find(oldD), oldD.size(), "<sm:d>0.5</sm:d>");
  ASSERT_TRUE(readText(stated, text));
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
  EXPECT_FALSE(readText(stated, document, "limits.xml"));
  EXPECT_EQ(
      capture.text(),
      "KtXmlFileReader Error: manipulatorLink elbow: lower limit 0.5 and upper limit -0.5 do not form an "
      "interval.\n\tFile: limits.xml\n\tLine: 8\n"
      "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#manipulatorLink could not "
      "be read and is skipped.\n\tFile: limits.xml\n\tLine: 8\n"
      "KtXmlVariableVectorType Warning: entry http://kt.example.org/namespace/sm#individualManipulator "
      "could not be read and is skipped.\n\tFile: limits.xml\n\tLine: 8\n");
}

// A stray empty childLinks after the real one is reported with its line and skipped, so the
// arm keeps its seven links; a placement keeps its first translation likewise.
TEST(KtManipulatorDocumentTest, RepeatedElementsKeepTheFirst) {
  std::string text = fileText(dataPath("craig_arm.xml"));
  const std::size_t end = text.find("   </sm:individualManipulator>");
  ASSERT_NE(end, std::string::npos);
  text.insert(end, "    <sm:childLinks/>\n");
  const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n') + 1;
  PrintCapture capture;
  KtStatedSystem stated;
  ASSERT_TRUE(readText(stated, text));
  EXPECT_EQ(
      capture.text(),
      "KtXmlCompoundType Warning: element childLinks appears more than once; the first is kept.\n\tFile: "
      "memory.xml\n\tLine: " +
          std::to_string(line) + "\n");
  EXPECT_EQ(stated.system().manipulator(0).jointDof(), 7u);

  capture.clear();
  KtCoordinateSystemTransformation placement;
  ASSERT_TRUE(readText(
      placement, "<p><translation x=\"1\" y=\"0\" z=\"0\"/>\n<translation x=\"2\" y=\"0\" z=\"0\"/></p>"));
  EXPECT_EQ(
      capture.text(),
      "KtCoordinateSystemTransformation Warning: element translation appears more than once; the first is "
      "kept.\n\tFile: memory.xml\n\tLine: 2\n");
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
           " is not accepted here and is skipped.\n\tFile: memory.xml\n\tLine: " + std::to_string(line) +
           "\n";
  };
  const auto notFinite = [](const char* element, const char* value, int line) {
    return "KtXmlBasicType Warning: element " + std::string(element) + ": value \"" + value +
           "\" is not finite; the element is skipped.\n\tFile: memory.xml\n\tLine: " + std::to_string(line) +
           "\n";
  };
  PrintCapture capture;
  KtManipulatorSystem system;
  ASSERT_TRUE(readText(system, text));
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
  const std::string once = written(system, "memory.xml");
  EXPECT_NE(once.find("<sm:upperLimitConstraint>INF</sm:upperLimitConstraint>"), std::string::npos);
  EXPECT_NE(once.find("<sm:lowerLimitConstraint>-INF</sm:lowerLimitConstraint>"), std::string::npos);
  KtManipulatorSystem again;
  ASSERT_TRUE(readText(again, once));
  EXPECT_EQ(capture.text(), "");
  EXPECT_TRUE(again.isEqual(system));
}

#include <gtest/gtest.h>

#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace manipulator_test;

namespace {

// A one-link manipulator whose link holds `mass` as its mass properties, on line 4.
std::string documentWithMass(const std::string& mass) {
  return R"(<?xml version="1.0"?>
<sm:individualManipulator xmlns:sm="http://kt.example.org/namespace/sm" version="2.0.0">
  <sm:childLinks><sm:manipulatorLink>
    <sm:identifier>first</sm:identifier><sm:massProperties>)" +
         mass + R"(</sm:massProperties>
  </sm:manipulatorLink></sm:childLinks>
</sm:individualManipulator>
)";
}

std::string warning(const char* reason) {
  return std::string("KtMassProperties Warning: ") + reason +
         "; the link is taken as massless.\n\tFile: test.xml\n\tLine: 4\n";
}

}  // namespace

// Values no rigid body can have load as a massless link with a warning; others load as given,
// and content of an older layout (unknown children) is passed over.
TEST(KtMassPropertiesTest, DocumentsLoadWithPhysicalValuesOnly) {
  const struct {
    const char* content;
    double mass;
    std::string message;
  } cases[] = {
      {R"(<sm:mass>2</sm:mass><sm:firstMoment x="0.2" y="0" z="0"/><sm:secondMoment xx="0.1" yy="0.2" zz="0.2" xy="0" xz="0" yz="0"/>)",
       2.0, ""},
      {"<sm:mass>2.5</sm:mass><sm:inertia>1 0 0 1 0 1</sm:inertia>", 2.5, ""},
      {"<sm:mass>-1</sm:mass>", 0.0, warning("the mass is negative")},
      {R"(<sm:firstMoment x="1" y="0" z="0"/>)", 0.0,
       warning("a first or second moment is given without mass")},
      {R"(<sm:mass>1</sm:mass><sm:firstMoment x="1" y="0" z="0"/>)", 0.0,
       warning("the second moment is not positive semi-definite about the centre of mass")},
      {R"(<sm:mass>1</sm:mass><sm:secondMoment xx="1" yy="1" zz="1" xy="2" xz="0" yz="0"/>)", 0.0,
       warning("the second moment is not positive semi-definite about the centre of mass")},
  };
  for (const auto& c : cases) {
    KtIndividualManipulator arm;
    PrintCapture capture;
    EXPECT_TRUE(ktTestRead(arm, documentWithMass(c.content))) << c.content;
    EXPECT_EQ(capture.text(), c.message) << c.content;
    const KtMassProperties& mass = arm.link(0).massProperties();
    EXPECT_EQ(mass.mass(), c.mass) << c.content;
    EXPECT_EQ(mass.mayBeOmitted(), c.mass == 0.0) << c.content;
  }
  KtMassProperties properties;
  PrintCapture capture;
  EXPECT_FALSE(properties.set(-1.0, Kt::Vector(), KtSymmetricTensor()));
  EXPECT_EQ(capture.text(), "KtMassProperties::set(): the mass is negative; nothing changed.\n");
}

// Mass, centre and central inertia come back from the moments they are stored as, also
// through a document.
TEST(KtMassPropertiesTest, CentreAndCentralInertiaSurviveStorage) {
  TestRandom rng(47);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const KtMassProperties original = randomMassProperties(rng);
    KtMassProperties copy, read;
    ASSERT_TRUE(copy.setAboutCenterOfMass(original.mass(), original.centerOfMass(),
                                          original.inertiaAboutCenterOfMass()));
    expectNear(copy.firstMoment(), original.firstMoment(), 1e-12, "first moment");
    expectNear((copy.secondMoment() - original.secondMoment()) * Kt::Vector(1, 2, 3), {}, 1e-12, "second");
    ASSERT_TRUE(ktTestRead(read, ktTestWrite(original)));
    EXPECT_TRUE(read.isEqual(original));
  }
}

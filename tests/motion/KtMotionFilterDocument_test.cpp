#include <gtest/gtest.h>

#include "motion/KtGeneralMotionFilter.h"
#include "motion/KtPointMotionFilter.h"
#include "support/AllocationCounter.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

// Writes the filter, reads the text back into a fresh one and writes that again: the two
// texts must agree byte for byte, and the copies compare equal.
template <typename Filter>
std::string writtenTwice(const Filter& filter) {
  const std::string once = ktTestWrite(filter);
  Filter read;
  EXPECT_TRUE(ktTestRead(read, once));
  EXPECT_TRUE(read.isEqual(filter));
  EXPECT_EQ(ktTestWrite(read), once);
  return once;
}

}  // namespace

TEST(KtMotionFilterDocumentTest, DefaultsAreOmittedAndOtherValuesRoundTrip) {
  const std::string defaultPoint = writtenTwice(KtPointMotionFilter());
  const std::string defaultGeneral = writtenTwice(KtGeneralMotionFilter());
  for (const std::string& text : {defaultPoint, defaultGeneral}) {
    for (const char* field : {"threshold", "linearGain", "angularGain", "angularWeight", "offset"}) {
      EXPECT_EQ(text.find(field), std::string::npos) << field << " in\n" << text;
    }
  }

  KtPointMotionFilter point;
  point.setThreshold(0.25);
  point.setLinearGain(12.5);
  const std::string pointText = writtenTwice(point);
  EXPECT_NE(pointText.find("<ct:threshold>0.25</ct:threshold>"), std::string::npos) << pointText;
  EXPECT_NE(pointText.find("<ct:linearGain>12.5</ct:linearGain>"), std::string::npos) << pointText;

  KtGeneralMotionFilter general;
  general.setOffset(Kt::Vector(0.5, -1.0, 2.0));
  general.setAngularWeight(0.75);
  general.setAngularGain(3.0);
  const std::string generalText = writtenTwice(general);
  for (const char* written :
       {"<ct:offset x=\"0.5\" y=\"-1\" z=\"2\"/>", "<ct:angularWeight>0.75</ct:angularWeight>",
        "<ct:angularGain>3</ct:angularGain>"}) {
    EXPECT_NE(generalText.find(written), std::string::npos) << written << " in\n" << generalText;
  }
  for (const char* omitted : {"threshold", "linearGain"}) {
    EXPECT_EQ(generalText.find(omitted), std::string::npos) << omitted;
  }
}

TEST(KtMotionFilterDocumentTest, FilteringAllocatesNothing) {
  const KtPointMotionFilter point;
  const KtGeneralMotionFilter general;
  const Kt::coordinateSystemTransformation actual(Kt::Vector(1.0, 2.0, 3.0),
                                                  Kt::Orientation(0.6, 0.0, 0.8, 0.0));
  const Kt::coordinateSystemTransformation desired(Kt::Vector(-1.0, 0.5, 0.0),
                                                   Kt::Orientation(0.0, 1.0, 0.0, 0.0));
  Kt::Vector linear, angular;
  KtPlanarVector planar;
  NoAllocationGuard guard;
  point.filterVelocity(actual.translation(), desired.translation(), Kt::Vector(), 0.01, linear);
  point.filterPlanarVelocity({1.0, 2.0}, {3.0, 4.0}, {0.0, 0.0}, 0.01, planar);
  general.filterVelocity(actual, desired, Kt::Vector(), Kt::Vector(), 0.01, linear, angular);
}

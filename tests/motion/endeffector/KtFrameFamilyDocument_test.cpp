#include <gtest/gtest.h>

#include <typeinfo>

#include "manipulator/ManipulatorTestSupport.h"
#include "motion/endeffector/FrameFamilyTestSupport.h"
#include "xml/KtXmlFactory.h"
#include "xml/KtXmlTextDocuments.h"

using namespace frame_family_test;

namespace {

// Gives every field of the end effector a value other than its default.
void setEverything(KtFrameMotionEndEffector& endEffector, TestRandom& rng) {
  KtEndEffectorRelativeLinkData relative;
  relative.setIsRelativeLink(true);
  relative.setRelativeLinkId("base");
  endEffector.setRelativeLinkData(relative);
  endEffector.setLinkIdentifier("link3");
  endEffector.setIsHardConstraint(false);
  setOffset(endEffector, manipulator_test::randomPose(rng));
  endEffector.setErrorWeight(rng.uniform(0.5, 2.0));
  KtGeneralMotionFilter filter;
  filter.setThreshold(rng.uniform(0.1, 3.0));
  filter.setLinearGain(rng.uniform(10.0, 50.0));
  endEffector.setMotionFilter(filter);
  if (auto* frame = dynamic_cast<KtFrameEndEffector*>(&endEffector)) frame->setAngularErrorWeight(0.75);
  if (auto* lookAt = dynamic_cast<KtLookAtEndEffector*>(&endEffector)) lookAt->setFocusDistance(2.5);
}

}  // namespace

// The labels are the class's, in order. Values read back give the same offset, threshold, flag
// and focus distance, and leave the object they came from exactly as it was; a list of the wrong
// length changes nothing; an unreadable number keeps its field; "0" clears the flag and other
// text sets it; a zero axis gives the identity.
TEST(KtFrameFamilyDocumentTest, EditingValuesRoundTripAndFollowTheParsingRules) {
  TestRandom rng(91);
  const std::vector<std::string> frameLabels = {"trans_x", "trans_y",          "trans_z",
                                                "angle",   "axis_x",           "axis_y",
                                                "axis_z",  "filter_threshold", "is_hard_constraint"};
  for (const Member& member : members()) {
    SCOPED_TRACE(member.className);
    std::vector<std::string> expected(
        frameLabels.begin() + (member.className == "KtOrientationEndEffector" ? 3 : 0), frameLabels.end());
    if (member.className == "KtLookAtEndEffector") expected.push_back("focal_length");
    const auto original = member.make(), copy = member.make();
    setEverything(*original, rng);
    const KtEditingValues values = original->editingValues();
    std::vector<std::string> labels;
    for (const auto& entry : values) labels.push_back(entry.first);
    EXPECT_EQ(labels, expected);
    EXPECT_EQ(original->editingLabelCount(), labels.size());
    const std::unique_ptr<KtXmlObject> same = original->clone();
    original->setEditingValues(values);
    EXPECT_TRUE(original->isEqual(*same));

    copy->setEditingValues(values);
    EXPECT_LT(manipulator_test::frameDistance(offset(*copy), offset(*original)), 1e-12);
    EXPECT_EQ(copy->motionThreshold(), original->motionThreshold());
    EXPECT_FALSE(copy->isHardConstraint());
    EXPECT_EQ(rowPoint(*copy), rowPoint(*original));
    const KtEditingValues read = copy->editingValues();
    copy->setEditingValues(KtEditingValues(values.begin(), values.end() - 1));
    for (const char* label : {"angle", "filter_threshold"}) EXPECT_TRUE(copy->setEditingValue(label, "abc"));
    EXPECT_EQ(copy->editingValues(), read);
    for (const auto& [flag, hard] :
         {std::pair{"false", true}, std::pair{"0", false}, std::pair{"yes", true}}) {
      EXPECT_TRUE(copy->setEditingValue("is_hard_constraint", flag));
      EXPECT_EQ(copy->isHardConstraint(), hard) << flag;
    }
    EXPECT_FALSE(copy->setEditingValue("no_such_label", "1"));
    for (const char* axis : {"axis_x", "axis_y", "axis_z"}) copy->setEditingValue(axis, "0");
    EXPECT_TRUE(offset(*copy).orientation() == Kt::Orientation());
  }
}

// Each class is made by the factory from its element. Written with every field set, read back and
// written again, it gives the same text byte for byte and an equal object; at their defaults the
// class's own weights and distances are left out.
TEST(KtFrameFamilyDocumentTest, DocumentsRoundTripByteIdentically) {
  TestRandom rng(92);
  for (const Member& member : members()) {
    SCOPED_TRACE(member.className);
    const auto original = member.make();
    const std::unique_ptr<KtXmlObject> made = KtXmlFactory::defaultFactory().create(original->elementToken());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(typeid(*made), typeid(*original));
    const std::string plain = ktTestWrite(*original);
    for (const char* field : {"ErrorWeight", "errorWeight", "focusDistance"})
      EXPECT_EQ(plain.find(field), std::string::npos) << field;
    setEverything(*original, rng);
    const std::string once = ktTestWrite(*original);
    EXPECT_NE(once.find("<ct:" + original->elementToken().name()), std::string::npos) << once;
    ASSERT_TRUE(ktTestRead(*made, once));
    EXPECT_TRUE(made->isEqual(*original));
    EXPECT_EQ(ktTestWrite(*made), once);
  }
}

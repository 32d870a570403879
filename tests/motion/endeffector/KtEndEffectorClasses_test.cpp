#include <gtest/gtest.h>

#include <algorithm>
#include <typeinfo>

#include "motion/KtGeneralMotionFilter.h"
#include "motion/KtPointMotionFilter.h"
#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFactory.h"
#include "xml/KtXmlTextDocuments.h"

using namespace endeffector_test;

// Every class, with every field away from its default, is made by the factory from its element
// and goes through a document byte for byte; at their defaults the frame-like classes' own weights
// and distances are left out. Its editing values go through a fresh object unchanged, reach the
// fields they name, and leave the object they came from exactly as it was; a list of the wrong
// length changes nothing, an unknown label is refused, "0" alone clears the hard-constraint flag.
// The frame-like classes list their labels in order, read back offset, threshold and focus
// distance, keep a field whose number is unreadable and turn a zero axis into the identity. A
// feed-forward of another size than the class takes prints and leaves the commanded velocity as it was.
TEST(KtEndEffectorClassesTest, EveryClassGoesThroughDocumentsAndEditingValues) {
  TestRandom rng(91);
  const std::vector<std::string> frameLabels = {"trans_x", "trans_y",          "trans_z",
                                                "angle",   "axis_x",           "axis_y",
                                                "axis_z",  "filter_threshold", "is_hard_constraint"};
  const Kt::coordinateSystemTransformation at(Kt::Vector(1.0, 2.0, 3.0));
  for (const auto& original : everyClass(rng, "link3", "base")) {
    const std::string name = className(*original);
    SCOPED_TRACE(name);
    const std::unique_ptr<KtXmlObject> made = KtXmlFactory::defaultFactory().create(original->elementToken());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(typeid(*made), typeid(*original));
    const std::string plain = ktTestWrite(*made);
    for (const char* field : {"ErrorWeight", "errorWeight", "focusDistance"})
      EXPECT_EQ(plain.find(field), std::string::npos) << field;
    const std::string once = ktTestWrittenTwice(*original, *made);
    EXPECT_NE(once.find("<ct:" + original->elementToken().name()), std::string::npos) << once;

    const KtEditingValues values = original->editingValues();
    EXPECT_EQ(original->editingLabelCount(), values.size());
    const bool frameLike = dynamic_cast<KtFrameMotionEndEffector*>(original.get()) != nullptr;
    const std::unique_ptr<KtXmlObject> same = original->clone(), fresh = original->newInstance();
    original->setEditingValues(values);
    // The x-y plane's turn goes through angle and axis texts and may move in the last bit.
    if (dynamic_cast<KtXyEndEffector*>(original.get()) == nullptr) {
      EXPECT_TRUE(original->isEqual(*same));
    }
    auto& copy = static_cast<KtEndEffector&>(*fresh);
    const KtEditingValues defaults = copy.editingValues();
    copy.setEditingValues(KtEditingValues(values.begin(), values.end() - 1));
    EXPECT_EQ(copy.editingValues(), defaults);
    copy.setEditingValues(values);
    const KtEditingValues read = copy.editingValues();
    // A frame's offset read back is the same up to rounding (checked below), its texts may differ.
    if (!frameLike) {
      EXPECT_EQ(read, values);
    }
    EXPECT_FALSE(copy.setEditingValue("no_such_label", "1"));
    EXPECT_EQ(copy.motionThreshold(), original->motionThreshold());
    if (const auto* point = dynamic_cast<const KtLinkPointEndEffector*>(original.get())) {
      EXPECT_EQ(dynamic_cast<const KtLinkPointEndEffector&>(copy).point(), point->point());
    }
    if (const auto* sum = dynamic_cast<const KtLinearConstraintEndEffector*>(original.get())) {
      const auto& copied = dynamic_cast<const KtLinearConstraintEndEffector&>(copy);
      EXPECT_EQ(copied.jointLabels(), std::vector<std::string>{sum->jointLabels()[0]});
      EXPECT_EQ(copied.weightedSum(), sum->weightedSum());
    }

    // Frame-like classes take the six-entry general velocity, not one entry per row.
    const std::size_t taken = frameLike ? 6 : original->rowCount();
    std::vector<std::size_t> sizes = {taken + 1, taken > 1 ? taken - 1 : 2};
    if (original->rowCount() != taken) sizes.push_back(original->rowCount());
    for (const std::size_t size : sizes) {
      KtEndEffectorVelocityEntries commanded = {4.0};
      PrintCapture capture;
      original->filterEndEffectorVelocity(at, at, KtEndEffectorVelocityEntries(size, 1.0), 0.01, commanded);
      EXPECT_EQ(capture.text(), name + "::filterEndEffectorVelocity input velocity size wrong.");
      EXPECT_EQ(commanded, KtEndEffectorVelocityEntries{4.0});
    }

    if (frameLike) {
      std::vector<std::string> labels,
          expected(frameLabels.begin() + (values.size() < 8 ? 3 : 0), frameLabels.end());
      if (dynamic_cast<KtLookAtEndEffector*>(original.get()) != nullptr) expected.push_back("focal_length");
      for (const auto& entry : values) labels.push_back(entry.first);
      EXPECT_EQ(labels, expected);
      EXPECT_LT(manipulator_test::frameDistance(offset(copy), offset(*original)), 1e-12);
      EXPECT_EQ(rowPoint(copy), rowPoint(*original));
      for (const char* label : {"angle", "filter_threshold"}) EXPECT_TRUE(copy.setEditingValue(label, "abc"));
      EXPECT_EQ(copy.editingValues(), read);
      for (const char* axis : {"axis_x", "axis_y", "axis_z"}) copy.setEditingValue(axis, "0");
      EXPECT_TRUE(offset(copy).orientation() == Kt::Orientation());
    }
    if (std::none_of(values.begin(), values.end(),
                     [](const auto& v) { return v.first == "is_hard_constraint"; }))
      continue;
    EXPECT_FALSE(copy.isHardConstraint());
    for (const auto& [flag, hard] :
         {std::pair{"false", true}, {"0", false}, {"", true}, {"yes", true}, {"0", false}, {"1", true}}) {
      EXPECT_TRUE(copy.setEditingValue("is_hard_constraint", flag));
      EXPECT_EQ(copy.isHardConstraint(), hard) << flag;
    }
  }
}

// The motion filters write what differs from their defaults, and only that.
TEST(KtEndEffectorClassesTest, MotionFiltersWriteOnlyWhatDiffersFromTheirDefaults) {
  const KtPointMotionFilter defaultPoint;
  const KtGeneralMotionFilter defaultGeneral;
  KtPointMotionFilter point;
  point.setThreshold(0.25);
  point.setLinearGain(12.5);
  KtGeneralMotionFilter general;
  general.setOffset(Kt::Vector(0.5, -1.0, 2.0));
  general.setAngularWeight(0.75);
  general.setAngularGain(3.0);
  const struct {
    const KtXmlObject& filter;
    std::vector<std::string> written;
  } filters[] = {{defaultPoint, {}},
                 {defaultGeneral, {}},
                 {point, {"<ct:threshold>0.25</ct:threshold>", "<ct:linearGain>12.5</ct:linearGain>"}},
                 {general,
                  {"<ct:offset x=\"0.5\" y=\"-1\" z=\"2\"/>", "<ct:angularWeight>0.75</ct:angularWeight>",
                   "<ct:angularGain>3</ct:angularGain>"}}};
  for (const auto& f : filters) {
    const std::string text = ktTestWrittenTwice(f.filter, *f.filter.newInstance());
    for (const std::string& written : f.written) EXPECT_NE(text.find(written), std::string::npos) << written;
    for (const std::string field : {"threshold", "linearGain", "angularGain", "angularWeight", "offset"}) {
      const bool given = std::any_of(f.written.begin(), f.written.end(), [&](const std::string& w) {
        return w.find(field) != std::string::npos;
      });
      EXPECT_EQ(text.find(field) != std::string::npos, given) << field << " in\n" << text;
    }
  }
}

// Once warm, every class's placement, velocity, Jacobian and sparsity rows (relative and absolute,
// fixed and free base) and filter, and the motion filters themselves, allocate nothing for new
// joint values.
TEST(KtEndEffectorClassesTest, HotPathsAllocateNothingOnceWarm) {
  TestRandom rng(74);
  KtStatedSystem stated = massiveSample("paul_arm.xml", rng, true);
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const auto all = everyClass(rng, "paulArmLink7", "paulArmLink2");
  const KtPointMotionFilter pointFilter;
  const KtGeneralMotionFilter generalFilter;
  Kt::ReArray matrix(6, arm.jointDof() + 6);
  Kt::coordinateSystemTransformation placement;
  const Kt::coordinateSystemTransformation desired = randomPose(rng);
  KtGeneralMotion motion;
  KtEndEffectorVelocityEntries commanded;
  const KtEndEffectorVelocityEntries generalFeedForward = {0.5, 0, 0, 0, 0.5, 0};
  Kt::Vector linear, angular;
  KtPlanarVector planar;
  const auto run = [&] {
    KtManipulatorActiveState& state = *stated.activeState(0);
    for (const auto& e : all) {
      const bool frameLike = dynamic_cast<KtFrameMotionEndEffector*>(e.get()) != nullptr;
      e->calculatePlacement(arm, state, placement);
      e->calculateVelocity(arm, state, motion);
      for (const bool fixedBase : {true, false}) {
        e->insertJacobianComponent(arm, 0, e->relativeLinkData(), fixedBase, state, matrix);
        e->insertSparsityComponent(arm, 0, KtEndEffectorRelativeLinkData(), fixedBase, state, matrix);
      }
      e->filterEndEffectorVelocity(placement, desired, KtEndEffectorVelocityEntries(), 0.01, commanded);
      if (frameLike) e->filterEndEffectorVelocity(placement, desired, generalFeedForward, 0.01, commanded);
    }
    pointFilter.filterVelocity(placement.translation(), desired.translation(), Kt::Vector(), 0.01, linear);
    pointFilter.filterPlanarVelocity({1.0, 2.0}, {3.0, 4.0}, {0.0, 0.0}, 0.01, planar);
    generalFilter.filterVelocity(placement, desired, Kt::Vector(), Kt::Vector(), 0.01, linear, angular);
  };
  run();
  KtPositionState moved = stated.state().positionStates()[0];
  moved.jointPositions()[0] += 0.1;
  stated.setIndividualState(0, moved);
  NoAllocationGuard guard;
  run();
}

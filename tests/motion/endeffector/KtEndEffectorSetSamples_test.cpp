#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/SchemaCheck.h"
#include "support/PrintCapture.h"
#include "support/TempFiles.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlTextDocuments.h"

// Each sample set of data/ loads without a message, saves byte for byte as it was, validates
// against the schema our writer generates, and stacks rows of its sample arm's links.
TEST(KtEndEffectorSetSamplesTest, SampleSetsRoundTripValidateAndFitTheirArm) {
  const std::string data = std::string(KT_TEST_DATA_DIR) + "/";
  KtStatedSystem stated;
  ASSERT_TRUE(ktReadObjectFromFile(stated, data + "craig_arm.xml"));
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  struct Sample {
    const char* name;
    std::vector<std::size_t> rows;
  };
  const std::vector<Sample> samples = {{"craig_arm_flange_set.xml", {6}},
                                       {"craig_arm_point_set.xml", {3}},
                                       {"craig_arm_orientation_set.xml", {3}},
                                       {"craig_arm_planar_set.xml", {3}},
                                       {"craig_arm_slide_x_spin_z_set.xml", {4}},
                                       {"craig_arm_free_spin_in_z_set.xml", {5}},
                                       {"craig_arm_sliding_set.xml", {5}},
                                       {"craig_arm_look_at_set.xml", {2}},
                                       {"craig_arm_xy_set.xml", {2}},
                                       {"craig_arm_center_of_mass_set.xml", {3}},
                                       {"craig_arm_spatial_momentum_set.xml", {6}},
                                       {"craig_arm_linear_constraint_set.xml", {1}}};
  for (const Sample& sample : samples) {
    const std::string original = readBytes(data + sample.name);
    ASSERT_FALSE(original.empty()) << sample.name;
    KtEndEffectorSet set;
    PrintCapture capture;
    ASSERT_TRUE(ktTestRead(set, original, sample.name)) << sample.name;
    EXPECT_EQ(ktTestWrite(set, sample.name), original) << sample.name;
    EXPECT_TRUE(endeffector_test::validatesAgainstOwnSchema(set, "sample")) << sample.name;

    ASSERT_EQ(set.size(), sample.rows.size()) << sample.name;
    for (std::size_t i = 0; i < set.size(); ++i) EXPECT_EQ(set.rowCount(i), sample.rows[i]) << sample.name;
    set.setLinkIndices(arm);
    const Kt::ReArray& jacobian = set.jacobian(arm, true, *stated.activeState(0));
    bool anyNonZero = false;
    for (std::size_t r = 0; r < jacobian.rows(); ++r)
      for (std::size_t c = 0; c < jacobian.columns(); ++c) anyNonZero = anyNonZero || jacobian[r][c] != 0.0;
    EXPECT_TRUE(anyNonZero) << sample.name;
    EXPECT_EQ(capture.text(), "") << sample.name;
  }
}

#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "math/ReArray.h"
#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/expression/KtControlExpression.h"
#include "motion/velocity/KtIndividualVelocityControlDescription.h"
#include "motion/velocity/KtVelocityControlSystem.h"

// What the velocity-control tests share: the sample arm with a velocity-control system whose
// only description commands the flange frame, and small linear-algebra checks.
namespace velocity_test {

// The sample arm at random joints, and a control system for it whose active description has the
// flange frame end effector of data/craig_arm_flange_set.xml and the default core.
struct FlangeControl {
  KtStatedSystem stated;
  KtVelocityControlSystem control;

  explicit FlangeControl(TestRandom& rng) : stated(endeffector_test::sampleSystem("craig_arm.xml", rng)) {
    control.setManipulatorCount(1);
    EXPECT_TRUE(ktReadObjectFromFile(*control.endEffectorSet(0),
                                     std::string(KT_TEST_DATA_DIR) + "/craig_arm_flange_set.xml"));
  }
  KtIndividualVelocityControlDescription& description() {
    return *control.individualVelocityControlDescription(0);
  }
  const Kt::ReArray& jacobian() {
    return control.endEffectorSet(0)->jacobian(stated.system().manipulator(0), true, *stated.activeState(0));
  }
};

// A fixed matrix or column, standing in for any expression that yields one.
class Literal : public KtXmlCloneable<Literal, KtControlExpression> {
 public:
  explicit Literal(const KtExpressionValue& value = {}) : m_literal(value) {}
  const KtToken& elementToken() const override {
    static const KtToken token("test#literal");
    return token;
  }
  bool prepare(const KtControlContext&) override {
    m_value = m_literal;
    return true;
  }
  bool evaluate(const KtControlContext&) override { return true; }

 private:
  KtExpressionValue m_literal;
};

inline std::unique_ptr<Literal> literalColumn(const std::vector<double>& column) {
  KtExpressionValue value;
  value.shapeAsColumn(column.size());
  value.column() = column;
  return std::make_unique<Literal>(value);
}

// One velocity per end effector of the set, with random entries.
inline KtManipulatorEndEffectorVelocity randomVelocities(const KtEndEffectorSet& set, TestRandom& rng) {
  KtManipulatorEndEffectorVelocity velocities;
  velocities.resize(set.size());
  for (std::size_t i = 0; i < set.size(); ++i)
    velocities.velocity(i) = manipulator_test::randomJoints(rng, set.rowCount(i), 1.0);
  return velocities;
}

inline std::vector<double> times(const Kt::ReArray& matrix, const std::vector<double>& v) {
  std::vector<double> result(matrix.rows(), 0.0);
  for (std::size_t r = 0; r < matrix.rows(); ++r)
    for (std::size_t c = 0; c < matrix.columns(); ++c) result[r] += matrix[r][c] * v[c];
  return result;
}

inline std::vector<double> transposeTimes(const Kt::ReArray& matrix, const std::vector<double>& v) {
  std::vector<double> result(matrix.columns(), 0.0);
  for (std::size_t r = 0; r < matrix.rows(); ++r)
    for (std::size_t c = 0; c < matrix.columns(); ++c) result[c] += matrix[r][c] * v[r];
  return result;
}

inline double norm(const std::vector<double>& v) {
  double sum = 0.0;
  for (double entry : v) sum += entry * entry;
  return std::sqrt(sum);
}

inline void expectNear(const std::vector<double>& actual, const std::vector<double>& expected,
                       double tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i)
    EXPECT_NEAR(actual[i], expected[i], tolerance) << "entry " << i;
}

}  // namespace velocity_test

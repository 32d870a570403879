#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "math/ReArray.h"
#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlFile.h"

// The independent oracle of the end-effector tests: the rates of change of an end effector's
// own placement, by central differences over each joint value and each of the six base motions.
namespace endeffector_test {

using manipulator_test::angularRate;

constexpr double kDifferenceStep = 1e-6;

// A sample document of data/ as a stated system, with manipulator 0 set to random joints.
inline KtStatedSystem sampleSystem(const char* name, TestRandom& rng) {
  KtStatedSystem stated;
  EXPECT_TRUE(ktReadObjectFromFile(stated, std::string(KT_TEST_DATA_DIR) + "/" + name));
  KtPositionState position = stated.state().positionStates()[0];
  position.setJointPositions(
      manipulator_test::randomJoints(rng, stated.system().manipulator(0).jointDof(), 2.5));
  position.setCoordinateSystemTransform(manipulator_test::randomPose(rng));
  stated.setIndividualState(0, position);
  return stated;
}

// The placement of the end effector on manipulator 0 with joint `column` (or, past the joints,
// base motion column − n) moved by `step` from the current state; the state is restored.
inline Kt::coordinateSystemTransformation movedPlacement(KtStatedSystem& stated,
                                                         const KtEndEffector& endEffector, std::size_t column,
                                                         double step) {
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  const KtPositionState original = stated.state().positionStates()[0];
  KtPositionState moved = original;
  const std::size_t n = manipulator.jointDof();
  if (column < n) {
    moved.jointPositions()[column] += step;
  } else {
    Kt::coordinateSystemTransformation pose = original.coordinateSystemTransform();
    Kt::Vector axis;
    axis[(column - n) % 3] = 1.0;
    if (column - n < 3) {
      pose.setTranslation(pose.translation() + axis * step);
    } else {
      const Kt::Vector half = axis * std::sin(step / 2);
      pose.setOrientation(Kt::Orientation(std::cos(step / 2), half.x(), half.y(), half.z()) *
                          pose.orientation());
    }
    moved.setCoordinateSystemTransform(pose);
  }
  stated.setIndividualState(0, moved);
  Kt::coordinateSystemTransformation placement;
  EXPECT_TRUE(endEffector.calculatePlacement(manipulator, *stated.activeState(0), placement));
  stated.setIndividualState(0, original);
  // Brings the active state back to the original joints for callers that hold on to it.
  stated.activeState(0);
  return placement;
}

// Six rows (the placement origin's velocity, then the placement's angular velocity, in the
// axes the placement is given in) and one column per joint, plus six for the base when
// `freeBase`, by central differences.
inline Kt::ReArray placementRates(KtStatedSystem& stated, const KtEndEffector& endEffector, bool freeBase) {
  const std::size_t columns = stated.system().manipulator(0).jointDof() + (freeBase ? 6 : 0);
  Kt::ReArray rates(6, columns);
  for (std::size_t c = 0; c < columns; ++c) {
    const Kt::coordinateSystemTransformation before =
        movedPlacement(stated, endEffector, c, -kDifferenceStep);
    const Kt::coordinateSystemTransformation after = movedPlacement(stated, endEffector, c, kDifferenceStep);
    const Kt::Vector linear = (after.translation() - before.translation()) * (0.5 / kDifferenceStep);
    const Kt::Vector angular = angularRate(before.orientation(), after.orientation(), 2 * kDifferenceStep);
    for (std::size_t k = 0; k < 3; ++k) {
      rates[k][c] = linear[k];
      rates[k + 3][c] = angular[k];
    }
  }
  return rates;
}

// Every entry of `actual` within `tolerance` of `expected` (scaled by the larger of 1 and
// the expected entry), reported with its place.
inline void expectMatrixNear(const Kt::ReArray& actual, const Kt::ReArray& expected, double tolerance,
                             const std::string& what) {
  ASSERT_EQ(actual.rows(), expected.rows()) << what;
  ASSERT_EQ(actual.columns(), expected.columns()) << what;
  for (std::size_t r = 0; r < actual.rows(); ++r)
    for (std::size_t c = 0; c < actual.columns(); ++c)
      EXPECT_NEAR(actual[r][c], expected[r][c], tolerance * std::max(1.0, std::abs(expected[r][c])))
          << what << " at (" << r << ", " << c << ")";
}

}  // namespace endeffector_test

#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/position/KtPositionControlContainer.h"
#include "motion/velocity/VelocityTestSupport.h"
#include "xml/KtXmlFile.h"

// What the position-control tests share: the sample arm bound to the sample control document or
// to a control system built here, joints away from their limits, and placement distances.
namespace position_test {

inline std::string dataFile(const char* name) { return std::string(KT_TEST_DATA_DIR) + "/" + name; }

// Joints drawn uniformly from their ranges shrunk by `margin` at both ends.
inline std::vector<double> jointsInside(const KtIndividualManipulator& arm, TestRandom& rng, double margin) {
  std::vector<double> joints(arm.jointDof());
  for (std::size_t j = 0; j < joints.size(); ++j)
    joints[j] =
        rng.uniform(arm.link(j).lowerLimitConstraint() + margin, arm.link(j).upperLimitConstraint() - margin);
  return joints;
}

inline void setJoints(KtStatedSystem& stated, const std::vector<double>& joints) {
  KtPositionState position = stated.state().positionStates()[0];
  position.setJointPositions(joints);
  stated.setIndividualState(0, position);
}

// The sample arm and a container bound to it; the container holds the sample control document
// unless a system is given. Not copied, as the container points at the stated system.
struct BoundArm {
  KtStatedSystem stated;
  KtPositionControlContainer container;

  explicit BoundArm(std::unique_ptr<KtPositionControlSystem> control = nullptr) {
    EXPECT_TRUE(ktReadObjectFromFile(stated, dataFile("craig_arm.xml")));
    if (control)
      container.setSystem(std::move(control));
    else
      EXPECT_TRUE(ktReadObjectFromFile(container, dataFile("craig_arm_position_control.xml")));
    EXPECT_TRUE(container.bind(stated));
  }
  BoundArm(const BoundArm&) = delete;
  KtPositionControlSystem& system() { return container.system(); }
  const KtIndividualManipulator& arm() const { return stated.system().manipulator(0); }
  const std::vector<double>& joints() const { return stated.state().positionStates()[0].jointPositions(); }
  double time() const { return stated.state().time(); }
  Kt::coordinateSystemTransformation actual(int endEffector = 0) {
    Kt::coordinateSystemTransformation placement;
    EXPECT_TRUE(container.actualPlacement(0, endEffector, placement));
    return placement;
  }
  bool advance(double interval) {
    KtManipulatorSystemState result;
    return container.calculateState(time() + interval, result);
  }
};

// A plain system whose one description (the default core) controls the given end effectors.
inline std::unique_ptr<KtPositionControlSystem> controlOf(
    const std::vector<const KtEndEffector*>& endEffectors) {
  auto control = std::make_unique<KtPositionControlSystem>();
  control->velocityControlSystem().setManipulatorCount(1);
  for (const KtEndEffector* endEffector : endEffectors)
    control->velocityControlSystem().endEffectorSet(0)->addEndEffector(*endEffector);
  return control;
}

// A plain system that drives the flange frame of data/craig_arm_flange_set.xml with the default
// core: least-norm rates, no motion in the null space.
inline std::unique_ptr<KtPositionControlSystem> flangeControl() {
  auto control = controlOf({});
  EXPECT_TRUE(ktReadObjectFromFile(*control->velocityControlSystem().endEffectorSet(0),
                                   dataFile("craig_arm_flange_set.xml")));
  return control;
}

// A point end effector at the flange whose filter has the given gain and threshold.
inline KtPointEndEffector flangePoint(double gain, double threshold) {
  KtPointEndEffector point;
  point.setLinkIdentifier("craigArmLink7");
  KtPointMotionFilter filter;
  filter.setLinearGain(gain);
  filter.setThreshold(threshold);
  point.setPointMotionFilter(filter);
  return point;
}

// A control system whose one description yields the fixed `rates` as its joint rates, whatever
// the commanded velocities.
inline std::unique_ptr<KtPositionControlSystem> fixedRates(const std::vector<double>& rates) {
  auto control = std::make_unique<KtPositionControlSystem>();
  control->velocityControlSystem().setManipulatorCount(1);
  control->velocityControlSystem().controlExpressionContainer(0)->setExpression(
      velocity_test::literalColumn(rates));
  return control;
}

inline double angleBetween(const Kt::coordinateSystemTransformation& a,
                           const Kt::coordinateSystemTransformation& b) {
  double angle = 0.0;
  Kt::Vector axis;
  a.orientation().angleAxisBetween(b.orientation(), angle, axis);
  return angle;
}

}  // namespace position_test

#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "math/ReArray.h"
#include "motion/KtPointMotionFilter.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtFrameEndEffector.h"
#include "motion/endeffector/KtFreeSpinInZEndEffector.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtLookAtEndEffector.h"
#include "motion/endeffector/KtOrientationEndEffector.h"
#include "motion/endeffector/KtPlanarEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtSlideXSpinZEndEffector.h"
#include "motion/endeffector/KtSlidingEndEffector.h"
#include "motion/endeffector/KtSpatialMomentumEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "support/TempFiles.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlWriterDefaults.h"

// What the end-effector tests share: sample systems at random states, the independent oracle
// (central differences of an end effector's own placement over each joint value and each of the
// six base motions), one end effector of every class, and what the frame-like classes' rows are
// meant to hold.
namespace endeffector_test {

using manipulator_test::angularRate;
using manipulator_test::randomPose;

constexpr double kDifferenceStep = 1e-6;

// A sample document of data/ as a stated system, with manipulator 0 set to random joints.
inline KtStatedSystem sampleSystem(const char* name, TestRandom& rng) {
  KtStatedSystem stated;
  EXPECT_TRUE(ktReadObjectFromFile(stated, std::string(KT_TEST_DATA_DIR) + "/" + name));
  KtPositionState position = stated.state().positionStates()[0];
  position.setJointPositions(
      manipulator_test::randomJoints(rng, stated.system().manipulator(0).jointDof(), 2.5));
  position.setCoordinateSystemTransform(randomPose(rng));
  stated.setIndividualState(0, position);
  return stated;
}

// A sample at a random state whose links without mass, and its base, get random masses, with
// the base fixed or free and random joint rates (and base velocity when free).
inline KtStatedSystem massiveSample(const char* name, TestRandom& rng, bool freeBase) {
  KtStatedSystem stated = sampleSystem(name, rng);
  KtIndividualManipulator& arm = stated.system().manipulator(0);
  for (std::size_t i = 0; i < arm.jointDof(); ++i)
    if (arm.link(i).massProperties().isMassless())
      arm.linkForModification(i).setMassProperties(manipulator_test::randomMassProperties(rng));
  arm.setMassProperties(manipulator_test::randomMassProperties(rng));
  arm.setFixedBase(!freeBase);
  KtVelocityState rates;
  rates.setJointVelocities(manipulator_test::randomJoints(rng, arm.jointDof(), 2.0));
  if (freeBase)
    rates.generalVelocity() = KtGeneralMotion(randomPose(rng).translation(), randomPose(rng).translation());
  stated.setIndividualState(0, rates);
  return stated;
}

// The class name of an object, for messages and traces.
inline std::string className(const KtXmlObject& object) {
  const std::string mangled = typeid(object).name();
  return mangled.substr(mangled.find("Kt"));
}

// A matrix with every entry `value`, to see which entries a call writes.
inline Kt::ReArray filled(std::size_t rows, std::size_t columns, double value) {
  Kt::ReArray matrix(rows, columns);
  for (std::size_t r = 0; r < rows; ++r) matrix[r].assign(columns, value);
  return matrix;
}

// The position state `original` of `manipulator` with joint `column` (or, past the joints, base
// motion column − n: translation along, then rotation about the system x, y, z through the base
// origin) moved by `step`.
inline KtPositionState movedPosition(const KtIndividualManipulator& manipulator,
                                     const KtPositionState& original, std::size_t column, double step) {
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
  return moved;
}

// The placement of the end effector on manipulator 0 with joint `column` (or, past the joints,
// base motion column − n) moved by `step` from the current state; the state is restored.
inline Kt::coordinateSystemTransformation movedPlacement(KtStatedSystem& stated,
                                                         const KtEndEffector& endEffector, std::size_t column,
                                                         double step) {
  const KtIndividualManipulator& manipulator = stated.system().manipulator(0);
  const KtPositionState original = stated.state().positionStates()[0];
  stated.setIndividualState(0, movedPosition(manipulator, original, column, step));
  Kt::coordinateSystemTransformation placement;
  EXPECT_TRUE(endEffector.calculatePlacement(manipulator, *stated.activeState(0), placement));
  stated.setIndividualState(0, original);
  // Brings the active state back to the original joints for callers that hold on to it.
  stated.activeState(0);
  return placement;
}

// Six rows (the velocity of `point` of the placement, then the placement's angular velocity,
// in the axes the placement is given in) and one column per joint, plus six for the base when
// `freeBase`, by central differences.
inline Kt::ReArray placementRates(KtStatedSystem& stated, const KtEndEffector& endEffector, bool freeBase,
                                  const Kt::Vector& point = Kt::Vector()) {
  const std::size_t columns = stated.system().manipulator(0).jointDof() + (freeBase ? 6 : 0);
  Kt::ReArray rates(6, columns);
  for (std::size_t c = 0; c < columns; ++c) {
    const auto before = movedPlacement(stated, endEffector, c, -kDifferenceStep);
    const auto after = movedPlacement(stated, endEffector, c, kDifferenceStep);
    const Kt::Vector linear = (after * point - before * point) * (0.5 / kDifferenceStep);
    const Kt::Vector angular = angularRate(before.orientation(), after.orientation(), 2 * kDifferenceStep);
    for (std::size_t k = 0; k < 3; ++k) {
      rates[k][c] = linear[k];
      rates[k + 3][c] = angular[k];
    }
  }
  return rates;
}

// Rows firstRow to firstRow + 2 of J times the joint rates and base velocity of the state, as a vector.
inline Kt::Vector timesRates(const Kt::ReArray& jacobian, std::size_t firstRow, KtStatedSystem& stated) {
  const KtVelocityState& rates = stated.state().velocityStates()[0];
  const std::size_t joints = rates.jointVelocities().size();
  Kt::Vector product;
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t c = 0; c < jacobian.columns(); ++c) {
      const Kt::Vector& base =
          c < joints + 3 ? rates.generalVelocity().linear() : rates.generalVelocity().angular();
      product[k] +=
          jacobian[firstRow + k][c] * (c < joints ? rates.jointVelocities()[c] : base[(c - joints) % 3]);
    }
  }
  return product;
}

// Whether the object, saved with the schema our writer generates beside it, passes xmllint's
// validation against that schema.
inline bool validatesAgainstOwnSchema(const KtXmlObject& object, const std::string& stem) {
  TempDirectory directory;
  const std::string document = directory.file(stem + ".xml");
  KtXmlWriterDefaults::instance().writeSchema = true;
  const bool written = ktWriteObjectToFile(object, document);
  KtXmlWriterDefaults::instance().writeSchema = false;
  const std::string command =
      "xmllint --noout --schema " + directory.file(stem + ".ct.xsd") + " " + document + " > /dev/null 2>&1";
  return written && std::system(command.c_str()) == 0;
}

// The frame-like end effectors with what their rows are meant to hold, stated here on their own
// as the tests' expectation: which motion components (linear x, y, z, angular x, y, z) the rows
// keep, and whether in the end-effector frame's axes (else system axes).
struct Member {
  std::string className;
  std::unique_ptr<KtFrameMotionEndEffector> (*make)();
  std::vector<std::size_t> components;
  bool frameAxes;
};

template <typename T>
std::unique_ptr<KtFrameMotionEndEffector> make() {
  return std::make_unique<T>();
}

inline const std::vector<Member>& members() {
  static const std::vector<Member> all = {
      {"KtFrameEndEffector", make<KtFrameEndEffector>, {0, 1, 2, 3, 4, 5}, false},
      {"KtOrientationEndEffector", make<KtOrientationEndEffector>, {3, 4, 5}, false},
      {"KtPlanarEndEffector", make<KtPlanarEndEffector>, {2, 3, 4}, true},
      {"KtSlideXSpinZEndEffector", make<KtSlideXSpinZEndEffector>, {1, 2, 3, 4}, true},
      {"KtFreeSpinInZEndEffector", make<KtFreeSpinInZEndEffector>, {0, 1, 2, 3, 4}, true},
      {"KtSlidingEndEffector", make<KtSlidingEndEffector>, {1, 2, 3, 4, 5}, true},
      {"KtLookAtEndEffector", make<KtLookAtEndEffector>, {0, 1}, true},
  };
  return all;
}

// The point of the end-effector frame whose linear motion the rows hold: the look-at's focus point.
inline Kt::Vector rowPoint(const KtEndEffector& endEffector) {
  const auto* lookAt = dynamic_cast<const KtLookAtEndEffector*>(&endEffector);
  return lookAt == nullptr ? Kt::Vector() : Kt::Vector(0.0, 0.0, lookAt->focusDistance());
}

// The end effector's offset on its link as a frame, and setting it.
inline Kt::coordinateSystemTransformation offset(const KtEndEffector& endEffector) {
  if (const auto* framed = dynamic_cast<const KtFramedEndEffector*>(&endEffector)) return framed->frame();
  return Kt::coordinateSystemTransformation(
      dynamic_cast<const KtOrientationEndEffector&>(endEffector).orientation());
}
inline void setOffset(KtEndEffector& endEffector, const Kt::coordinateSystemTransformation& frame) {
  if (auto* framed = dynamic_cast<KtFramedEndEffector*>(&endEffector)) framed->setFrame(frame);
  if (auto* turned = dynamic_cast<KtOrientationEndEffector*>(&endEffector))
    turned->setOrientation(frame.orientation());
}

// The member's rows of a motion given in system axes, for an end-effector frame turned by `frame`.
inline std::vector<double> selectedRows(const Member& member, const Kt::Orientation& frame,
                                        const Kt::Vector& linear, const Kt::Vector& angular) {
  const Kt::Orientation toRows = member.frameAxes ? frame.inverse() : Kt::Orientation();
  const Kt::Vector l = toRows * linear, a = toRows * angular;
  std::vector<double> rows;
  for (const std::size_t k : member.components) rows.push_back(k < 3 ? l[k] : a[k - 3]);
  return rows;
}

// One end effector of every concrete class, carried by `link` and measured against `reference`,
// with every other field away from its default.
inline std::vector<std::unique_ptr<KtEndEffector>> everyClass(TestRandom& rng, const std::string& link,
                                                              const std::string& reference) {
  std::vector<std::unique_ptr<KtEndEffector>> all;
  for (const Member& member : members()) {
    std::unique_ptr<KtFrameMotionEndEffector> e = member.make();
    setOffset(*e, randomPose(rng));
    KtGeneralMotionFilter filter;
    filter.setThreshold(rng.uniform(0.1, 3.0));
    filter.setLinearGain(rng.uniform(10.0, 50.0));
    e->setMotionFilter(filter);
    if (auto* frame = dynamic_cast<KtFrameEndEffector*>(e.get())) frame->setAngularErrorWeight(0.75);
    if (auto* lookAt = dynamic_cast<KtLookAtEndEffector*>(e.get()))
      lookAt->setFocusDistance(rng.uniform(0.2, 2));
    all.push_back(std::move(e));
  }
  KtPointMotionFilter pointFilter;
  pointFilter.setLinearGain(12.5);
  pointFilter.setThreshold(0.25);
  auto xy = std::make_unique<KtXyEndEffector>();
  xy->setXyOrientation(Kt::Orientation(0.5, 0.5, -0.5, 0.5));
  auto sum = std::make_unique<KtLinearConstraintEndEffector>();
  sum->setJointLabels({link, reference});
  sum->setJointWeights({rng.uniform(-2, 2), rng.uniform(-2, 2)});
  sum->setWeightedSum(2.0);
  sum->setGain(12.0);
  sum->setIsInteractive(true);
  auto com = std::make_unique<KtCenterOfMassEndEffector>();
  com->setMotionFilter(pointFilter);
  auto momentum = std::make_unique<KtSpatialMomentumEndEffector>();
  momentum->setDesiredLinearMomentum(Kt::Vector(1, 2, 3));
  momentum->setDesiredAngularMomentum(Kt::Vector(4, 5, 6));
  momentum->setIncludeAngular(true);
  all.push_back(std::make_unique<KtPointEndEffector>());
  all.push_back(std::move(xy));
  all.push_back(std::move(sum));
  all.push_back(std::move(com));
  all.push_back(std::move(momentum));
  KtEndEffectorRelativeLinkData relative;
  relative.setIsRelativeLink(true);
  relative.setRelativeLinkId(reference);
  for (const auto& e : all) {
    e->setLinkIdentifier(link);
    e->setErrorWeight(rng.uniform(0.5, 2.0));
    e->setIsHardConstraint(false);
    if (dynamic_cast<KtLinearConstraintEndEffector*>(e.get()) == nullptr) e->setRelativeLinkData(relative);
    if (auto* point = dynamic_cast<KtLinkPointEndEffector*>(e.get())) {
      point->setPointMotionFilter(pointFilter);
      point->setPoint(randomPose(rng, 0.3).translation());
    }
  }
  return all;
}

// The frame-like class's expectation for an end effector, or null for the other classes.
inline const Member* memberOf(const KtEndEffector& endEffector) {
  for (const Member& member : members())
    if (member.className == className(endEffector)) return &member;
  return nullptr;
}

}  // namespace endeffector_test

// Writes the sample documents of the data directory: two 7-joint arms (one in the modified,
// one in the classic Denavit-Hartenberg convention, with their makers' published link
// parameters and joint limits, the first also with published link masses), an arm with a
// tracked free object, a compressed copy of the first, and end-effector sets for the first
// arm, one per kind of end effector, and a velocity-control system for the first arm with the
// position-control container that wraps it, and a whole simulation of the first arm under that
// position control.
// Usage: kt-make-samples <output directory>
#include <cstdio>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtEndEffectorSet.h"
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
#include "motion/expression/KtControlExpressionIdentityMatrix.h"
#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"
#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/expression/filter/KtControlExpressionJointRateFilter.h"
#include "motion/position/KtPositionControlContainer.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "motion/velocity/KtVelocityControlSystem.h"
#include "simulation/KtSystemSimulation.h"
#include "xml/KtXmlFile.h"

namespace {

constexpr double kHalfPi = std::numbers::pi / 2;
constexpr double kDegree = std::numbers::pi / 180;

struct Joint {
  double a, alpha, d, lower, upper;
};

// A link's mass, centre of mass and inertia about it, in the link's D-H frame and its axes.
struct Body {
  double mass;
  Kt::Vector center;
  KtSymmetricTensor inertia;
};

std::unique_ptr<KtIndividualManipulator> makeArm(const std::string& label, KtDhType convention,
                                                 const std::vector<Joint>& joints,
                                                 const Kt::coordinateSystemTransformation& lastPrimaryFrame,
                                                 const std::vector<Body>& bodies = {}) {
  auto arm = std::make_unique<KtIndividualManipulator>();
  arm->setIdentifier(label);
  int parent = KtManipulatorLink::kBaseLinkIndex;
  for (std::size_t i = 0; i < joints.size(); ++i) {
    auto dh = std::make_unique<KtDenavitHartenberg>();
    dh->setDhType(convention);
    dh->setA(joints[i].a);
    dh->setAlpha(joints[i].alpha);
    dh->setD(joints[i].d);
    if (i + 1 == joints.size()) dh->setPrimaryFrame(lastPrimaryFrame);
    auto link = std::make_unique<KtManipulatorLink>();
    link->setIdentifier(label + "Link" + std::to_string(i + 1));
    link->setKinematics(std::move(dh));
    link->setJointLimits(joints[i].lower, joints[i].upper);
    if (i < bodies.size()) {
      // Mass properties are given in the primary frame: move the centre there (the inertia
      // about the centre keeps its axes, as the primary frames here only translate).
      KtMassProperties mass;
      const Kt::Vector center = link->kinematics().primaryFrame().inverse() * bodies[i].center;
      if (!mass.setAboutCenterOfMass(bodies[i].mass, center, bodies[i].inertia)) return nullptr;
      link->setMassProperties(mass);
    }
    parent = arm->addLink(parent, std::move(link));
  }
  return arm;
}

// Modified parameters and joint limits as the maker publishes them; the flange offset
// (d = 0.107 m along the last z axis) becomes the last link's primary frame. Masses, centres
// of mass and inertias about them (xx, yy, zz, xy, xz, yz) as a published identification of the
// arm gives them, in the modified D-H frames (see data/README.md).
std::unique_ptr<KtIndividualManipulator> craigArm() {
  const std::vector<Body> bodies = {
      {4.970684,
       {3.875e-03, 2.081e-03, 0.0},
       {7.0337e-01, 7.0661e-01, 9.1170e-03, -1.3900e-04, 6.7720e-03, 1.9169e-02}},
      {0.646926,
       {-3.141e-03, -2.872e-02, 3.495e-03},
       {7.9620e-03, 2.8110e-02, 2.5995e-02, -3.9250e-03, 1.0254e-02, 7.0400e-04}},
      {3.228604,
       {2.7518e-02, 3.9252e-02, -6.6502e-02},
       {3.7242e-02, 3.6155e-02, 1.0830e-02, -4.7610e-03, -1.1396e-02, -1.2805e-02}},
      {3.587895,
       {-5.317e-02, 1.04419e-01, 2.7454e-02},
       {2.5853e-02, 1.9552e-02, 2.8323e-02, 7.7960e-03, -1.3320e-03, 8.6410e-03}},
      {1.225946,
       {-1.1953e-02, 4.1065e-02, -3.8437e-02},
       {3.5549e-02, 2.9474e-02, 8.6270e-03, -2.1170e-03, -4.0370e-03, 2.2900e-04}},
      {1.666555,
       {6.0149e-02, -1.4117e-02, -1.0517e-02},
       {1.9640e-03, 4.3540e-03, 5.4330e-03, 1.0900e-04, -1.1580e-03, 3.4100e-04}},
      {7.35522e-01,
       {1.0517e-02, -4.252e-03, 6.1597e-02},
       {1.2516e-02, 1.0027e-02, 4.8150e-03, -4.2800e-04, -1.1960e-03, -7.4100e-04}}};
  const std::vector<Joint> joints = {
      {0.0, 0.0, 0.333, -2.8973, 2.8973},          {0.0, -kHalfPi, 0.0, -1.7628, 1.7628},
      {0.0, kHalfPi, 0.316, -2.8973, 2.8973},      {0.0825, kHalfPi, 0.0, -3.0718, -0.0698},
      {-0.0825, -kHalfPi, 0.384, -2.8973, 2.8973}, {0.0, kHalfPi, 0.0, -0.0175, 3.7525},
      {0.088, kHalfPi, 0.0, -2.8973, 2.8973}};
  return makeArm("craigArm", KtDhType::craig, joints,
                 Kt::coordinateSystemTransformation(Kt::Vector(0, 0, 0.107)), bodies);
}

// Classic parameters from the datasheet's link lengths (0.340, 0.400, 0.400 and 0.126 m)
// and its axis ranges.
std::unique_ptr<KtIndividualManipulator> paulArm() {
  const double r170 = 170 * kDegree, r120 = 120 * kDegree, r175 = 175 * kDegree;
  const std::vector<Joint> joints = {{0.0, -kHalfPi, 0.340, -r170, r170}, {0.0, kHalfPi, 0.0, -r120, r120},
                                     {0.0, kHalfPi, 0.400, -r170, r170},  {0.0, -kHalfPi, 0.0, -r120, r120},
                                     {0.0, -kHalfPi, 0.400, -r170, r170}, {0.0, kHalfPi, 0.0, -r120, r120},
                                     {0.0, 0.0, 0.126, -r175, r175}};
  return makeArm("paulArm", KtDhType::paul, joints, Kt::coordinateSystemTransformation());
}

// A free object without joints, moved only through its base pose.
std::unique_ptr<KtIndividualManipulator> customer() {
  auto object = std::make_unique<KtIndividualManipulator>();
  object->setIdentifier("customer");
  object->setFixedBase(false);
  object->setControllable(false);
  return object;
}

// One position and velocity state per manipulator, with its joints at zero (or at the
// nearest limit when zero lies outside them), at rest, and with the given base poses.
KtStatedSystem statedSystem(std::vector<std::unique_ptr<KtIndividualManipulator>> manipulators,
                            const std::vector<Kt::coordinateSystemTransformation>& basePoses) {
  KtStatedSystem stated;
  for (auto& manipulator : manipulators) stated.system().addManipulator(std::move(manipulator));
  stated.state().positionStates().resize(stated.system().size());
  stated.state().velocityStates().resize(stated.system().size());
  for (std::size_t i = 0; i < stated.system().size(); ++i) {
    const KtIndividualManipulator& manipulator = stated.system().manipulator(i);
    std::vector<KtReal>& joints = stated.state().positionStates()[i].jointPositions();
    joints.resize(manipulator.jointDof());
    stated.state().velocityStates()[i].jointVelocities().resize(manipulator.jointDof(), 0.0);
    for (std::size_t j = 0; j < joints.size(); ++j) {
      const KtManipulatorLink& link = manipulator.link(j);
      joints[j] = std::min(std::max(0.0, link.lowerLimitConstraint()), link.upperLimitConstraint());
    }
    stated.setIndividualCoordinateSystemTransformation(static_cast<int>(i), basePoses[i]);
  }
  return stated;
}

// End-effector sets of one member each for craigArm(): its last link carries the flange.
const char* const kFlangeLink = "craigArmLink7";

KtEndEffectorSet setOf(const KtEndEffector& endEffector) {
  KtEndEffectorSet set;
  set.addEndEffector(endEffector);
  return set;
}

// An end effector of class E at the flange (the origin and axes of the last link's primary
// frame), with the class's defaults otherwise.
template <typename E>
KtEndEffectorSet flangeSet() {
  E endEffector;
  endEffector.setLinkIdentifier(kFlangeLink);
  return setOf(endEffector);
}

// An end effector of class E of the whole arm (centre of mass, momentum), named by the base.
template <typename E>
E wholeArm() {
  E endEffector;
  endEffector.setLinkIdentifier("craigArm");
  return endEffector;
}

// The first and last joints held at opposite values: their sum stays zero.
KtEndEffectorSet opposedJointsSet() {
  KtLinearConstraintEndEffector sum;
  sum.setJointLabels({"craigArmLink1", kFlangeLink});
  sum.setJointWeights({1.0, 1.0});
  return setOf(sum);
}

// Linear and angular momentum, both held.
KtEndEffectorSet momentumSet() {
  KtSpatialMomentumEndEffector momentum = wholeArm<KtSpatialMomentumEndEffector>();
  momentum.setIncludeAngular(true);
  return setOf(momentum);
}

struct SampleSet {
  const char* file;
  KtEndEffectorSet set;
};

std::vector<SampleSet> sampleSets() {
  return {{"craig_arm_flange_set.xml", flangeSet<KtFrameEndEffector>()},
          {"craig_arm_point_set.xml", flangeSet<KtPointEndEffector>()},
          {"craig_arm_orientation_set.xml", flangeSet<KtOrientationEndEffector>()},
          {"craig_arm_planar_set.xml", flangeSet<KtPlanarEndEffector>()},
          {"craig_arm_slide_x_spin_z_set.xml", flangeSet<KtSlideXSpinZEndEffector>()},
          {"craig_arm_free_spin_in_z_set.xml", flangeSet<KtFreeSpinInZEndEffector>()},
          {"craig_arm_sliding_set.xml", flangeSet<KtSlidingEndEffector>()},
          {"craig_arm_look_at_set.xml", flangeSet<KtLookAtEndEffector>()},
          {"craig_arm_xy_set.xml", flangeSet<KtXyEndEffector>()},
          {"craig_arm_center_of_mass_set.xml", setOf(wholeArm<KtCenterOfMassEndEffector>())},
          {"craig_arm_spatial_momentum_set.xml", momentumSet()},
          {"craig_arm_linear_constraint_set.xml", opposedJointsSet()}};
}

// Velocity control of craigArm(): the flange frame is met exactly; the elbow's point (link 4's
// origin) is asked, softly, to stay where it is, which keeps the elbow from swinging about while
// the null space is free; joints are pushed out of the last 0.3 rad before their limits; and all
// rates are slowed together so that none exceeds 2 rad/s.
// The elbow's wish must stay weaker than the push from the limits: once the flange has moved,
// the elbow's old place is usually out of reach, and a strong pull toward it (weight 10, at up
// to 1 m/s) drove joints into their limits, where the flange could no longer be held. With
// weight 1 and the elbow's correction capped at 0.1 m/s its pull on a joint stays below the
// limit push inside the zones.
KtVelocityControlSystem velocityControl() {
  KtEndEffectorSet set = flangeSet<KtFrameEndEffector>();
  KtPointEndEffector elbow;
  elbow.setLinkIdentifier("craigArmLink4");
  elbow.setIsHardConstraint(false);
  elbow.setMotionThreshold(0.1);
  set.addEndEffector(elbow);

  auto limits = std::make_unique<KtControlExpressionJointLimitAvoidance>();
  limits->setAvoidanceZone(0.3);
  auto handler = std::make_unique<KtWlsSoftConstraintHandler>();
  handler->setWeight(1.0);
  auto core = std::make_unique<KtControlExpressionCore>();
  core->matrix().setExpression(std::make_unique<KtControlExpressionIdentityMatrix>());
  core->vector().setExpression(std::move(limits));
  core->scalar().setExpression(std::make_unique<KtControlExpressionScalarConstant>(0.02));
  core->softConstraintHandler().push_back(std::move(handler));
  auto filter = std::make_unique<KtControlExpressionJointRateFilter>();
  filter->setThreshold(2.0);
  filter->unfilteredRates().setExpression(std::move(core));

  KtIndividualVelocityControlDescription description;
  description.setLabel("flange");
  description.endEffectorSet() = set;
  description.controlExpressionContainer().setExpression(std::move(filter));
  KtVelocityControlSystem control;
  control.setManipulatorCount(1);
  KtVelocityControlDescriptions descriptions;
  descriptions.push_back(description);
  control.setControlDescriptions(0, descriptions);
  return control;
}

// Position control of craigArm() through the velocity control above, with the default step,
// limits and modes.
KtPositionControlContainer positionControl() {
  KtPositionControlContainer container;
  container.system().velocityControlSystem() = velocityControl();
  return container;
}

// The first arm with its position control, looked at by the default camera.
KtSystemSimulation simulationOf(const KtStatedSystem& arm) {
  KtSystemSimulation simulation;
  static_cast<KtStatedSystem&>(simulation.visualizableStatedSystem()) = arm;
  simulation.positionControlContainer() = positionControl();
  return simulation;
}

bool write(const KtXmlObject& object, const std::string& path) {
  if (ktWriteObjectToFile(object, path)) return std::printf("wrote %s\n", path.c_str()), true;
  std::fprintf(stderr, "could not write %s\n", path.c_str());
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <output directory>\n", argv[0]);
    return 2;
  }
  const std::string directory = std::string(argv[1]) + "/";
  const Kt::coordinateSystemTransformation atOrigin;

  std::vector<std::unique_ptr<KtIndividualManipulator>> craig;
  craig.push_back(craigArm());
  if (!craig.back()) return 1;
  const KtStatedSystem craigSystem = statedSystem(std::move(craig), {atOrigin});

  std::vector<std::unique_ptr<KtIndividualManipulator>> paul;
  paul.push_back(paulArm());
  const KtStatedSystem paulSystem = statedSystem(std::move(paul), {atOrigin});

  std::vector<std::unique_ptr<KtIndividualManipulator>> pair;
  pair.push_back(craigArm());
  pair.push_back(customer());
  Kt::Orientation turned;
  turned.setFrom321Euler(0.5, 0.0, 0.0);
  const KtStatedSystem pairSystem = statedSystem(
      std::move(pair), {atOrigin, Kt::coordinateSystemTransformation(Kt::Vector(0.6, 0.1, 0.4), turned)});

  const bool written =
      write(craigSystem, directory + "craig_arm.xml") && write(craigSystem, directory + "craig_arm.xml.gz") &&
      write(paulSystem, directory + "paul_arm.xml") && write(pairSystem, directory + "arm_and_customer.xml");
  bool setsWritten = write(velocityControl(), directory + "craig_arm_velocity_control.xml") &&
                     write(positionControl(), directory + "craig_arm_position_control.xml") &&
                     write(simulationOf(craigSystem), directory + "craig_arm_simulation.xml");
  for (const SampleSet& sample : sampleSets())
    setsWritten = write(sample.set, directory + sample.file) && setsWritten;
  return written && setsWritten ? 0 : 1;
}

// Writes the sample documents of the data directory: two 7-joint arms (one in the modified,
// one in the classic Denavit-Hartenberg convention, with their makers' published link
// parameters and joint limits), an arm with a tracked free object, a compressed copy of the
// first, and end-effector sets for the first arm, one per kind of end effector.
// Usage: kt-make-samples <output directory>
#include <cstdio>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "xml/KtXmlFile.h"

namespace {

constexpr double kHalfPi = std::numbers::pi / 2;
constexpr double kDegree = std::numbers::pi / 180;

struct Joint {
  double a, alpha, d, lower, upper;
};

std::unique_ptr<KtIndividualManipulator> makeArm(const std::string& label, KtDhType convention,
                                                 const std::vector<Joint>& joints,
                                                 const Kt::coordinateSystemTransformation& lastPrimaryFrame) {
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
    parent = arm->addLink(parent, std::move(link));
  }
  return arm;
}

// Modified parameters and joint limits as the maker publishes them; the flange offset
// (d = 0.107 m along the last z axis) becomes the last link's primary frame.
std::unique_ptr<KtIndividualManipulator> craigArm() {
  const std::vector<Joint> joints = {
      {0.0, 0.0, 0.333, -2.8973, 2.8973},          {0.0, -kHalfPi, 0.0, -1.7628, 1.7628},
      {0.0, kHalfPi, 0.316, -2.8973, 2.8973},      {0.0825, kHalfPi, 0.0, -3.0718, -0.0698},
      {-0.0825, -kHalfPi, 0.384, -2.8973, 2.8973}, {0.0, kHalfPi, 0.0, -0.0175, 3.7525},
      {0.088, kHalfPi, 0.0, -2.8973, 2.8973}};
  return makeArm("craigArm", KtDhType::craig, joints,
                 Kt::coordinateSystemTransformation(Kt::Vector(0, 0, 0.107)));
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

// The flange centre, held in all three directions.
KtEndEffectorSet flangePointSet() {
  KtPointEndEffector point;
  point.setLinkIdentifier(kFlangeLink);
  return setOf(point);
}

// The flange centre, held only in the horizontal plane of the base.
KtEndEffectorSet flangeXySet() {
  KtXyEndEffector xy;
  xy.setLinkIdentifier(kFlangeLink);
  return setOf(xy);
}

// The first and last joints held at opposite values: their sum stays zero.
KtEndEffectorSet opposedJointsSet() {
  KtLinearConstraintEndEffector sum;
  sum.setJointLabels({"craigArmLink1", kFlangeLink});
  sum.setJointWeights({1.0, 1.0});
  return setOf(sum);
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

  const bool written = write(craigSystem, directory + "craig_arm.xml") &&
                       write(craigSystem, directory + "craig_arm.xml.gz") &&
                       write(paulSystem, directory + "paul_arm.xml") &&
                       write(pairSystem, directory + "arm_and_customer.xml") &&
                       write(flangePointSet(), directory + "craig_arm_point_set.xml") &&
                       write(flangeXySet(), directory + "craig_arm_xy_set.xml") &&
                       write(opposedJointsSet(), directory + "craig_arm_linear_constraint_set.xml");
  return written ? 0 : 1;
}

// Host-side demonstration: composes a few poses with the exported math and solves a small
// linear system, then loads the 7-joint sample arm and prints its link frames for a fixed
// joint vector, its modified D-H rows, the Jacobian of a frame end effector on its flange, and
// the joint rates its sample velocity-control system computes for a commanded flange velocity.
// Usage: kt-demo [data directory]   (default: the source tree's data directory)
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

#include "foundation/FileUtil.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtStatedSystem.h"
#include "math/ReArray.h"
#include "math/coordinateSystemTransformation.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/velocity/KtVelocityControlSystem.h"
#include "xml/KtXmlFile.h"

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

void printPose(const char* name, const Kt::coordinateSystemTransformation& pose) {
  const Kt::ReArray matrix = pose.make4x4();
  std::printf("%s (mode %u)\n", name, static_cast<unsigned>(pose.mode()));
  for (std::size_t row = 0; row < 4; ++row) {
    std::printf("  [");
    for (std::size_t column = 0; column < 4; ++column) std::printf(" %9.5f", matrix[row][column]);
    std::printf(" ]\n");
  }
  double yaw = 0.0, pitch = 0.0, roll = 0.0;
  pose.orientation().get321Euler(yaw, pitch, roll);
  std::printf("  3-2-1 Euler angles (deg): yaw %.4f, pitch %.4f, roll %.4f\n\n", yaw / kDegree,
              pitch / kDegree, roll / kDegree);
}

void printTranslationAndEuler(const char* name, const Kt::coordinateSystemTransformation& frame) {
  double yaw = 0.0, pitch = 0.0, roll = 0.0;
  frame.orientation().get321Euler(yaw, pitch, roll);
  const Kt::Vector& p = frame.translation();
  std::printf("  %-14s p = (%8.5f, %8.5f, %8.5f)  3-2-1 Euler (deg) = (%9.4f, %9.4f, %9.4f)\n", name, p.x(),
              p.y(), p.z(), yaw / kDegree, pitch / kDegree, roll / kDegree);
}

// Loads the flange's end-effector set and prints the frame end effector's placement and its
// 6 x 7 Jacobian (rows: flange velocity, then angular velocity, system axes) at the joints.
int showFlangeJacobian(KtStatedSystem& stated, const std::vector<double>& joints) {
  KtEndEffectorSet flange;
  if (!ktReadObjectFromFile(flange, "craig_arm_flange_set.xml") || flange.size() != 1) {
    std::printf("could not load craig_arm_flange_set.xml\n");
    return 1;
  }
  KtPositionState position = stated.state().positionStates()[0];
  position.setJointPositions(joints);
  stated.setIndividualState(0, position);
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  KtManipulatorActiveState& active = *stated.activeState(0);
  Kt::coordinateSystemTransformation placement;
  if (!flange.endEffector(0).calculatePlacement(arm, active, placement)) return 1;
  std::printf("\nflange frame end effector on %s:\n", flange.endEffector(0).linkIdentifier().c_str());
  printTranslationAndEuler("placement", placement);
  const Kt::ReArray& jacobian = flange.jacobian(arm, true, active);
  static const char* const rowNames[6] = {"v_x", "v_y", "v_z", "w_x", "w_y", "w_z"};
  std::printf("flange Jacobian (columns: joints 1 to %zu):\n", jacobian.columns());
  for (std::size_t row = 0; row < jacobian.rows(); ++row) {
    std::printf("  %s [", rowNames[row % 6]);
    for (std::size_t column = 0; column < jacobian.columns(); ++column) {
      // Entries that are zero up to rounding print as 0 rather than -0.
      const double entry = jacobian[row][column];
      std::printf(" %9.5f", std::abs(entry) < 5e-6 ? 0.0 : entry);
    }
    std::printf(" ]\n");
  }
  return 0;
}

// Loads the sample velocity-control system and prints the joint rates it computes for a flange
// moving at 5 cm/s along the system's x axis and turning at 0.1 rad/s about its z axis, the elbow
// held still, and what those rates give the flange back.
int showJointRates(const KtStatedSystem& stated) {
  KtVelocityControlSystem control;
  if (!ktReadObjectFromFile(control, "craig_arm_velocity_control.xml") || control.manipulatorCount() != 1) {
    std::printf("could not load craig_arm_velocity_control.xml\n");
    return 1;
  }
  KtManipulatorEndEffectorVelocity commanded;
  commanded.resize(2);
  commanded.velocity(0) = {0.05, 0.0, 0.0, 0.0, 0.0, 0.1};
  commanded.velocity(1) = {0.0, 0.0, 0.0};
  std::vector<KtVelocityState> rates(1);
  if (!control.calculate(stated, {commanded}, rates)) return 1;
  std::printf("\njoint rates (rad/s) of %s for the flange velocity (0.05, 0, 0) m/s, (0, 0, 0.1) rad/s:\n ",
              control.individualVelocityControlDescription(0)->label().c_str());
  for (double rate : rates[0].jointVelocities()) std::printf(" %9.5f", rate);
  const Kt::ReArray& jacobian =
      control.endEffectorSet(0)->jacobian(stated.system().manipulator(0), true, *stated.activeState(0));
  std::printf("\nflange velocity they give:\n ");
  for (std::size_t row = 0; row < 6; ++row) {
    double sum = 0.0;
    for (std::size_t column = 0; column < jacobian.columns(); ++column)
      sum += jacobian[row][column] * rates[0].jointVelocities()[column];
    std::printf(" %9.5f", std::abs(sum) < 5e-12 ? 0.0 : sum);
  }
  std::printf("\n");
  return 0;
}

// Loads the sample arm through the data-file finder and prints its frames and D-H rows.
int showSampleArm(const std::string& dataDirectory) {
  KtFileUtil::setDataDirectories({dataDirectory});
  KtStatedSystem stated;
  if (!ktReadObjectFromFile(stated, "craig_arm.xml") || stated.system().size() == 0) {
    std::printf("could not load craig_arm.xml from %s\n", dataDirectory.c_str());
    return 1;
  }
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const std::vector<double> joints = {0.0, -0.3, 0.0, -2.2, 0.0, 2.0, 0.8};
  KtManipulatorActiveState active;
  active.activePositionState().setJointPositions(joints);
  std::printf("sample arm %s, %zu joints, joint values (rad):", arm.identifier().c_str(), arm.jointDof());
  for (double q : joints) std::printf(" %.2f", q);
  std::printf("\nlink frames in system coordinates (primary frames):\n");
  for (std::size_t i = 0; i < arm.jointDof(); ++i) {
    printTranslationAndEuler(arm.link(i).identifier().c_str(), arm.link(i).primaryFrameInSystem(active));
  }
  std::printf("modified (Craig) D-H rows:\n  link  a (m)     alpha (rad)  d (m)\n");
  for (std::size_t i = 0; i < arm.jointDof(); ++i) {
    const KtDenavitHartenberg* dh = arm.link(i).denavitHartenberg();
    if (dh != nullptr) std::printf("  %zu  %9.5f  %9.5f  %9.5f\n", i + 1, dh->a(), dh->alpha(), dh->d());
  }
  const int shown = showFlangeJacobian(stated, joints);
  return shown != 0 ? shown : showJointRates(stated);
}

}  // namespace

int main(int argc, char** argv) {
  Kt::Orientation shoulderTurn;
  shoulderTurn.setFrom321Euler(30.0 * kDegree, 0.0, 0.0);
  Kt::Orientation elbowBend;
  elbowBend.setFrom321Euler(0.0, -45.0 * kDegree, 10.0 * kDegree);

  const Kt::coordinateSystemTransformation base(Kt::Vector(0.0, 0.0, 0.3105));
  const Kt::coordinateSystemTransformation shoulder(Kt::Vector(0.0, 0.0, 0.4), shoulderTurn);
  const Kt::coordinateSystemTransformation elbow(Kt::Vector(0.39, 0.0, 0.0), elbowBend);
  const Kt::coordinateSystemTransformation tool = base * shoulder * elbow;

  printPose("base", base);
  printPose("base * shoulder * elbow", tool);
  printPose("inverse of that", tool.inverse());

  const Kt::Vector tip = tool * Kt::Vector(0.1, 0.0, 0.0);
  std::printf("tool tip 0.1 m along the last x axis, in base coordinates: (%.6f, %.6f, %.6f)\n\n", tip.x(),
              tip.y(), tip.z());

  Kt::ReArray system(3, 3);
  const double entries[3][3] = {{4.0, -2.0, 1.0}, {-2.0, 4.0, -2.0}, {1.0, -2.0, 4.0}};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column) system[row][column] = entries[row][column];
  const std::vector<double> rightHandSide = {11.0, -16.0, 17.0};
  std::vector<double> solution;
  if (!system.solve(rightHandSide, solution)) return 1;
  std::printf("solution of the 3x3 system: (%.6f, %.6f, %.6f), determinant %.6f\n\n", solution[0],
              solution[1], solution[2], system.determinant());
  return showSampleArm(argc > 1 ? argv[1] : KT_DEMO_DATA_DIR);
}

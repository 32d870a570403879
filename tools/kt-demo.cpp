// Host-side demonstration of the exported math: composes a few poses, prints them as 4x4
// matrices and 3-2-1 Euler angles, and solves a small linear system.
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

#include "math/ReArray.h"
#include "math/coordinateSystemTransformation.h"

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

}  // namespace

int main() {
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
  std::printf("solution of the 3x3 system: (%.6f, %.6f, %.6f), determinant %.6f\n", solution[0], solution[1],
              solution[2], system.determinant());
  return 0;
}

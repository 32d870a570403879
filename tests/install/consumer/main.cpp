// Uses only the installed headers and the shared library: a pose applied to a point, a
// small linear system solved, and a control interface that, with no files named, cannot
// be initialised.
#include <cmath>
#include <cstdio>
#include <vector>

#include "control/controlInterface.h"
#include "math/ReArray.h"
#include "math/coordinateSystemTransformation.h"

int main() {
  Kt::coordinateSystemTransformation pose(Kt::Vector(1.0, 2.0, 3.0), Kt::Orientation::zRotation(M_PI / 2.0));
  const Kt::Vector moved = pose * Kt::Vector(1.0, 0.0, 0.0);
  if (!moved.approxEq(Kt::Vector(1.0, 3.0, 3.0), 1e-12)) return 1;

  Kt::ReArray system(2, 2);
  system[0][0] = 2.0;
  system[0][1] = 1.0;
  system[1][0] = 1.0;
  system[1][1] = 3.0;
  std::vector<double> solution;
  if (!system.solve({3.0, 5.0}, solution)) return 1;
  if (std::fabs(solution[0] - 0.8) > 1e-12 || std::fabs(solution[1] - 1.4) > 1e-12) return 1;
  orlix::controlInterface control;
  control.turnOffRendering();
  if (control.initializeJointAngles({0.0}) || control.addShape(KtSphere(0.1), pose, "ball") != 0) return 1;
  std::puts("installed kt package works");
  return 0;
}

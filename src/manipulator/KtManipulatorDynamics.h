#pragma once

#include <cstddef>
#include <vector>

#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtJointColumns.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtSpatialInertia.h"
#include "math/ReArray.h"

// The room that the dynamics functions below work in, owned by the caller so that repeated
// calls allocate nothing: prepare() sizes it for a manipulator, and it has to be prepared
// again when that manipulator's link count or the fixing of its base changes.
struct KtDynamicsWorkspace {
  std::size_t linkCount = 0;
  std::size_t columnCount = 0;
  // Per link: its unit motion at the system origin, and the inertia (or only the mass and
  // first moment) of its body or of its whole subtree.
  std::vector<KtJointColumn> motions;
  std::vector<KtSpatialInertia> inertias;
  // The rows of the matrix being written.
  std::vector<KtReal*> rows;
};

// The rigid-body dynamics of a manipulator at its current position: the joint-space mass
// matrix, the generalised forces that hold it still against gravity, and their derivative.
//
// Columns are those of the manipulator's Jacobian (KtJointColumns): one per joint in link-index
// order, then, when the base is not fixed, six for the base: translation along the system's x,
// y and z, then rotation about the system's x, y and z axes through the base pose's origin.
// Units are SI: masses in kg, lengths in m, so that a rotational column's force is a torque
// in N m and a sliding or base-translation column's a force in N. Gravity is 9.81 m/s² along
// the system's −z.
//
// The bodies are the links with their mass properties (massless links carry nothing) and,
// when the base is free, the base with its own; a fixed base's mass never enters. The state
// must be the manipulator's up-to-date active state (KtStatedSystem::activeState); the frames
// are read, and computed where needed, through it.
//
// Each function checks that the workspace was prepared for the manipulator as it is; if not,
// it prints "KtManipulatorDynamics::<function>(): the workspace is prepared for <l> links and
// <c> columns, not <n> and <n or n + 6>; prepare it first.", leaves its output alone and gives
// false. Outputs take the column count's size, which allocates only when their size changes.
namespace KtManipulatorDynamics {

constexpr KtReal kGravity = 9.81;

// Sizes the workspace for the manipulator's links and columns.
void prepare(const KtIndividualManipulator& manipulator, KtDynamicsWorkspace& workspace);

// The symmetric, positive semi-definite mass matrix M of the columns (kg, kg m or kg m²): the
// kinetic energy of column rates u is uᵀ M u / 2. Composite rigid bodies: entry (i, j) is
// column i's motion against the momentum that column j's gives the subtree that both move,
// zero for joints on different branches.
bool massMatrix(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                KtDynamicsWorkspace& workspace, Kt::ReArray& mass);

// The force each column has to exert so that the manipulator, at rest, stays at rest under
// gravity: the derivative of the potential energy Σ m g z over the column. With `outwardFrom`
// naming a link, only the weight of that link and of the links outboard of it counts (joints
// elsewhere get zero, the base columns carry that load alone); kBaseLinkIndex counts every
// body. Another index prints "KtManipulatorDynamics::<function>(): link index <i> out of
// range <n>." and gives false.
bool gravityTorques(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                    KtDynamicsWorkspace& workspace, std::vector<KtReal>& torques,
                    int outwardFrom = KtManipulatorLink::kBaseLinkIndex);

// Entry (i, j) is the derivative of gravityTorques' entry i as column j moves the manipulator:
// the Hessian of the potential energy, symmetric over the joints. Among the base rotations,
// which do not commute, it is not symmetric. `outwardFrom` as for gravityTorques.
bool gravityTorqueDerivative(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                             KtDynamicsWorkspace& workspace, Kt::ReArray& derivative,
                             int outwardFrom = KtManipulatorLink::kBaseLinkIndex);

}  // namespace KtManipulatorDynamics

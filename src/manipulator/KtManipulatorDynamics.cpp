// Mass matrix, gravity load and its derivative, all in system coordinates about the system
// origin. There a body's inertia, a joint's unit motion and a force need no transformation
// from link to link: inertias of a subtree simply add up, and a column's force is its unit
// motion against the force and moment that the subtree it moves asks for.
#include "manipulator/KtManipulatorDynamics.h"

#include <algorithm>
#include <array>

#include "foundation/Print.h"

namespace KtManipulatorDynamics {

namespace {

// Holding the bodies still against gravity takes what accelerating them upwards at g would: a
// force M·a and, about the origin, a moment H × a, for the mass M and first moment H moved.
const Kt::Vector kUpward(0.0, 0.0, kGravity);

std::size_t columnCount(const KtIndividualManipulator& manipulator) {
  return manipulator.jointDof() + (manipulator.isFixedBase() ? 0 : 6);
}

bool prepared(const KtIndividualManipulator& manipulator, const KtDynamicsWorkspace& workspace,
              const char* function) {
  const std::size_t links = manipulator.jointDof(), columns = columnCount(manipulator);
  if (workspace.linkCount == links && workspace.columnCount == columns) return true;
  ktPrint(KtSeverity::Error,
          "KtManipulatorDynamics::%s(): the workspace is prepared for %zu links and %zu columns, not %zu and "
          "%zu; prepare it first.\n",
          function, workspace.linkCount, workspace.columnCount, links, columns);
  return false;
}

int parentIndex(const KtManipulatorLink& link) { return link.parentLink()->linkIndex(); }

// Gives the matrix the column count's square shape (reshaping only when it differs) with every
// entry zero, and notes its rows in the workspace, so that entries are written without a
// checked lookup each.
KtReal* const* clear(Kt::ReArray& matrix, KtDynamicsWorkspace& workspace) {
  const std::size_t size = workspace.columnCount;
  if (matrix.rows() != size || matrix.columns() != size) matrix.setToZeros(size, size);
  for (std::size_t r = 0; r < size; ++r) {
    workspace.rows[r] = matrix[r].data();
    std::fill(workspace.rows[r], workspace.rows[r] + size, 0.0);
  }
  return workspace.rows.data();
}

KtReal power(const KtJointColumn& motion, const Kt::Vector& force, const Kt::Vector& moment) {
  return motion.linear.dot(force) + motion.angular.dot(moment);
}

// The joints' unit motions at the system origin; asking each link for its frame brings its
// record up to date (on a chain, the first query computes them all).
void gatherMotions(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                   KtDynamicsWorkspace& workspace) {
  for (std::size_t i = 0; i < workspace.linkCount; ++i) {
    const KtManipulatorLink& link = manipulator.link(i);
    link.dhFrameInSystem(state);
    const KtManipulatorActivePositionState& positions = state.activePositionState();
    workspace.motions[i] =
        KtJointColumns::fromRecord(link, positions.linkFrames(i), positions.jointPlan(i), Kt::Vector());
  }
}

// The six base columns' unit motions at the system origin.
std::array<KtJointColumn, 6> baseMotions(KtManipulatorActiveState& state, Kt::Vector& baseOrigin) {
  baseOrigin = state.activePositionState().positionState().coordinateSystemTransform().translation();
  std::array<KtJointColumn, 6> motions;
  for (std::size_t k = 0; k < 6; ++k) motions[k] = KtJointColumns::freeBase(k, -baseOrigin);
  return motions;
}

// Adds each link's entry into its parent's, the root links' into `total`: links come after
// their parents in index order, so going backwards every subtree is complete before it is added.
void sumSubtrees(const KtIndividualManipulator& manipulator, KtDynamicsWorkspace& workspace,
                 KtSpatialInertia& total) {
  for (std::size_t i = workspace.linkCount; i-- > 0;) {
    const int parent = parentIndex(manipulator.link(i));
    (parent >= 0 ? workspace.inertias[static_cast<std::size_t>(parent)] : total) += workspace.inertias[i];
  }
}

// The mass and first moment (no second moment) of the bodies that the gravity load counts, summed
// over each link's subtree into the workspace and over everything into `total`. In depth-first
// pre-order a subtree is the run of indices from its root up to the first link whose parent
// comes before that root.
bool sumWeights(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                KtDynamicsWorkspace& workspace, int outwardFrom, const char* function,
                KtSpatialInertia& total) {
  const std::size_t n = workspace.linkCount;
  const bool everything = outwardFrom == KtManipulatorLink::kBaseLinkIndex;
  if (!everything && (outwardFrom < 0 || static_cast<std::size_t>(outwardFrom) >= n)) {
    ktPrint(KtSeverity::Error, "KtManipulatorDynamics::%s(): link index %d out of range %zu.\n", function,
            outwardFrom, n);
    return false;
  }
  const std::size_t first = everything ? 0 : static_cast<std::size_t>(outwardFrom);
  std::size_t end = everything ? n : first + 1;
  while (end < n && parentIndex(manipulator.link(end)) >= static_cast<int>(first)) ++end;
  const auto weight = [&state](const KtManipulatorLink& link) {
    const KtMassProperties& properties = link.massProperties();
    const Kt::coordinateSystemTransformation& frame = link.primaryFrameInSystem(state);
    return KtSpatialInertia{
        properties.mass(),
        frame.translation() * properties.mass() + frame.orientation() * properties.firstMoment(),
        {}};
  };
  for (std::size_t i = 0; i < n; ++i)
    workspace.inertias[i] = i >= first && i < end ? weight(manipulator.link(i)) : KtSpatialInertia{};
  total = everything && !manipulator.isFixedBase() ? weight(manipulator) : KtSpatialInertia{};
  sumSubtrees(manipulator, workspace, total);
  return true;
}

}  // namespace

void prepare(const KtIndividualManipulator& manipulator, KtDynamicsWorkspace& workspace) {
  workspace.linkCount = manipulator.jointDof();
  workspace.columnCount = columnCount(manipulator);
  workspace.motions.resize(workspace.linkCount);
  workspace.inertias.resize(workspace.linkCount);
  workspace.rows.resize(workspace.columnCount);
}

// Each joint moves its subtree, which is the composite body i: M_ij = S_jᵀ I_i S_i for every
// joint j on the way from i to the base (and for every base column), and M_ji the same.
bool massMatrix(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                KtDynamicsWorkspace& workspace, Kt::ReArray& mass) {
  if (!prepared(manipulator, workspace, "massMatrix")) return false;
  const std::size_t n = workspace.linkCount;
  const bool freeBase = !manipulator.isFixedBase();
  KtReal* const* const entries = clear(mass, workspace);
  gatherMotions(manipulator, state, workspace);
  for (std::size_t i = 0; i < n; ++i) {
    const KtManipulatorLink& link = manipulator.link(i);
    workspace.inertias[i] = KtSpatialInertia::of(link.massProperties(), link.primaryFrameInSystem(state));
  }
  KtSpatialInertia total;
  if (freeBase)
    total = KtSpatialInertia::of(manipulator.massProperties(), manipulator.primaryFrameInSystem(state));
  sumSubtrees(manipulator, workspace, total);

  Kt::Vector baseOrigin;
  const std::array<KtJointColumn, 6> base = baseMotions(state, baseOrigin);
  Kt::Vector force, moment;
  for (std::size_t i = 0; i < n; ++i) {
    workspace.inertias[i].momentum(workspace.motions[i], force, moment);
    for (const KtManipulatorLink* link = &manipulator.link(i); link->linkIndex() >= 0;
         link = link->parentLink()) {
      const auto j = static_cast<std::size_t>(link->linkIndex());
      entries[i][j] = entries[j][i] = power(workspace.motions[j], force, moment);
    }
    if (!freeBase) continue;
    for (std::size_t k = 0; k < 6; ++k) entries[i][n + k] = entries[n + k][i] = power(base[k], force, moment);
  }
  if (freeBase) {
    for (std::size_t k = 0; k < 6; ++k) {
      total.momentum(base[k], force, moment);
      for (std::size_t l = 0; l <= k; ++l)
        entries[n + l][n + k] = entries[n + k][n + l] = power(base[l], force, moment);
    }
  }
  return true;
}

// Newton-Euler with every velocity and joint acceleration zero: gravity counts as an upward
// acceleration g of the base, which every body then shares, so the outward pass is trivial and
// the inward pass sums each subtree's force and moment (about the origin) for its joint.
bool gravityTorques(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                    KtDynamicsWorkspace& workspace, std::vector<KtReal>& torques, int outwardFrom) {
  KtSpatialInertia total;
  if (!prepared(manipulator, workspace, "gravityTorques") ||
      !sumWeights(manipulator, state, workspace, outwardFrom, "gravityTorques", total))
    return false;
  const std::size_t n = workspace.linkCount;
  torques.resize(workspace.columnCount);
  gatherMotions(manipulator, state, workspace);
  for (std::size_t i = 0; i < n; ++i) {
    const KtSpatialInertia& load = workspace.inertias[i];
    torques[i] = power(workspace.motions[i], kUpward * load.mass, load.firstMoment.cross(kUpward));
  }
  if (manipulator.isFixedBase()) return true;
  Kt::Vector baseOrigin;
  const std::array<KtJointColumn, 6> base = baseMotions(state, baseOrigin);
  for (std::size_t k = 0; k < 6; ++k)
    torques[n + k] = power(base[k], kUpward * total.mass, total.firstMoment.cross(kUpward));
  return true;
}

// Column d turns (or slides) its subtree with the unit motion (v_d, w_d), so the subtree's
// first moment changes at the rate K_d = M_d v_d + w_d × H_d. A column a at or inboard of d
// carries the moment H_a × g of its load, of which only that part moves, and its own motion
// stays, so ∂τ_a/∂q_d = w_a · (K_d × g) (with g upward, as above). The potential energy's
// Hessian is symmetric over joints, and over a joint and a base motion (which commute), so
// that value also fills entry (d, a); columns on different branches do not interact.
//
// Among the base columns, base motion c moves the whole load (K_c from the totals) and also
// the base origin by v_c + w_c × b, which turns a base rotation's own linear part b × e with it.
bool gravityTorqueDerivative(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                             KtDynamicsWorkspace& workspace, Kt::ReArray& derivative, int outwardFrom) {
  KtSpatialInertia total;
  if (!prepared(manipulator, workspace, "gravityTorqueDerivative") ||
      !sumWeights(manipulator, state, workspace, outwardFrom, "gravityTorqueDerivative", total))
    return false;
  const std::size_t n = workspace.linkCount;
  const bool freeBase = !manipulator.isFixedBase();
  KtReal* const* const entries = clear(derivative, workspace);
  gatherMotions(manipulator, state, workspace);
  Kt::Vector baseOrigin;
  const std::array<KtJointColumn, 6> base = baseMotions(state, baseOrigin);
  const auto momentRate = [](const KtJointColumn& motion, const KtSpatialInertia& load) {
    return (motion.linear * load.mass + motion.angular.cross(load.firstMoment)).cross(kUpward);
  };
  for (std::size_t d = 0; d < n; ++d) {
    const Kt::Vector rate = momentRate(workspace.motions[d], workspace.inertias[d]);
    for (const KtManipulatorLink* link = &manipulator.link(d); link->linkIndex() >= 0;
         link = link->parentLink()) {
      const auto a = static_cast<std::size_t>(link->linkIndex());
      entries[a][d] = entries[d][a] = workspace.motions[a].angular.dot(rate);
    }
    if (!freeBase) continue;
    for (std::size_t k = 0; k < 6; ++k) entries[n + k][d] = entries[d][n + k] = base[k].angular.dot(rate);
  }
  if (freeBase) {
    const Kt::Vector weight = kUpward * total.mass;
    for (std::size_t c = 0; c < 6; ++c) {
      const Kt::Vector rate = momentRate(base[c], total);
      const Kt::Vector originRate = base[c].linear + base[c].angular.cross(baseOrigin);
      for (std::size_t k = 0; k < 6; ++k) {
        const Kt::Vector linearRate = originRate.cross(base[k].angular);
        entries[n + k][n + c] = linearRate.dot(weight) + base[k].angular.dot(rate);
      }
    }
  }
  return true;
}

}  // namespace KtManipulatorDynamics

#include <gtest/gtest.h>

#include <kdl/chaindynparam.hpp>
#include <optional>

#include "manipulator/KtManipulatorDynamics.h"
#include "manipulator/ManipulatorTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"

using namespace manipulator_test;
namespace dynamics = KtManipulatorDynamics;

namespace {

constexpr int kEveryBody = KtManipulatorLink::kBaseLinkIndex;

// Joints of every kind hung from random earlier links or the base, with random primary offsets
// and masses (every fourth link massless), on a base with mass.
std::unique_ptr<KtIndividualManipulator> randomTree(TestRandom& rng, std::size_t joints) {
  auto arm = makeSerialArm({});
  for (std::size_t i = 0; i < joints; ++i) {
    const KtJointType type = i % 3 == 2 ? KtJointType::prismatic : KtJointType::rotational;
    auto link = makeLink(randomJoint(rng, static_cast<KtDhType>(i % 5), type), "link" + std::to_string(i));
    link->kinematics().setPrimaryFrame(randomPose(rng, 0.3));
    if (i % 4 != 3) link->setMassProperties(randomMassProperties(rng));
    const int parent = rng.integer(-1, static_cast<int>(i) - 1);
    arm->addLink(parent < 0 ? KtManipulatorLink::kBaseLinkIndex : parent, std::move(link));
  }
  arm->setMassProperties(randomMassProperties(rng));
  return arm;
}

void setRandomState(TestRandom& rng, const KtIndividualManipulator& arm, KtManipulatorActiveState& state) {
  state.activePositionState().setBasePose(randomPose(rng));
  state.activePositionState().setJointPositions(randomJoints(rng, arm.jointDof()));
}

// Moves the state along column c: a joint, or a base translation or turn (about the base origin)
// along a system axis.
void move(const KtIndividualManipulator& arm, KtManipulatorActiveState& state, std::size_t c, double step) {
  KtManipulatorActivePositionState& positions = state.activePositionState();
  const std::size_t n = arm.jointDof();
  if (c < n) return positions.setJointPosition(c, positions.jointPosition(c) + step);
  Kt::coordinateSystemTransformation pose = positions.positionState().coordinateSystemTransform();
  Kt::Vector axis;
  axis[(c - n) % 3] = 1.0;
  Kt::Orientation turn;
  turn.setFromAngleAxis(c - n < 3 ? 0.0 : step, axis);
  positions.setBasePose(Kt::coordinateSystemTransformation(
      pose.translation() + axis * (c - n < 3 ? step : 0.0), turn * pose.orientation()));
}

// Calls visit(body, centre of mass) for the bodies whose weight counts from link `from` outward;
// kEveryBody counts every link and a free base.
template <typename Visit>
void forEachBody(const KtIndividualManipulator& arm, KtManipulatorActiveState& state, int from,
                 Visit&& visit) {
  const auto center = [&state](const KtManipulatorLink& body) {
    return body.primaryFrameInSystem(state) * body.massProperties().centerOfMass();
  };
  if (from == kEveryBody && !arm.isFixedBase()) visit(arm, center(arm));
  for (std::size_t i = 0; i < arm.jointDof(); ++i)
    for (const KtManipulatorLink* l = &arm.link(i); l->linkIndex() >= 0; l = l->parentLink())
      if (from == kEveryBody || l->linkIndex() == from) {
        visit(arm.link(i), center(arm.link(i)));
        break;
      }
}

double potentialEnergy(const KtIndividualManipulator& arm, KtManipulatorActiveState& state, int from) {
  double energy = 0.0;
  forEachBody(arm, state, from, [&](const KtManipulatorLink& body, const Kt::Vector& center) {
    energy += body.massProperties().mass() * 9.81 * center.z();
  });
  return energy;
}

// With each counted body's Jacobian J at its centre of mass (rows: the centre's velocity, the
// body's angular velocity): Σ Jᵀ diag(m E, R I Rᵀ) J, I the inertia about the centre in primary
// axes, and the weights m g through the vertical rows.
void jacobianOracles(const KtIndividualManipulator& arm, KtManipulatorActiveState& state, int from,
                     Kt::ReArray& mass, std::vector<double>& gravity) {
  const std::size_t columns = arm.jointDof() + (arm.isFixedBase() ? 0 : 6);
  mass.setToZeros(columns, columns);
  gravity.assign(columns, 0.0);
  forEachBody(arm, state, from, [&](const KtManipulatorLink& body, const Kt::Vector& center) {
    Kt::ReArray j(6, columns);
    if (body.linkIndex() >= 0)
      KtJointColumns::write(arm, state, static_cast<std::size_t>(body.linkIndex()), center,
                            KtJacobianRows::both, j, 0);
    if (!arm.isFixedBase()) KtJointColumns::writeFreeBase(arm, state, center, KtJacobianRows::both, j, 0);
    const Kt::Orientation& r = body.primaryFrameInSystem(state).orientation();
    const KtReal m = body.massProperties().mass();
    for (std::size_t a = 0; a < columns; ++a) {
      gravity[a] += m * 9.81 * j[2][a];
      const Kt::Vector spin = r * (body.massProperties().inertiaAboutCenterOfMass() *
                                   (r.inverse() * Kt::Vector(j[3][a], j[4][a], j[5][a])));
      for (std::size_t b = 0; b < columns; ++b)
        mass[a][b] += m * Kt::Vector(j[0][a], j[1][a], j[2][a]).dot(Kt::Vector(j[0][b], j[1][b], j[2][b])) +
                      spin.dot(Kt::Vector(j[3][b], j[4][b], j[5][b]));
    }
  });
}

// The arm as a KDL chain whose segment ending at each link's joint frame carries that link's
// inertia: KDL takes it in the segment's tip frame, to which the primary offset leads.
KDL::Chain kdlChainWithInertia(const KtIndividualManipulator& arm,
                               const Kt::coordinateSystemTransformation& base) {
  std::vector<int> ends;
  KDL::Chain chain = kdlChain(arm, base, ends);
  for (std::size_t i = 0; i < arm.jointDof(); ++i) {
    const KtMassProperties& mass = arm.link(i).massProperties();
    const KtSymmetricTensor c = mass.inertiaAboutCenterOfMass();
    const Kt::Vector center = mass.centerOfMass();
    const KDL::RigidBodyInertia inPrimary(mass.mass(), KDL::Vector(center.x(), center.y(), center.z()),
                                          KDL::RotationalInertia(c.xx, c.yy, c.zz, c.xy, c.xz, c.yz));
    chain.segments[static_cast<std::size_t>(ends[i] - 1)].setInertia(
        toKdl(arm.link(i).kinematics().primaryFrame()) * inPrimary);
  }
  return chain;
}

}  // namespace

// The sample arm with its identified masses against KDL's mass matrix and gravity torques.
TEST(KtManipulatorDynamicsTest, MassMatrixAndGravityAgreeWithKdl) {
  TestRandom rng(71);
  const auto arm = loadSampleArm("craig_arm.xml");
  const unsigned n = static_cast<unsigned>(arm->jointDof());
  KtDynamicsWorkspace workspace;
  dynamics::prepare(*arm, workspace);
  KtManipulatorActiveState state;
  Kt::ReArray mass;
  std::vector<double> torques;
  KDL::JntSpaceInertiaMatrix expectedMass(static_cast<int>(n));
  KDL::JntArray expectedTorques(n);
  for (int c = 0; c < TestRandom::cases(); ++c) {
    setRandomState(rng, *arm, state);
    const KtPositionState& position = state.activePositionState().positionState();
    const KDL::Chain chain = kdlChainWithInertia(*arm, position.coordinateSystemTransform());
    KDL::ChainDynParam solver(chain, KDL::Vector(0, 0, -9.81));
    ASSERT_EQ(solver.JntToMass(kdlJoints(position.jointPositions()), expectedMass), 0);
    ASSERT_EQ(solver.JntToGravity(kdlJoints(position.jointPositions()), expectedTorques), 0);
    ASSERT_TRUE(dynamics::massMatrix(*arm, state, workspace, mass));
    ASSERT_TRUE(dynamics::gravityTorques(*arm, state, workspace, torques));
    ASSERT_EQ(mass.rows(), n);
    ASSERT_EQ(torques.size(), n);
    for (unsigned i = 0; i < n; ++i) {
      EXPECT_NEAR(torques[i], expectedTorques(i), 1e-10) << i;
      for (unsigned j = 0; j < n; ++j) EXPECT_NEAR(mass[i][j], expectedMass(i, j), 1e-10) << i << " " << j;
    }
  }
}

// On trees with fixed or free bases: the mass matrix against the bodies' Jacobians, symmetric and
// (on the sample arm, every link massive) positive definite; the gravity torques, of every body
// or from one link outward, against the weights through the Jacobians and against central
// differences of the potential energy; their derivative against their own central differences.
TEST(KtManipulatorDynamicsTest, TreesAgreeWithJacobiansAndDifferences) {
  TestRandom rng(72);
  constexpr double step = 1e-5;
  for (int c = 0; c < TestRandom::cases(); ++c) {
    auto arm = c % 3 == 0 ? loadSampleArm("craig_arm.xml") : randomTree(rng, 8);
    arm->setFixedBase(c % 2 == 0);
    arm->setMassProperties(randomMassProperties(rng));
    KtDynamicsWorkspace workspace;
    dynamics::prepare(*arm, workspace);
    KtManipulatorActiveState state, moved;
    setRandomState(rng, *arm, state);
    const std::string what = "case " + std::to_string(c);
    Kt::ReArray mass, expectedMass, factor, derivative;
    std::vector<double> torques, expected, plus, minus;
    ASSERT_TRUE(dynamics::massMatrix(*arm, state, workspace, mass));
    jacobianOracles(*arm, state, kEveryBody, expectedMass, expected);
    EXPECT_TRUE(mass.approxEq(expectedMass, 1e-10)) << what;
    EXPECT_TRUE(mass.approxEq(mass.transpose(), 0.0)) << what;
    EXPECT_TRUE(c % 3 != 0 || mass.choleskyDecomposition(factor)) << what;

    for (const int from : {kEveryBody, rng.integer(0, static_cast<int>(arm->jointDof()) - 1)}) {
      ASSERT_TRUE(dynamics::gravityTorques(*arm, state, workspace, torques, from));
      ASSERT_TRUE(dynamics::gravityTorqueDerivative(*arm, state, workspace, derivative, from));
      jacobianOracles(*arm, state, from, expectedMass, expected);
      for (std::size_t k = 0; k < expected.size(); ++k) {
        const std::string where = what + " from " + std::to_string(from) + " column " + std::to_string(k);
        EXPECT_NEAR(torques[k], expected[k], 1e-10) << where;
        moved.activePositionState().setPositionState(state.activePositionState().positionState());
        move(*arm, moved, k, step);
        const double up = potentialEnergy(*arm, moved, from);
        ASSERT_TRUE(dynamics::gravityTorques(*arm, moved, workspace, plus, from));
        move(*arm, moved, k, -2 * step);
        EXPECT_NEAR(torques[k], (up - potentialEnergy(*arm, moved, from)) / (2 * step), 1e-6) << where;
        ASSERT_TRUE(dynamics::gravityTorques(*arm, moved, workspace, minus, from));
        for (std::size_t i = 0; i < expected.size(); ++i)
          EXPECT_NEAR(derivative[i][k], (plus[i] - minus[i]) / (2 * step), 1e-5) << where << " row " << i;
      }
    }
  }
}

// Once the workspace and the outputs have their sizes, new joint values cost no allocation.
TEST(KtManipulatorDynamicsTest, WarmCallsAllocateNothing) {
  TestRandom rng(73);
  const auto arm = randomTree(rng, 9);
  arm->setFixedBase(false);
  KtDynamicsWorkspace workspace;
  dynamics::prepare(*arm, workspace);
  KtManipulatorActiveState state;
  Kt::ReArray mass, derivative;
  std::vector<double> torques;
  const std::vector<double> first = randomJoints(rng, 9), second = randomJoints(rng, 9);
  for (int i = 0; i < 5; ++i) {
    std::optional<NoAllocationGuard> guard;
    if (i > 0) guard.emplace();
    state.activePositionState().setJointPositions(i % 2 == 0 ? second : first);
    EXPECT_TRUE(dynamics::massMatrix(*arm, state, workspace, mass));
    EXPECT_TRUE(dynamics::gravityTorques(*arm, state, workspace, torques, i % 3));
    EXPECT_TRUE(dynamics::gravityTorqueDerivative(*arm, state, workspace, derivative));
  }
}

// A workspace not prepared for the manipulator, or a link index that names no link, is reported
// and leaves the output as it was.
TEST(KtManipulatorDynamicsTest, UnpreparedWorkspaceOrBadLinkIsReported) {
  const auto arm = loadSampleArm("craig_arm.xml");
  KtManipulatorActiveState state;
  KtDynamicsWorkspace workspace;
  Kt::ReArray matrix(2, 2);
  std::vector<double> torques(2, 1.0);
  PrintCapture capture;
  EXPECT_FALSE(dynamics::massMatrix(*arm, state, workspace, matrix));
  dynamics::prepare(*arm, workspace);
  EXPECT_FALSE(dynamics::gravityTorques(*arm, state, workspace, torques, 7));
  EXPECT_FALSE(dynamics::gravityTorqueDerivative(*arm, state, workspace, matrix, -1));
  arm->setFixedBase(false);
  EXPECT_FALSE(dynamics::gravityTorques(*arm, state, workspace, torques));
  EXPECT_EQ(
      capture.text(),
      "KtManipulatorDynamics::massMatrix(): the workspace is prepared for 0 links and 0 columns, not 7 and "
      "7; "
      "prepare it first.\n"
      "KtManipulatorDynamics::gravityTorques(): link index 7 out of range 7.\n"
      "KtManipulatorDynamics::gravityTorqueDerivative(): link index -1 out of range 7.\n"
      "KtManipulatorDynamics::gravityTorques(): the workspace is prepared for 7 links and 7 columns, not 7 "
      "and 13; prepare it first.\n");
  EXPECT_EQ(matrix, Kt::ReArray(2, 2));
  EXPECT_EQ(torques, std::vector<double>(2, 1.0));
}

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <kdl/chain.hpp>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/frames.hpp>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtStatedSystem.h"
#include "support/Random.h"
#include "xml/KtXmlFile.h"

// Building arms in code, independent reference frames and the KDL oracle for the
// manipulator tests.
namespace manipulator_test {

constexpr double kPi = std::numbers::pi;

struct DhRow {
  KtDhType dhType;
  KtJointType jointType;
  double a, alpha, d, theta;
};

inline std::unique_ptr<KtDenavitHartenberg> makeJoint(const DhRow& row) {
  auto joint = std::make_unique<KtDenavitHartenberg>();
  joint->setDhType(row.dhType);
  joint->setJointType(row.jointType);
  joint->setA(row.a);
  joint->setAlpha(row.alpha);
  joint->setD(row.d);
  joint->setTheta(row.theta);
  return joint;
}

inline std::unique_ptr<KtManipulatorLink> makeLink(std::unique_ptr<KtDenavitHartenberg> joint,
                                                   const std::string& label) {
  auto link = std::make_unique<KtManipulatorLink>();
  link->setIdentifier(label);
  link->setKinematics(std::move(joint));
  return link;
}

inline std::unique_ptr<KtManipulatorLink> makeLink(const DhRow& row, const std::string& label) {
  return makeLink(makeJoint(row), label);
}

// A serial arm: each row hangs below the previous one.
inline std::unique_ptr<KtIndividualManipulator> makeSerialArm(const std::vector<DhRow>& rows) {
  auto arm = std::make_unique<KtIndividualManipulator>();
  arm->setIdentifier("arm");
  int parent = KtManipulatorLink::kBaseLinkIndex;
  for (std::size_t i = 0; i < rows.size(); ++i)
    parent = arm->addLink(parent, makeLink(rows[i], "link" + std::to_string(i + 1)));
  return arm;
}

// A published modified D-H table of a 7-joint arm (a, alpha, d per joint).
inline std::vector<DhRow> craigArmRows() {
  const double h = kPi / 2;
  const auto r = [](double a, double alpha, double d) {
    return DhRow{KtDhType::craig, KtJointType::rotational, a, alpha, d, 0.0};
  };
  return {r(0, 0, 0.333),        r(0, -h, 0), r(0, h, 0.316), r(0.0825, h, 0),
          r(-0.0825, -h, 0.384), r(0, h, 0),  r(0.088, h, 0)};
}

// A classic D-H table of a 7-joint lightweight arm.
inline std::vector<DhRow> paulArmRows() {
  const double h = kPi / 2;
  const auto r = [](double alpha, double d) {
    return DhRow{KtDhType::paul, KtJointType::rotational, 0, alpha, d, 0.0};
  };
  return {r(-h, 0.34), r(h, 0), r(h, 0.4), r(-h, 0), r(-h, 0.4), r(h, 0), r(0, 0.126)};
}

// A path below the sample data directory, and the first manipulator of a sample document there.
inline std::string samplePath(const std::string& name) { return std::string(KT_TEST_DATA_DIR) + "/" + name; }
inline std::unique_ptr<KtIndividualManipulator> loadSampleArm(const std::string& name) {
  KtStatedSystem stated;
  EXPECT_TRUE(ktReadObjectFromFile(stated, samplePath(name))) << name;
  return std::make_unique<KtIndividualManipulator>(stated.system().manipulator(0));
}

inline Kt::Vector randomVector(TestRandom& rng, double size = 1.0) {
  return Kt::Vector(rng.uniform(-size, size), rng.uniform(-size, size), rng.uniform(-size, size));
}

inline Kt::coordinateSystemTransformation randomPose(TestRandom& rng, double reach = 1.0) {
  Kt::Orientation q(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1));
  return Kt::coordinateSystemTransformation(randomVector(rng, reach), q);
}

inline std::vector<double> randomJoints(TestRandom& rng, std::size_t count, double range = kPi) {
  std::vector<double> q(count);
  for (double& value : q) value = rng.uniform(-range, range);
  return q;
}

// A joint of the given types with random parameters, and a random precursor where its type has one.
inline std::unique_ptr<KtDenavitHartenberg> randomJoint(TestRandom& rng, KtDhType dhType,
                                                        KtJointType jointType) {
  auto joint = makeJoint(DhRow{dhType, jointType, rng.uniform(-0.5, 0.5), rng.uniform(-kPi, kPi),
                               rng.uniform(-0.5, 0.5), rng.uniform(-kPi, kPi)});
  if (dhType != KtDhType::paul && dhType != KtDhType::craig) joint->setPrecursor(randomPose(rng));
  return joint;
}

// Mass properties a rigid body can have: a mass, a centre within `reach` of the origin, and an
// inertia about it that a few point masses around it would have.
inline KtMassProperties randomMassProperties(TestRandom& rng, double reach = 0.3) {
  KtSymmetricTensor inertia;
  for (int k = 0; k < 3; ++k)
    inertia = inertia + KtSymmetricTensor::ofPointMass(rng.uniform(0.1, 1.0), randomVector(rng, 0.3));
  KtMassProperties properties;
  EXPECT_TRUE(properties.setAboutCenterOfMass(rng.uniform(0.5, 3.0), randomVector(rng, reach), inertia));
  return properties;
}

// A serial arm of every D-H type and both joint types, placed at a random pose.
inline std::unique_ptr<KtIndividualManipulator> mixedArm(TestRandom& rng, std::size_t joints) {
  auto arm = makeSerialArm({});
  int parent = KtManipulatorLink::kBaseLinkIndex;
  for (std::size_t i = 0; i < joints; ++i) {
    auto joint = randomJoint(rng, static_cast<KtDhType>(i % 5), static_cast<KtJointType>((i / 5) % 2));
    parent = arm->addLink(parent, makeLink(std::move(joint), "link" + std::to_string(i + 1)));
  }
  arm->setCoordinateSystemTransform(randomPose(rng));
  return arm;
}

inline KDL::Frame toKdl(const Kt::coordinateSystemTransformation& t) {
  const Kt::Orientation& q = t.orientation();
  return KDL::Frame(KDL::Rotation::Quaternion(q.x(), q.y(), q.z(), q.w()),
                    KDL::Vector(t.translation().x(), t.translation().y(), t.translation().z()));
}

// The frame reached after a link's joint, built from KDL's own D-H frames and joints: each
// link adds its segments and notes how many segments lead to its frame.
inline void appendToKdl(KDL::Chain& chain, const KtDenavitHartenberg& dh) {
  using KDL::Frame;
  using KDL::Joint;
  using KDL::Segment;
  const bool rotational = dh.jointType() == KtJointType::rotational;
  const Joint moving(rotational ? Joint::RotZ : Joint::TransZ);
  const double a = dh.a(), alpha = dh.alpha(), d = dh.d(), theta = dh.theta();
  const KtDhType type = dh.dhType();
  if (type == KtDhType::generalPaul || type == KtDhType::generalCraig || type == KtDhType::general) {
    chain.addSegment(Segment(Joint(Joint::None), toKdl(dh.precursor())));
  }
  switch (type) {
    case KtDhType::paul:
    case KtDhType::generalPaul:
      // Rz(theta) and Tz(d) commute, so a sliding joint may come first.
      chain.addSegment(
          Segment(moving, rotational ? Frame::DH(a, alpha, d, 0) : Frame::DH(a, alpha, 0, theta)));
      break;
    case KtDhType::craig:
    case KtDhType::generalCraig:
      chain.addSegment(Segment(Joint(Joint::None), Frame::DH_Craig1989(a, alpha, 0, rotational ? 0 : theta)));
      chain.addSegment(Segment(moving, rotational ? Frame(KDL::Vector(0, 0, d)) : Frame::Identity()));
      break;
    default:
      chain.addSegment(Segment(moving, Frame::Identity()));
      break;
  }
}

// A serial arm as a KDL chain from the system frame, for the base pose; `ends` gets, per link,
// the number of segments that lead to its D-H frame.
inline KDL::Chain kdlChain(const KtIndividualManipulator& arm,
                           const Kt::coordinateSystemTransformation& basePose, std::vector<int>& ends) {
  KDL::Chain chain;
  chain.addSegment(
      KDL::Segment(KDL::Joint(KDL::Joint::None), toKdl(basePose) * toKdl(arm.coordinateSystemTransform())));
  ends.clear();
  for (std::size_t i = 0; i < arm.jointDof(); ++i) {
    appendToKdl(chain, *arm.link(i).denavitHartenberg());
    ends.push_back(static_cast<int>(chain.getNrOfSegments()));
  }
  return chain;
}

inline KDL::JntArray kdlJoints(const std::vector<double>& q) {
  KDL::JntArray joints(static_cast<unsigned>(q.size()));
  for (std::size_t i = 0; i < q.size(); ++i) joints(static_cast<unsigned>(i)) = q[i];
  return joints;
}

// The D-H frames of a serial arm (index 0..n-1) by KDL's recursive solver, for the base pose.
inline std::vector<KDL::Frame> kdlFrames(const KtIndividualManipulator& arm,
                                         const Kt::coordinateSystemTransformation& basePose,
                                         const std::vector<double>& q) {
  std::vector<int> ends;
  const KDL::Chain chain = kdlChain(arm, basePose, ends);
  KDL::ChainFkSolverPos_recursive solver(chain);
  const KDL::JntArray joints = kdlJoints(q);
  std::vector<KDL::Frame> frames(ends.size());
  for (std::size_t i = 0; i < ends.size(); ++i) solver.JntToCart(joints, frames[i], ends[i]);
  return frames;
}

// Largest difference between the frames' positions and rotation matrices.
inline double frameDistance(const Kt::coordinateSystemTransformation& ours, const KDL::Frame& theirs) {
  double worst = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    const Kt::Vector column = ours.orientation() * Kt::Vector(axis == 0, axis == 1, axis == 2);
    for (int row = 0; row < 3; ++row) worst = std::max(worst, std::fabs(column[row] - theirs.M(row, axis)));
    worst = std::max(worst, std::fabs(ours.translation()[axis] - theirs.p(axis)));
  }
  return worst;
}

inline double frameDistance(const Kt::coordinateSystemTransformation& a,
                            const Kt::coordinateSystemTransformation& b) {
  return frameDistance(a, toKdl(b));
}

// The D-H frame of link `index` computed from nothing cached: the parent's frame composed with
// calculateTransform, down from the base pose and placement.
inline Kt::coordinateSystemTransformation referenceDhFrame(const KtManipulatorLink& link,
                                                           const KtIndividualManipulator& arm,
                                                           const KtPositionState& state) {
  if (link.linkIndex() == KtManipulatorLink::kBaseLinkIndex) {
    return state.coordinateSystemTransform() * arm.coordinateSystemTransform();
  }
  Kt::coordinateSystemTransformation frame = referenceDhFrame(*link.parentLink(), arm, state);
  Kt::coordinateSystemTransformation joint;
  const std::size_t index = static_cast<std::size_t>(link.linkIndex());
  link.kinematics().calculateTransform(
      joint, index < state.jointPositions().size() ? state.jointPositions()[index] : 0.0);
  frame *= joint;
  return frame;
}

// Every D-H and primary frame of the arm, base included, for the active state agrees with a
// computation from scratch.
inline void expectFramesFresh(const KtIndividualManipulator& arm, KtManipulatorActiveState& active) {
  const KtPositionState& state = active.activePositionState().positionState();
  // Deepest first and the base last, so that a stale ancestor would be picked up rather than refreshed.
  for (int i = static_cast<int>(arm.jointDof()) - 1; i >= -1; --i) {  // -1: the base
    const KtManipulatorLink& link = i < 0 ? arm : arm.link(static_cast<std::size_t>(i));
    const Kt::coordinateSystemTransformation expected = referenceDhFrame(link, arm, state);
    EXPECT_LT(frameDistance(link.dhFrameInSystem(active), expected), 1e-12) << "link " << i;
    EXPECT_LT(frameDistance(link.primaryFrameInSystem(active), expected * link.kinematics().primaryFrame()),
              1e-12)
        << "link " << i;
  }
}

// The angular velocity that turns `before` into `after` over the time dt. The angle comes
// from an arc tangent, which keeps its precision for the tiny turns of a finite difference.
inline Kt::Vector angularRate(const Kt::Orientation& before, const Kt::Orientation& after, double dt) {
  const Kt::Orientation turn = after * before.inverse();
  const double sign = turn.w() < 0 ? -1.0 : 1.0;
  const Kt::Vector half(sign * turn.x(), sign * turn.y(), sign * turn.z());
  const double sine = half.mag();
  return sine == 0.0 ? Kt::Vector() : half * (2.0 * std::atan2(sine, sign * turn.w()) / (sine * dt));
}

// Agreement within a tolerance relative to the expected vector's size (absolute below 1).
inline void expectNear(const Kt::Vector& actual, const Kt::Vector& expected, double tolerance,
                       const std::string& what) {
  EXPECT_LT((actual - expected).mag(), tolerance * std::max(1.0, expected.mag()))
      << what << ": " << actual.x() << " " << actual.y() << " " << actual.z() << " expected " << expected.x()
      << " " << expected.y() << " " << expected.z();
}

}  // namespace manipulator_test

#include "manipulator/KtDenavitHartenberg.h"

#include <gtest/gtest.h>

#include <cmath>

#include "manipulator/ManipulatorTestSupport.h"
#include "support/PrintCapture.h"

using namespace manipulator_test;

namespace {

const KtDhType kAllDhTypes[] = {KtDhType::paul, KtDhType::generalPaul, KtDhType::craig,
                                KtDhType::generalCraig, KtDhType::general};
const KtJointType kAllJointTypes[] = {KtJointType::rotational, KtJointType::prismatic};

// The joint transformation of a single joint as KDL computes it.
KDL::Frame kdlJointFrame(const KtDenavitHartenberg& joint, double q) {
  KDL::Chain chain;
  appendToKdl(chain, joint);
  KDL::ChainFkSolverPos_recursive solver(chain);
  KDL::JntArray joints(1);
  joints(0) = q;
  KDL::Frame frame;
  solver.JntToCart(joints, frame);
  return frame;
}

Kt::coordinateSystemTransformation transformAt(const KtDenavitHartenberg& joint, double q) {
  Kt::coordinateSystemTransformation t;
  joint.calculateTransform(t, q);
  return t;
}

// Velocity of the frame for a unit joint rate, by central differences, in the frame's own
// axes: linear from the origin's motion, angular from the relative rotation.
KtGeneralMotion differentiatedMotion(const KtDenavitHartenberg& joint, double q, double h) {
  const Kt::coordinateSystemTransformation at = transformAt(joint, q);
  const Kt::coordinateSystemTransformation ahead = transformAt(joint, q + h),
                                           behind = transformAt(joint, q - h);
  const Kt::Orientation back = at.orientation().inverse();
  const Kt::Vector linear = back * ((ahead.translation() - behind.translation()) / (2 * h));
  double angle = 0.0;
  Kt::Vector axis;
  (back * ahead.orientation()).getAngleAxis(angle, axis);
  double angleBehind = 0.0;
  Kt::Vector axisBehind;
  (back * behind.orientation()).getAngleAxis(angleBehind, axisBehind);
  const Kt::Vector angular = (axis * angle - axisBehind * angleBehind) / (2 * h);
  return KtGeneralMotion(linear, angular);
}

}  // namespace

TEST(KtDenavitHartenbergTest, EveryTypeAgreesWithKdl) {
  TestRandom rng(11);
  for (KtDhType dhType : kAllDhTypes) {
    for (KtJointType jointType : kAllJointTypes) {
      for (int i = 0; i < TestRandom::cases(); ++i) {
        const KtDenavitHartenberg joint = *randomJoint(rng, dhType, jointType);
        const double q = rng.uniform(-2 * kPi, 2 * kPi);
        ASSERT_LT(frameDistance(joint.dhTransform(q), kdlJointFrame(joint, q)), 1e-14)
            << "type " << static_cast<int>(dhType) << " joint " << static_cast<int>(jointType) << " q " << q;
      }
    }
  }
}

TEST(KtDenavitHartenbergTest, HalfAngleQuaternionStaysAccurateNearPi) {
  const double offsets[] = {0.0, 1e-15, 1e-12, 1e-9, 1e-6, 1e-3};
  for (KtDhType dhType : {KtDhType::paul, KtDhType::craig}) {
    for (double qOffset : offsets) {
      for (double alphaOffset : offsets) {
        for (double sign : {1.0, -1.0}) {
          KtDenavitHartenberg joint;
          joint.setDhType(dhType);
          joint.setAlpha(sign * (kPi - alphaOffset));
          const double q = -sign * (kPi - qOffset);
          const Kt::Orientation& r = joint.dhTransform(q).orientation();
          EXPECT_NEAR(r.w() * r.w() + r.x() * r.x() + r.y() * r.y() + r.z() * r.z(), 1.0, 4e-16);
          // Independent matrix product of the two elementary rotations.
          const KDL::Rotation z = KDL::Rotation::RotZ(q), x = KDL::Rotation::RotX(joint.alpha());
          const KDL::Rotation expected = dhType == KtDhType::paul ? z * x : x * z;
          EXPECT_LT(frameDistance(Kt::coordinateSystemTransformation(r), KDL::Frame(expected)), 1e-15);
        }
      }
    }
  }
}

TEST(KtDenavitHartenbergTest, JointValueCacheRecomputesOnlyOnChange) {
  KtDenavitHartenberg joint;
  joint.setDhType(KtDhType::craig);
  joint.setA(0.3);
  const Kt::coordinateSystemTransformation first = joint.dhTransform(0.7);
  const auto computed = joint.transformComputations();
  EXPECT_EQ(&joint.dhTransform(0.7), &joint.dhTransform(0.7));
  EXPECT_EQ(joint.transformComputations(), computed);
  // The cache compares exactly: the next representable value is a new joint value.
  joint.dhTransform(std::nextafter(0.7, 1.0));
  EXPECT_EQ(joint.transformComputations(), computed + 1);
  joint.dhTransform(0.7);
  joint.setA(0.5);  // same joint value, new parameter
  EXPECT_EQ(joint.dhTransform(0.7).translation().x(), 0.5);
  EXPECT_EQ(joint.transformComputations(), computed + 3);
  EXPECT_EQ(first.translation().x(), 0.3);
}

TEST(KtDenavitHartenbergTest, ComposePrecursorAccumulatesAndSetPrecursorKeepsType) {
  TestRandom rng(12);
  const Kt::coordinateSystemTransformation t = randomPose(rng), u = randomPose(rng);
  KtDenavitHartenberg joint;
  joint.setDhType(KtDhType::craig);
  joint.setPrecursor(u);  // ignored by the reset below
  EXPECT_EQ(joint.dhType(), KtDhType::craig);
  joint.composePrecursor(t);
  EXPECT_EQ(joint.dhType(), KtDhType::generalCraig);
  EXPECT_LT(frameDistance(joint.precursor(), t), 1e-15);
  joint.composePrecursor(u);
  EXPECT_LT(frameDistance(joint.precursor(), t * u), 1e-15);

  KtDenavitHartenberg paul;
  paul.composePrecursor(t);
  EXPECT_EQ(paul.dhType(), KtDhType::generalPaul);
  paul.setPrecursor(u);
  EXPECT_EQ(paul.dhType(), KtDhType::generalPaul);
  EXPECT_LT(frameDistance(paul.precursor(), u), 1e-15);
}

TEST(KtDenavitHartenbergTest, UnknownTypesLeaveTheFrameAndReport) {
  PrintCapture capture;
  KtDenavitHartenberg joint;
  joint.setA(1.0);
  joint.setDhType(static_cast<KtDhType>(7));
  const Kt::coordinateSystemTransformation& frame = joint.dhTransform(0.4);
  EXPECT_EQ(frame.mode(), Kt::coordinateSystemTransformation::modeIdentity);
  EXPECT_EQ(capture.text(), "KtDenavitHartenberg::calculateTransform() bad D-H type: 7\n");
  capture.clear();
  KtGeneralMotion motion;
  EXPECT_FALSE(joint.getUnitFrameMotion(motion));
  EXPECT_FALSE(joint.accelerationFromJointVelocity(1.0, motion));
  EXPECT_EQ(capture.text(),
            "KtDenavitHartenberg::getUnitFrameMotion() bad D-H type: 7\n"
            "KtDenavitHartenberg::accelerationFromJointVelocity() bad D-H type: 7\n");
  capture.clear();
  joint.setDhType(KtDhType::craig);
  joint.setJointType(static_cast<KtJointType>(3));
  Kt::coordinateSystemTransformation untouched(Kt::Vector(1, 2, 3));
  joint.calculateTransform(untouched, 0.1);
  EXPECT_EQ(untouched.translation(), Kt::Vector(1, 2, 3));
  EXPECT_EQ(joint.jointParameterScalability(), 0.0);
  EXPECT_EQ(joint.upperBoundDhFrameDistance(1.0), 0.0);
  EXPECT_EQ(capture.text(),
            "KtDenavitHartenberg::calculateTransform() bad joint type: 3\n"
            "KtDenavitHartenberg::jointParameterScalability(): unknown joint type (3).\n"
            "KtDenavitHartenberg::upperBoundDhFrameDistance-->Joint Type (3) unknown\n");
}

TEST(KtDenavitHartenbergTest, UnitMotionAndAccelerationAreDerivativesOfTheTransform) {
  TestRandom rng(13);
  const double h = 1e-5;
  for (KtDhType dhType : kAllDhTypes) {
    for (KtJointType jointType : kAllJointTypes) {
      for (int i = 0; i < TestRandom::cases(); ++i) {
        const KtDenavitHartenberg joint = *randomJoint(rng, dhType, jointType);
        const double q = rng.uniform(-kPi, kPi), rate = rng.uniform(-2, 2);
        KtGeneralMotion unit;
        ASSERT_TRUE(joint.getUnitFrameMotion(unit));
        const KtGeneralMotion expected = differentiatedMotion(joint, q, h);
        EXPECT_TRUE(unit.linear().approxEq(expected.linear(), 1e-8)) << static_cast<int>(dhType);
        EXPECT_TRUE(unit.angular().approxEq(expected.angular(), 1e-8)) << static_cast<int>(dhType);

        // Second difference of the origin along q(t) = q + rate·t, in the frame's axes.
        KtGeneralMotion acceleration;
        ASSERT_TRUE(joint.accelerationFromJointVelocity(rate, acceleration));
        const double step = 1e-4;
        const Kt::Vector p0 = transformAt(joint, q).translation();
        const Kt::Vector second = (transformAt(joint, q + rate * step).translation() +
                                   transformAt(joint, q - rate * step).translation() - p0 * 2.0) /
                                  (step * step);
        EXPECT_TRUE(
            acceleration.linear().approxEq(transformAt(joint, q).orientation().inverse() * second, 1e-5));
        EXPECT_EQ(acceleration.angular(), Kt::Vector());
      }
    }
  }
}

TEST(KtDenavitHartenbergTest, FrameDistanceBoundHoldsOverTheJointRange) {
  TestRandom rng(14);
  for (KtDhType dhType : kAllDhTypes) {
    for (KtJointType jointType : kAllJointTypes) {
      const KtDenavitHartenberg joint = *randomJoint(rng, dhType, jointType);
      const double range = 0.8;
      const double bound = joint.upperBoundDhFrameDistance(range);
      double reached = 0.0;
      for (int i = 0; i < TestRandom::cases(); ++i) {
        const double q =
            jointType == KtJointType::rotational ? rng.uniform(-kPi, kPi) : rng.uniform(-range, range);
        reached = std::max(reached, transformAt(joint, q).translation().mag());
      }
      EXPECT_LE(reached, bound + 1e-12);
      // Without a precursor the bound is reached (rotational) or approached (sliding).
      if (dhType == KtDhType::paul || dhType == KtDhType::craig) {
        EXPECT_GT(reached, 0.9 * bound);
      }
    }
  }
  KtDenavitHartenberg joint;
  EXPECT_EQ(joint.jointParameterScalability(), 0.0);
  joint.setJointType(KtJointType::prismatic);
  EXPECT_EQ(joint.jointParameterScalability(), 1.0);
}

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
  KDL::Frame frame;
  KDL::ChainFkSolverPos_recursive(chain).JntToCart(kdlJoints({q}), frame);
  return frame;
}

Kt::coordinateSystemTransformation transformAt(const KtDenavitHartenberg& joint, double q) {
  Kt::coordinateSystemTransformation t;
  joint.calculateTransform(t, q);
  return t;
}

}  // namespace

// For random joints of every D-H and joint type: the transformation agrees with KDL; the unit
// motion and the acceleration are its first and second derivatives (central differences, in the
// frame's own axes); and over a joint range no origin goes past the distance bound, which the
// types without a precursor reach (rotational) or approach (sliding).
TEST(KtDenavitHartenbergTest, EveryTypeAgreesWithKdlWithItsDerivativesAndWithinItsBound) {
  TestRandom rng(11);
  const double h = 1e-5, step = 1e-4, range = 0.8;
  for (KtDhType dhType : kAllDhTypes) {
    for (KtJointType jointType : kAllJointTypes) {
      const std::string what = "type " + std::to_string(static_cast<int>(dhType)) + " joint " +
                               std::to_string(static_cast<int>(jointType));
      const KtDenavitHartenberg bounded = *randomJoint(rng, dhType, jointType);
      const double bound = bounded.upperBoundDhFrameDistance(range);
      double reached = 0.0;
      for (int i = 0; i < TestRandom::cases(); ++i) {
        const KtDenavitHartenberg joint = *randomJoint(rng, dhType, jointType);
        const double q = rng.uniform(-2 * kPi, 2 * kPi), rate = rng.uniform(-2, 2);
        ASSERT_LT(frameDistance(joint.dhTransform(q), kdlJointFrame(joint, q)), 1e-14) << what << " q " << q;

        const Kt::coordinateSystemTransformation at = transformAt(joint, q),
                                                 ahead = transformAt(joint, q + h),
                                                 behind = transformAt(joint, q - h);
        const Kt::Orientation back = at.orientation().inverse();
        KtGeneralMotion unit, acceleration;
        ASSERT_TRUE(joint.getUnitFrameMotion(unit) &&
                    joint.accelerationFromJointVelocity(rate, acceleration));
        EXPECT_TRUE(
            unit.linear().approxEq(back * ((ahead.translation() - behind.translation()) / (2 * h)), 1e-8))
            << what;
        EXPECT_TRUE(unit.angular().approxEq(
            back * angularRate(behind.orientation(), ahead.orientation(), 2 * h), 1e-8))
            << what;
        // Second difference of the origin along q(t) = q + rate·t.
        const Kt::Vector second =
            (transformAt(joint, q + rate * step).translation() +
             transformAt(joint, q - rate * step).translation() - at.translation() * 2.0) /
            (step * step);
        EXPECT_TRUE(acceleration.linear().approxEq(back * second, 1e-5)) << what;
        EXPECT_EQ(acceleration.angular(), Kt::Vector()) << what;

        const double anywhere =
            jointType == KtJointType::rotational ? rng.uniform(-kPi, kPi) : rng.uniform(-range, range);
        reached = std::max(reached, transformAt(bounded, anywhere).translation().mag());
      }
      EXPECT_LE(reached, bound + 1e-12) << what;
      EXPECT_TRUE((dhType != KtDhType::paul && dhType != KtDhType::craig) || reached > 0.9 * bound) << what;
    }
  }
  KtDenavitHartenberg joint;
  EXPECT_EQ(joint.jointParameterScalability(), 0.0);
  joint.setJointType(KtJointType::prismatic);
  EXPECT_EQ(joint.jointParameterScalability(), 1.0);
}

// Near a half turn of both the joint and the twist the quaternion stays a unit one and equals
// the product of the two elementary rotations.
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
          const KDL::Rotation z = KDL::Rotation::RotZ(q), x = KDL::Rotation::RotX(joint.alpha());
          EXPECT_LT(frameDistance(Kt::coordinateSystemTransformation(r),
                                  KDL::Frame(dhType == KtDhType::paul ? z * x : x * z)),
                    1e-15);
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

// Composing accumulates precursors and turns a plain type into its general form; setting one
// replaces it and keeps the type.
TEST(KtDenavitHartenbergTest, ComposePrecursorAccumulatesAndSetPrecursorKeepsType) {
  TestRandom rng(12);
  const Kt::coordinateSystemTransformation t = randomPose(rng), u = randomPose(rng);
  KtDenavitHartenberg craig, paul;
  craig.setDhType(KtDhType::craig);
  craig.setPrecursor(u);  // ignored by the reset below
  EXPECT_EQ(craig.dhType(), KtDhType::craig);
  craig.composePrecursor(t);
  EXPECT_EQ(craig.dhType(), KtDhType::generalCraig);
  EXPECT_LT(frameDistance(craig.precursor(), t), 1e-15);
  craig.composePrecursor(u);
  EXPECT_LT(frameDistance(craig.precursor(), t * u), 1e-15);
  paul.composePrecursor(t);
  paul.setPrecursor(u);
  EXPECT_EQ(paul.dhType(), KtDhType::generalPaul);
  EXPECT_LT(frameDistance(paul.precursor(), u), 1e-15);
}

TEST(KtDenavitHartenbergTest, UnknownTypesLeaveTheFrameAndReport) {
  PrintCapture capture;
  KtDenavitHartenberg joint;
  joint.setA(1.0);
  joint.setDhType(static_cast<KtDhType>(7));
  EXPECT_EQ(joint.dhTransform(0.4).mode(), Kt::coordinateSystemTransformation::modeIdentity);
  KtGeneralMotion motion;
  EXPECT_FALSE(joint.getUnitFrameMotion(motion));
  EXPECT_FALSE(joint.accelerationFromJointVelocity(1.0, motion));
  joint.setDhType(KtDhType::craig);
  joint.setJointType(static_cast<KtJointType>(3));
  Kt::coordinateSystemTransformation untouched(Kt::Vector(1, 2, 3));
  joint.calculateTransform(untouched, 0.1);
  EXPECT_EQ(untouched.translation(), Kt::Vector(1, 2, 3));
  EXPECT_EQ(joint.jointParameterScalability(), 0.0);
  EXPECT_EQ(joint.upperBoundDhFrameDistance(1.0), 0.0);
  EXPECT_EQ(capture.text(),
            "KtDenavitHartenberg::calculateTransform() bad D-H type: 7\n"
            "KtDenavitHartenberg::getUnitFrameMotion() bad D-H type: 7\n"
            "KtDenavitHartenberg::accelerationFromJointVelocity() bad D-H type: 7\n"
            "KtDenavitHartenberg::calculateTransform() bad joint type: 3\n"
            "KtDenavitHartenberg::jointParameterScalability(): unknown joint type (3).\n"
            "KtDenavitHartenberg::upperBoundDhFrameDistance-->Joint Type (3) unknown\n");
}

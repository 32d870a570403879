#include "math/coordinateSystemTransformation.h"

#include <gtest/gtest.h>

#include "math/ReArray.h"
#include "math/RotationOracle.h"
#include "support/AllocationCounter.h"

using Kt::coordinateSystemTransformation;
using Kt::Orientation;
using Kt::Vector;
using namespace rotation_oracle;

namespace {

// A transformation built by the constructor of one mode, next to its matrix and translation.
struct Pose {
  coordinateSystemTransformation transformation;
  Matrix3 matrix;
  Vector translation;
};

Pose randomPose(TestRandom& rng, KtU32 mode) {
  const Matrix3 unit = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  const Rotation r = randomRotation(rng);
  const Vector t = randomVector(rng, 3.0);
  if (mode == 0) return {coordinateSystemTransformation(t, r.q), r.matrix, t};
  if (mode == 1) return {coordinateSystemTransformation(r.q), r.matrix, Vector()};
  if (mode == 2) return {coordinateSystemTransformation(t), unit, t};
  return {coordinateSystemTransformation(), unit, Vector()};
}

bool holds(const coordinateSystemTransformation& actual, const Matrix3& matrix, const Vector& translation) {
  return maxDifference(rows(actual.orientation()), matrix) < 1e-12 &&
         actual.translation().approxEq(translation, 1e-12);
}

}  // namespace

TEST(coordinateSystemTransformation, ComposesInvertsAndFillsArraysLikeMatricesInEveryMode) {
  TestRandom rng(30);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    const KtU32 modeA = i % 4, modeB = (i / 4) % 4;
    const Pose a = randomPose(rng, modeA), b = randomPose(rng, modeB);
    ASSERT_EQ(a.transformation.mode(), modeA);
    const coordinateSystemTransformation ab = a.transformation * b.transformation;
    EXPECT_TRUE(holds(ab, multiply(a.matrix, b.matrix), apply(a.matrix, b.translation) + a.translation));
    EXPECT_EQ(ab.mode(), modeA == 3 ? modeB : (modeB == 3 || modeA == modeB) ? modeA : 0) << modeA << modeB;
    const Vector p = randomVector(rng, 2.0);
    Vector out1, out2 = p;
    a.transformation.transform(p, out1, out2, out2);
    EXPECT_TRUE(out1 == out2 && out1.approxEq(apply(a.matrix, p) + a.translation, 1e-12));

    const coordinateSystemTransformation inverse = a.transformation.inverse();
    EXPECT_TRUE((inverse * a.transformation).approxEq(coordinateSystemTransformation::identity(), 1e-12));
    coordinateSystemTransformation inverted = a.transformation;
    EXPECT_TRUE(inverted.invert().approxEq(inverse, 1e-12));
    EXPECT_TRUE(inverse.mode() == modeA && inverted.mode() == modeA);
    EXPECT_TRUE(inverted.invert().approxEq(a.transformation, 1e-12));

    // The array forms hold the homogeneous matrix.
    double m[16];
    a.transformation.assign16(m);
    for (std::size_t r = 0; r < 3; ++r) {
      EXPECT_TRUE(Vector(m[r], m[r + 4], m[r + 8]).approxEq(row(a.matrix, r), 1e-12));
      EXPECT_TRUE(m[12 + r] == a.translation[r] && m[4 * r + 3] == 0.0);
    }
    EXPECT_EQ(m[15], 1.0);
    Kt::ReArray big(6, 6);
    for (std::size_t r = 0; r < 36; ++r) big[r / 6][r % 6] = 9.0;
    a.transformation.assign4x4(big);  // writes the upper-left 4×4 only
    ASSERT_TRUE(big.rows() == 6 && big.columns() == 6);
    for (std::size_t r = 0; r < 36; ++r)
      EXPECT_EQ(big[r / 6][r % 6], r / 6 < 4 && r % 6 < 4 ? m[r / 6 + 4 * (r % 6)] : 9.0);
    coordinateSystemTransformation back;
    back.setBy16(m);
    EXPECT_TRUE(back.mode() == 0u && back.approxEq(a.transformation, 1e-12));
  }
  Kt::ReArray wide(2, 6);
  coordinateSystemTransformation(Vector(1.0, 2.0, 3.0)).assign4x4(wide);
  EXPECT_TRUE(wide.rows() == 4 && wide.columns() == 4 && wide[2][3] == 3.0);
  EXPECT_EQ(coordinateSystemTransformation().make4x4()[3][3], 1.0);
}

TEST(coordinateSystemTransformation, MutatorsOnlyMoveTheModeTowardGeneralAndComparisonIgnoresIt) {
  const Vector v(1.0, 2.0, 3.0);
  const Orientation q = Orientation::zRotation(0.5);
  coordinateSystemTransformation t;
  t.setTranslationX(0.0);
  EXPECT_EQ(t.mode(), 2u);
  t.setOrientation(Orientation());
  EXPECT_EQ(t.mode(), 0u);
  t.setToIdentity();
  t.setOrientation(q);
  EXPECT_EQ(t.mode(), 1u);
  t.outboardTransformBy(v);
  EXPECT_TRUE(t.mode() == 0u && t.translation() == q * v);
  t = coordinateSystemTransformation();
  t.outboardTransformBy(v);
  EXPECT_EQ(t.mode(), 2u);
  t.outboardTransformBy(v, q);
  EXPECT_TRUE(t.mode() == 0u && holds(t, rows(q), v * 2.0));
  EXPECT_TRUE(t.interpolation(coordinateSystemTransformation(v), coordinateSystemTransformation(q), 0.25));
  EXPECT_TRUE(t.mode() == 0u && holds(t, rows(Orientation::zRotation(0.125)), v * 0.75));
  const coordinateSystemTransformation generalIdentity{Vector(), Orientation()};
  EXPECT_TRUE(generalIdentity == coordinateSystemTransformation::nullObject());
  EXPECT_TRUE(generalIdentity.approxEq(coordinateSystemTransformation(), 0.0));
  EXPECT_FALSE(generalIdentity == coordinateSystemTransformation(Vector(0.0, 0.0, 1e-300)));
}

TEST(MathHotPath, VectorOrientationAndTransformationOperationsDoNotAllocate) {
  TestRandom rng(32);
  const Pose a = randomPose(rng, 0), b = randomPose(rng, 1);
  std::vector<double> rate(4);
  Kt::ReArray matrix(4, 4);
  double m[16], angles[3];
  Vector v = randomVector(rng);
  NoAllocationGuard guard;
  for (int i = 0; i < 10; ++i) {
    v = (v.cross(a.translation) + v / 3.0).unitVector() * 2.0 - v;
    Orientation q = a.transformation.orientation() * b.transformation.orientation();
    q.setFrom321Euler(0.1 * i, 0.2, 0.3);
    q.get123Euler(angles[0], angles[1], angles[2]);
    q.interpolation(q, b.transformation.orientation(), 0.3);
    q.integrateLocalFrameAngularVelocity(v, 1e-3);
    q.quaternionAccelerationFromLocalFrameAngularMotion(v, v, rate);
    q.localFrameAngularVelocityFromQuaternionRate(rate, v);
    coordinateSystemTransformation t = a.transformation * b.transformation;
    (t *= t.inverse()).invert().transform(v);
    t.assign16(m);
    t.setBy16(m);
    t.assign4x4(matrix);
  }
}

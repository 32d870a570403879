#pragma once

#include <memory>
#include <vector>

#include "motion/endeffector/KtFrameEndEffector.h"
#include "motion/endeffector/KtFreeSpinInZEndEffector.h"
#include "motion/endeffector/KtLookAtEndEffector.h"
#include "motion/endeffector/KtOrientationEndEffector.h"
#include "motion/endeffector/KtPlanarEndEffector.h"
#include "motion/endeffector/KtSlideXSpinZEndEffector.h"
#include "motion/endeffector/KtSlidingEndEffector.h"

// The frame-like end effectors with what their rows are meant to hold, stated here on their own
// as the tests' expectation: which motion components (linear x, y, z, angular x, y, z) the rows
// keep, and whether in the end-effector frame's axes (else system axes).
namespace frame_family_test {

struct Member {
  std::string className;
  std::unique_ptr<KtFrameMotionEndEffector> (*make)();
  std::vector<std::size_t> components;
  bool frameAxes;
};

template <typename T>
std::unique_ptr<KtFrameMotionEndEffector> make() {
  return std::make_unique<T>();
}

inline const std::vector<Member>& members() {
  static const std::vector<Member> all = {
      {"KtFrameEndEffector", make<KtFrameEndEffector>, {0, 1, 2, 3, 4, 5}, false},
      {"KtOrientationEndEffector", make<KtOrientationEndEffector>, {3, 4, 5}, false},
      {"KtPlanarEndEffector", make<KtPlanarEndEffector>, {2, 3, 4}, true},
      {"KtSlideXSpinZEndEffector", make<KtSlideXSpinZEndEffector>, {1, 2, 3, 4}, true},
      {"KtFreeSpinInZEndEffector", make<KtFreeSpinInZEndEffector>, {0, 1, 2, 3, 4}, true},
      {"KtSlidingEndEffector", make<KtSlidingEndEffector>, {1, 2, 3, 4, 5}, true},
      {"KtLookAtEndEffector", make<KtLookAtEndEffector>, {0, 1}, true},
  };
  return all;
}

// The point of the end-effector frame whose linear motion the rows hold: the look-at's focus point.
inline Kt::Vector rowPoint(const KtEndEffector& endEffector) {
  const auto* lookAt = dynamic_cast<const KtLookAtEndEffector*>(&endEffector);
  return lookAt == nullptr ? Kt::Vector() : Kt::Vector(0.0, 0.0, lookAt->focusDistance());
}

// The end effector's offset on its link as a frame, and setting it.
inline Kt::coordinateSystemTransformation offset(const KtEndEffector& endEffector) {
  if (const auto* framed = dynamic_cast<const KtFramedEndEffector*>(&endEffector)) return framed->frame();
  return Kt::coordinateSystemTransformation(
      dynamic_cast<const KtOrientationEndEffector&>(endEffector).orientation());
}
inline void setOffset(KtEndEffector& endEffector, const Kt::coordinateSystemTransformation& frame) {
  if (auto* framed = dynamic_cast<KtFramedEndEffector*>(&endEffector)) framed->setFrame(frame);
  if (auto* turned = dynamic_cast<KtOrientationEndEffector*>(&endEffector))
    turned->setOrientation(frame.orientation());
}

// The member's rows of a motion given in system axes, for an end-effector frame turned by `frame`.
inline std::vector<double> selectedRows(const Member& member, const Kt::Orientation& frame,
                                        const Kt::Vector& linear, const Kt::Vector& angular) {
  const Kt::Orientation toRows = member.frameAxes ? frame.inverse() : Kt::Orientation();
  const Kt::Vector l = toRows * linear, a = toRows * angular;
  std::vector<double> rows;
  for (const std::size_t k : member.components) rows.push_back(k < 3 ? l[k] : a[k - 3]);
  return rows;
}

}  // namespace frame_family_test

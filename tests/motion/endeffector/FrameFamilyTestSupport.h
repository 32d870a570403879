#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "motion/endeffector/KtFrameEndEffector.h"
#include "motion/endeffector/KtFreeSpinInZEndEffector.h"
#include "motion/endeffector/KtLookAtEndEffector.h"
#include "motion/endeffector/KtOrientationEndEffector.h"
#include "motion/endeffector/KtPlanarEndEffector.h"
#include "motion/endeffector/KtSlideXSpinZEndEffector.h"
#include "motion/endeffector/KtSlidingEndEffector.h"

// The frame-like end effectors with what their rows are meant to hold, stated here on their own
// as the tests' expectation: which of the six motion components (linear x, y, z, angular x, y, z)
// each row keeps, whether in the end-effector frame's axes, and at which point of that frame.
namespace frame_family_test {

struct Member {
  const char* className;
  std::function<std::unique_ptr<KtFrameMotionEndEffector>()> make;
  std::vector<std::size_t> components;
  bool frameAxes;
};

inline const std::vector<Member>& members() {
  static const std::vector<Member> all = {
      {"KtFrameEndEffector",
       [] { return std::make_unique<KtFrameEndEffector>(); },
       {0, 1, 2, 3, 4, 5},
       false},
      {"KtOrientationEndEffector",
       [] { return std::make_unique<KtOrientationEndEffector>(); },
       {3, 4, 5},
       false},
      {"KtPlanarEndEffector", [] { return std::make_unique<KtPlanarEndEffector>(); }, {2, 3, 4}, true},
      {"KtSlideXSpinZEndEffector",
       [] { return std::make_unique<KtSlideXSpinZEndEffector>(); },
       {1, 2, 3, 4},
       true},
      {"KtFreeSpinInZEndEffector",
       [] { return std::make_unique<KtFreeSpinInZEndEffector>(); },
       {0, 1, 2, 3, 4},
       true},
      {"KtSlidingEndEffector",
       [] { return std::make_unique<KtSlidingEndEffector>(); },
       {1, 2, 3, 4, 5},
       true},
      {"KtLookAtEndEffector", [] { return std::make_unique<KtLookAtEndEffector>(); }, {0, 1}, true},
  };
  return all;
}

// The point of the end-effector frame whose linear motion the rows hold.
inline Kt::Vector rowPoint(const KtEndEffector& endEffector) {
  const auto* lookAt = dynamic_cast<const KtLookAtEndEffector*>(&endEffector);
  return lookAt == nullptr ? Kt::Vector() : Kt::Vector(0.0, 0.0, lookAt->focusDistance());
}

// Gives the end effector its offset on the link: a whole frame, or the orientation of one.
inline void setOffset(KtEndEffector& endEffector, const Kt::coordinateSystemTransformation& offset) {
  if (auto* framed = dynamic_cast<KtFramedEndEffector*>(&endEffector)) framed->setFrame(offset);
  if (auto* turned = dynamic_cast<KtOrientationEndEffector*>(&endEffector))
    turned->setOrientation(offset.orientation());
}

// The member's rows of a motion given in system axes at the rows' point, for an end-effector
// frame with orientation `frame`.
inline std::vector<double> selectedRows(const Member& member, const Kt::Orientation& frame, Kt::Vector linear,
                                        Kt::Vector angular) {
  if (member.frameAxes) {
    linear = frame.inverse() * linear;
    angular = frame.inverse() * angular;
  }
  std::vector<double> rows;
  for (const std::size_t k : member.components) rows.push_back(k < 3 ? linear[k] : angular[k - 3]);
  return rows;
}

}  // namespace frame_family_test

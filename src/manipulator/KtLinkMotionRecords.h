#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "manipulator/KtVelocityState.h"
#include "math/Vector.h"

// The motion of one link's joint (D-H) frame in system axes: the velocity of its origin, its
// angular velocity, and the accelerations of both that these velocities alone cause (the
// centripetal and Coriolis terms: no joint accelerates and the base moves at constant velocity).
struct KtLinkMotion {
  Kt::Vector linearVelocity;
  Kt::Vector angularVelocity;
  Kt::Vector linearAcceleration;
  Kt::Vector angularAcceleration;
  bool valid = false;
};

// The velocity state of one manipulator and the link motions computed from it, one record per
// link index and one for the base. A motion also rests on the link frames, so the records are
// dropped both when the velocity state changes and when the frames they were computed from have
// been dropped (the frames' change count moved on).
class KtLinkMotionRecords {
 public:
  const KtVelocityState& velocityState() const { return m_velocityState; }
  // Keeps the records when the state is the one they were computed from, so that a caller
  // may hand over the current velocity state every step at no cost.
  void setVelocityState(const KtVelocityState& state) {
    if (state.jointVelocities() == m_velocityState.jointVelocities() &&
        state.generalVelocity().linear() == m_velocityState.generalVelocity().linear() &&
        state.generalVelocity().angular() == m_velocityState.generalVelocity().angular())
      return;
    m_velocityState = state;
    invalidateAll();
  }
  // The rate of joint i (0 for a joint that the velocity state has no value for).
  KtReal jointVelocity(std::size_t index) const {
    const std::vector<KtReal>& rates = m_velocityState.jointVelocities();
    return index < rates.size() ? rates[index] : 0.0;
  }

  // Gives the records one entry per link and drops them when the frames changed.
  void synchronize(std::size_t linkCount, std::uint64_t frameChanges) {
    if (frameChanges != m_frameChanges || linkCount != m_links.size()) {
      m_links.resize(linkCount);
      invalidateAll();
      m_frameChanges = frameChanges;
    }
  }
  KtLinkMotion& link(std::size_t index) { return m_links[index]; }
  KtLinkMotion& base() { return m_base; }

 private:
  void invalidateAll() {
    m_base.valid = false;
    for (KtLinkMotion& record : m_links) record.valid = false;
  }

  KtVelocityState m_velocityState;
  std::vector<KtLinkMotion> m_links;
  KtLinkMotion m_base;
  std::uint64_t m_frameChanges = 0;
};

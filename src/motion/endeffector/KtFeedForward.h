#pragma once

#include <cstddef>

#include "foundation/Print.h"
#include "motion/endeffector/KtEndEffector.h"

// The feed-forward velocity of an end effector with `entries` rows as a fixed-size vector:
// an empty one counts as zero. One of another size prints "<filter> input velocity size
// wrong." (`filter` names the class's filterEndEffectorVelocity) and gives false.
template <typename V>
bool ktFeedForwardEntries(const KtEndEffectorVelocityEntries& feedForward, std::size_t entries,
                          const char* filter, V& values) {
  if (!feedForward.empty() && feedForward.size() != entries) {
    ktPrint(KtSeverity::Error, "%s input velocity size wrong.", filter);
    return false;
  }
  for (std::size_t i = 0; i < entries; ++i) values[i] = feedForward.empty() ? 0.0 : feedForward[i];
  return true;
}

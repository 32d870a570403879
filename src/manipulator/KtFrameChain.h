#pragma once

#include <cstddef>
#include <vector>

#include "manipulator/KtManipulatorActivePositionState.h"

// The arithmetic of the frame sweep: the frames of a run of links, each the child of the one
// before, from the joint values, outward from a link whose record is valid.
//
// It exists twice: once for baseline x86-64 and once for processors with AVX2 and FMA (four
// doubles per register, fused multiply-adds), chosen once when the library is loaded. The two
// forms agree to rounding, not bit for bit; one process always uses the same one, so frames
// computed along different paths of one process stay identical.
struct KtFrameChainRun {
  const KtJointPlan* plans = nullptr;
  KtLinkFrames* frames = nullptr;     // indexed by link index
  const std::size_t* path = nullptr;  // link indices, outward
  std::size_t count = 0;
  const KtLinkFrames* start = nullptr;          // the parent record of the first link of the path
  const std::vector<KtReal>* joints = nullptr;  // by link index; missing values count as 0
  KtFrameSweep* scratch = nullptr;
};

namespace KtFrameChain {

// Stores the frames of every link of the run, in the form this processor runs fastest.
void compose(const KtFrameChainRun& run);

// The two forms themselves, so that tests can compare them; composeWide, compiled for AVX2 and
// FMA, only where wideAvailable().
void composeBaseline(const KtFrameChainRun& run);
[[gnu::target("avx2,fma")]] void composeWide(const KtFrameChainRun& run);
bool wideAvailable();

}  // namespace KtFrameChain

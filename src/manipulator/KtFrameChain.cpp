#include "manipulator/KtFrameChain.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "manipulator/KtDenavitHartenberg.h"
#include "math/SinCos.h"

namespace {

// Four doubles in one register where the processor has them (two halves otherwise). The
// helpers take and give them by reference and are always inlined, so no such value ever
// crosses a call.
using Lanes = KtReal __attribute__((vector_size(32)));
using LaneIndices = std::int64_t __attribute__((vector_size(32)));

[[gnu::always_inline]] inline void load(const KtReal* from, Lanes& to) { std::memcpy(&to, from, sizeof to); }
[[gnu::always_inline]] inline void save(const Lanes& from, KtReal* to) {
  std::memcpy(to, &from, sizeof from);
}

// The matrix of a frame by columns (x, y, z axes and origin), and its quaternion (w, x, y, z).
struct FrameLanes {
  Lanes x, y, z, origin, turn;
};

[[gnu::always_inline]] inline void loadFrame(const KtLinkFrames& record, FrameLanes& frame) {
  load(record.columns[KtLinkFrames::xAxis], frame.x);
  load(record.columns[KtLinkFrames::yAxis], frame.y);
  load(record.columns[KtLinkFrames::zAxis], frame.z);
  load(record.columns[KtLinkFrames::origin], frame.origin);
  const Kt::Orientation& q = record.dh.orientation();
  frame.turn = Lanes{q.w(), q.x(), q.y(), q.z()};
}

// Columns (u, v) := (c·u + s·v, c·v − s·u): the matrix times a turn by the angle with cosine c
// and sine s about its third axis (x, y about z; y, z about x).
[[gnu::always_inline]] inline void turnColumns(Lanes& u, Lanes& v, KtReal c, KtReal s) {
  const Lanes u0 = u;
  u = u0 * c + v * s;
  v = v * c - u0 * s;
}

// q := q·(c, s, 0, 0) and q := q·(c, 0, 0, s): the quaternion times a turn about x or z by the
// angle whose half has the cosine c and sine s.
[[gnu::always_inline]] inline void turnQuaternionAboutX(Lanes& q, KtReal c, KtReal s) {
  constexpr LaneIndices swapPairs = {1, 0, 3, 2};
  constexpr Lanes signs = {-1.0, 1.0, 1.0, -1.0};
  q = q * c + __builtin_shuffle(q, swapPairs) * (signs * s);
}
[[gnu::always_inline]] inline void turnQuaternionAboutZ(Lanes& q, KtReal c, KtReal s) {
  constexpr LaneIndices reverse = {3, 2, 1, 0};
  constexpr Lanes signs = {-1.0, 1.0, -1.0, 1.0};
  q = q * c + __builtin_shuffle(q, reverse) * (signs * s);
}

// The next frame of a half-angle row, from the joint value's sine and cosine (s, c) and those
// of its half (sh, ch).
template <KtFrameSweep::Rows rows>
[[gnu::always_inline]] inline void turnByRow(const KtHalfAngleRow& row, KtReal s, KtReal c, KtReal sh,
                                             KtReal ch, FrameLanes& frame) {
  using Rows = KtFrameSweep::Rows;
  if (rows == Rows::classicOnly || (rows == Rows::mixed && row.classic)) {
    turnColumns(frame.x, frame.y, c, s);
    frame.origin += frame.x * row.a + frame.z * row.d;
    turnColumns(frame.y, frame.z, row.cosAlpha, row.sinAlpha);
    turnQuaternionAboutZ(frame.turn, ch, sh);
    turnQuaternionAboutX(frame.turn, row.cosHalfAlpha, row.sinHalfAlpha);
  } else {
    turnColumns(frame.y, frame.z, row.cosAlpha, row.sinAlpha);
    frame.origin += frame.x * row.a + frame.z * row.d;
    turnColumns(frame.x, frame.y, c, s);
    turnQuaternionAboutX(frame.turn, row.cosHalfAlpha, row.sinHalfAlpha);
    turnQuaternionAboutZ(frame.turn, ch, sh);
  }
}

// A transformation is kept as its translation, its quaternion (w, x, y, z) and a 32-bit mode
// padded to eight bytes: two registers of four lanes, (tx, ty, tz, w) and (x, y, z, mode 0).
// Built in registers and copied into the record's bytes (the type is trivially copyable), a
// frame never passes through a temporary.
static_assert(sizeof(Kt::coordinateSystemTransformation) == 2 * sizeof(Lanes) &&
              std::is_trivially_copyable_v<Kt::coordinateSystemTransformation> &&
              Kt::coordinateSystemTransformation::modeGeneral == 0);

// Puts the quaternion back into the band of unit length, which turns by unit pairs hardly ever
// make it leave.
[[gnu::noinline, gnu::cold]] void renormalize(Kt::coordinateSystemTransformation& frame) {
  const Kt::Orientation& q = frame.orientation();
  frame.setOrientation(Kt::Orientation(q.w(), q.x(), q.y(), q.z()));
}

// Writes the frame into the record.
[[gnu::always_inline]] inline void storeFrame(const FrameLanes& frame, const KtJointPlan& plan,
                                              KtLinkFrames& record) {
  save(frame.x, record.columns[KtLinkFrames::xAxis]);
  save(frame.y, record.columns[KtLinkFrames::yAxis]);
  save(frame.z, record.columns[KtLinkFrames::zAxis]);
  save(frame.origin, record.columns[KtLinkFrames::origin]);
  constexpr LaneIndices originAndW = {0, 1, 2, 4}, xyzAndZero = {1, 2, 3, 4};
  const Lanes translationAndW = __builtin_shuffle(frame.origin, frame.turn, originAndW);
  const Lanes xyzAndMode = __builtin_shuffle(frame.turn, Lanes{}, xyzAndZero);
  auto* const bytes = reinterpret_cast<unsigned char*>(&record.dh);
  std::memcpy(bytes, &translationAndW, sizeof(Lanes));
  std::memcpy(bytes + sizeof(Lanes), &xyzAndMode, sizeof(Lanes));
  constexpr LaneIndices swapPairs = {1, 0, 3, 2};
  const Lanes squares = frame.turn * frame.turn;
  const Lanes pairSums = squares + __builtin_shuffle(squares, swapPairs);
  if (!Kt::Orientation::withinBand(pairSums[0] + pairSums[2])) renormalize(record.dh);
  record.storePrimaryFrame(plan.primaryOffset);
}

// The sines and cosines of the joint values and of their halves, a group of four at a time
// (the lanes past the run's count hold values left from earlier runs, or zero, and their results
// are not used).
[[gnu::always_inline]] inline void trigonometricPass(KtAngleGroup& group) {
  constexpr std::size_t lanes = KtAngleGroup::kLanes;
  for (std::size_t j = 0; j < lanes; ++j) group.halves[j] = 0.5 * group.values[j];
  Kt::sinCosMany(group.halves, group.sinesOfHalves, group.cosinesOfHalves, lanes);
  static_assert(lanes * sizeof(KtReal) == sizeof(Lanes));
  Lanes sh, ch;
  load(group.sinesOfHalves, sh);
  load(group.cosinesOfHalves, ch);
  save(2.0 * sh * ch, group.sines);
  save((ch - sh) * (ch + sh), group.cosines);
}

// The compositions, outward from the start record.
template <KtFrameSweep::Rows rows>
[[gnu::always_inline]] inline void composeLinks(const KtFrameChainRun& run) {
  constexpr std::size_t lanes = KtAngleGroup::kLanes;
  const KtAngleGroup* const angles = run.scratch->angles.data();
  FrameLanes frame;
  loadFrame(*run.start, frame);
  const KtLinkFrames* parent = run.start;
  for (std::size_t k = 0; k < run.count; ++k) {
    const KtJointPlan& plan = run.plans[run.path[k]];
    KtLinkFrames& record = run.frames[run.path[k]];
    const KtAngleGroup& group = angles[k / lanes];
    const std::size_t j = k % lanes;
    if (plan.halfAngleRow != nullptr) {
      turnByRow<rows>(plan.row, group.sines[j], group.cosines[j], group.sinesOfHalves[j],
                      group.cosinesOfHalves[j], frame);
      storeFrame(frame, plan, record);
    } else {
      record.store(parent->dh, plan.kinematics->dhTransform(group.values[j]), plan.primaryOffset);
      loadFrame(record, frame);
    }
    parent = &record;
  }
}

// The whole sweep, inlined into each of the two forms below.
[[gnu::always_inline]] inline void composeRun(const KtFrameChainRun& run) {
  constexpr std::size_t lanes = KtAngleGroup::kLanes;
  KtAngleGroup* const angles = run.scratch->angles.data();
  const std::vector<KtReal>& joints = *run.joints;
  for (std::size_t k = 0; k < run.count; ++k) {
    const KtReal value = run.path[k] < joints.size() ? joints[run.path[k]] : 0.0;
    angles[k / lanes].values[k % lanes] = value;
    const KtJointPlan& plan = run.plans[run.path[k]];
    if (plan.halfAngleRow != nullptr) plan.halfAngleRow->noteJointValue(value);
  }
  const std::size_t groups = KtFrameSweep::groups(run.count);
  for (std::size_t g = 0; g < groups; ++g) trigonometricPass(angles[g]);

  switch (run.scratch->rows) {
    case KtFrameSweep::Rows::classicOnly:
      composeLinks<KtFrameSweep::Rows::classicOnly>(run);
      break;
    case KtFrameSweep::Rows::modifiedOnly:
      composeLinks<KtFrameSweep::Rows::modifiedOnly>(run);
      break;
    case KtFrameSweep::Rows::mixed:
      composeLinks<KtFrameSweep::Rows::mixed>(run);
      break;
  }
}

}  // namespace

namespace KtFrameChain {

bool wideAvailable() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

[[gnu::flatten]] void composeBaseline(const KtFrameChainRun& run) { composeRun(run); }

// This file is compiled with floating-point contraction, so that here the multiply-adds fuse.
[[gnu::flatten, gnu::target("avx2,fma")]] void composeWide(const KtFrameChainRun& run) { composeRun(run); }

void compose(const KtFrameChainRun& run) {
  static void (*const selected)(const KtFrameChainRun&) = wideAvailable() ? composeWide : composeBaseline;
  selected(run);
}

}  // namespace KtFrameChain

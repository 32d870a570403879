#include "manipulator/KtFrameChain.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "manipulator/KtDenavitHartenberg.h"
#include "math/SinCos.h"

namespace {

// Four doubles at a time, in one of two forms. WideLanes is one register where the processor
// has four-lane registers; the helpers take and give it by reference and are always inlined,
// so no such value crosses a call. PlainLanes holds the four as members, for baseline
// processors, on which a four-lane register value would be split through memory: every
// operation is written out lane by lane, so the compiler keeps them in registers and pairs them
// where it can.
using WideLanes = KtReal __attribute__((vector_size(32)));
struct PlainLanes {
  KtReal v[4];
  KtReal operator[](std::size_t i) const { return v[i]; }
};

inline PlainLanes operator+(const PlainLanes& a, const PlainLanes& b) {
  return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2], a.v[3] + b.v[3]}};
}
inline PlainLanes operator-(const PlainLanes& a, const PlainLanes& b) {
  return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2], a.v[3] - b.v[3]}};
}
inline PlainLanes operator*(const PlainLanes& a, const PlainLanes& b) {
  return {{a.v[0] * b.v[0], a.v[1] * b.v[1], a.v[2] * b.v[2], a.v[3] * b.v[3]}};
}
inline PlainLanes operator*(const PlainLanes& a, KtReal s) {
  return {{a.v[0] * s, a.v[1] * s, a.v[2] * s, a.v[3] * s}};
}
inline PlainLanes operator*(KtReal s, const PlainLanes& a) { return a * s; }
inline PlainLanes& operator+=(PlainLanes& a, const PlainLanes& b) { return a = a + b; }

[[gnu::always_inline]] inline void set(WideLanes& to, KtReal a, KtReal b, KtReal c, KtReal d) {
  to = WideLanes{a, b, c, d};
}
[[gnu::always_inline]] inline void set(PlainLanes& to, KtReal a, KtReal b, KtReal c, KtReal d) {
  to = {{a, b, c, d}};
}

// to := the lanes i0..i3 of (a, b), counting a's lanes 0..3 and b's 4..7.
template <int i0, int i1, int i2, int i3>
[[gnu::always_inline]] inline void pick(const WideLanes& a, const WideLanes& b, WideLanes& to) {
  using LaneIndices = std::int64_t __attribute__((vector_size(32)));
  constexpr LaneIndices indices = {i0, i1, i2, i3};
  to = __builtin_shuffle(a, b, indices);
}
template <int i0, int i1, int i2, int i3>
[[gnu::always_inline]] inline void pick(const PlainLanes& a, const PlainLanes& b, PlainLanes& to) {
  const auto lane = [&a, &b](int i) { return i < 4 ? a.v[i] : b.v[i - 4]; };
  to = {{lane(i0), lane(i1), lane(i2), lane(i3)}};
}

template <typename Lanes>
[[gnu::always_inline]] inline void load(const KtReal* from, Lanes& to) {
  static_assert(sizeof(Lanes) == 4 * sizeof(KtReal) && std::is_trivially_copyable_v<Lanes>);
  std::memcpy(&to, from, sizeof to);
}
template <typename Lanes>
[[gnu::always_inline]] inline void save(const Lanes& from, KtReal* to) {
  std::memcpy(to, &from, sizeof from);
}

// The matrix of a frame by columns (x, y, z axes and origin), and its quaternion (w, x, y, z).
template <typename Lanes>
struct FrameLanes {
  Lanes x, y, z, origin, turn;
};

template <typename Lanes>
[[gnu::always_inline]] inline void loadFrame(const KtLinkFrames& record, FrameLanes<Lanes>& frame) {
  load(record.columns[KtLinkFrames::xAxis], frame.x);
  load(record.columns[KtLinkFrames::yAxis], frame.y);
  load(record.columns[KtLinkFrames::zAxis], frame.z);
  load(record.columns[KtLinkFrames::origin], frame.origin);
  const Kt::Orientation& q = record.dh.orientation();
  set(frame.turn, q.w(), q.x(), q.y(), q.z());
}

// Columns (u, v) := (c·u + s·v, c·v − s·u): the matrix times a turn by the angle with cosine c
// and sine s about its third axis (x, y about z; y, z about x).
template <typename Lanes>
[[gnu::always_inline]] inline void turnColumns(Lanes& u, Lanes& v, KtReal c, KtReal s) {
  const Lanes u0 = u;
  u = u0 * c + v * s;
  v = v * c - u0 * s;
}

// q := q·(c, s, 0, 0) and q := q·(c, 0, 0, s): the quaternion times a turn about x or z by the
// angle whose half has the cosine c and sine s.
template <typename Lanes>
[[gnu::always_inline]] inline void turnQuaternionAboutX(Lanes& q, KtReal c, KtReal s) {
  Lanes swapped, signs;
  pick<1, 0, 3, 2>(q, q, swapped);
  set(signs, -1.0, 1.0, 1.0, -1.0);
  q = q * c + swapped * (signs * s);
}
template <typename Lanes>
[[gnu::always_inline]] inline void turnQuaternionAboutZ(Lanes& q, KtReal c, KtReal s) {
  Lanes reversed, signs;
  pick<3, 2, 1, 0>(q, q, reversed);
  set(signs, -1.0, 1.0, -1.0, 1.0);
  q = q * c + reversed * (signs * s);
}

// q := q·r for the row's joint quaternion r, from the cosine and sine (ch, sh) of half the joint
// value. With four-lane registers it is the sum of four products with reorderings of q's lanes,
// which do not depend on one another, so that the quaternion, on which the next link's depends,
// waits for one multiplication and two additions per link rather than for two turns one after
// the other. Without them the two turns take half the operations, and the operations, not
// their order, set the pace.
template <typename Lanes>
[[gnu::always_inline]] inline void turnQuaternion(const KtHalfAngleRow& row, bool classic, KtReal ch,
                                                  KtReal sh, Lanes& q) {
  if constexpr (std::is_same_v<Lanes, WideLanes>) {
    const auto& f = row.quaternionFactors;
    Lanes f0, f1, f2, f3, byX, byY, byZ;
    load(f[0], f0);
    load(f[1], f1);
    load(f[2], f2);
    load(f[3], f3);
    pick<1, 0, 3, 2>(q, q, byX);
    pick<2, 3, 0, 1>(q, q, byY);
    pick<3, 2, 1, 0>(q, q, byZ);
    q = (q * (f0 * ch) + byX * (f1 * ch)) + (byY * (f2 * sh) + byZ * (f3 * sh));
  } else {
    // The factors' first lanes are the half twist's cosine and sine themselves.
    const KtReal ca = row.quaternionFactors[0][0], sa = row.quaternionFactors[1][1];
    if (classic) {
      turnQuaternionAboutZ(q, ch, sh);
      turnQuaternionAboutX(q, ca, sa);
    } else {
      turnQuaternionAboutX(q, ca, sa);
      turnQuaternionAboutZ(q, ch, sh);
    }
  }
}

// The next frame of a half-angle row, from the joint value's sine and cosine (s, c) and those
// of its half (sh, ch).
template <KtFrameSweep::Rows rows, typename Lanes>
[[gnu::always_inline]] inline void turnByRow(const KtHalfAngleRow& row, KtReal s, KtReal c, KtReal sh,
                                             KtReal ch, FrameLanes<Lanes>& frame) {
  using Rows = KtFrameSweep::Rows;
  const bool classic = rows == Rows::classicOnly || (rows == Rows::mixed && row.classic);
  if (classic) {
    turnColumns(frame.x, frame.y, c, s);
    frame.origin += frame.x * row.a + frame.z * row.d;
    turnColumns(frame.y, frame.z, row.cosAlpha, row.sinAlpha);
  } else {
    turnColumns(frame.y, frame.z, row.cosAlpha, row.sinAlpha);
    frame.origin += frame.x * row.a + frame.z * row.d;
    turnColumns(frame.x, frame.y, c, s);
  }
  turnQuaternion(row, classic, ch, sh, frame.turn);
}

// A transformation is kept as its translation, its quaternion (w, x, y, z) and a 32-bit mode
// padded to eight bytes: two registers of four lanes, (tx, ty, tz, w) and (x, y, z, mode 0).
// Built in registers and copied into the record's bytes (the type is trivially copyable), a
// frame never passes through a temporary.
static_assert(sizeof(Kt::coordinateSystemTransformation) == 8 * sizeof(KtReal) &&
              std::is_trivially_copyable_v<Kt::coordinateSystemTransformation> &&
              Kt::coordinateSystemTransformation::modeGeneral == 0);

// Puts the quaternion back into the band of unit length, which turns by unit pairs hardly ever
// make it leave.
[[gnu::noinline, gnu::cold]] void renormalize(Kt::coordinateSystemTransformation& frame) {
  const Kt::Orientation& q = frame.orientation();
  frame.setOrientation(Kt::Orientation(q.w(), q.x(), q.y(), q.z()));
}

template <typename Lanes>
[[gnu::always_inline]] inline KtReal squaredNorm(const Lanes& q) {
  const Lanes squares = q * q;
  Lanes swapped;
  pick<1, 0, 3, 2>(squares, squares, swapped);
  const Lanes pairSums = squares + swapped;
  return pairSums[0] + pairSums[2];
}

// Writes the frame into the record, checking the quaternion's norm where the sweep could not
// rule out that it left the unit band.
template <typename Lanes>
[[gnu::always_inline]] inline void storeFrame(const FrameLanes<Lanes>& frame, const KtJointPlan& plan,
                                              bool checkBand, KtLinkFrames& record) {
  save(frame.x, record.columns[KtLinkFrames::xAxis]);
  save(frame.y, record.columns[KtLinkFrames::yAxis]);
  save(frame.z, record.columns[KtLinkFrames::zAxis]);
  save(frame.origin, record.columns[KtLinkFrames::origin]);
  Lanes translationAndW, xyzAndMode;
  pick<0, 1, 2, 4>(frame.origin, frame.turn, translationAndW);
  pick<1, 2, 3, 4>(frame.turn, Lanes{}, xyzAndMode);
  auto* const bytes = reinterpret_cast<unsigned char*>(&record.dh);
  std::memcpy(bytes, &translationAndW, sizeof(Lanes));
  std::memcpy(bytes + sizeof(Lanes), &xyzAndMode, sizeof(Lanes));
  if (checkBand && !Kt::Orientation::withinBand(squaredNorm(frame.turn))) renormalize(record.dh);
  record.storePrimaryFrame(plan.primaryOffset);
}

// A turn by a half-angle row moves the squared norm of the quaternion by a few units in the last
// place at most; this bound leaves a wide margin.
constexpr KtReal kSquaredNormDriftPerTurn = 1e-14;

// Whether count turns from the quaternion q keep it within the unit band however they round, so
// that the links need not check it one by one.
template <typename Lanes>
[[gnu::always_inline]] inline bool staysWithinBand(const Lanes& q, std::size_t count) {
  const KtReal norm = squaredNorm(q), drift = static_cast<KtReal>(count) * kSquaredNormDriftPerTurn;
  return Kt::Orientation::withinBand(norm - drift) && Kt::Orientation::withinBand(norm + drift);
}

// Redoes the halves' sines and cosines of the lanes beyond the reducible range, which joint
// values never reach; out of line, away from the sweep's registers.
[[gnu::noinline, gnu::cold]] void sinCosOutside(KtAngleGroup& group) {
  Kt::sinCosRedoOutside(group.halves, group.sinesOfHalves, group.cosinesOfHalves, KtAngleGroup::kLanes);
}

// The sines and cosines of the joint values and of their halves, a group of four at a time.
// The values arrive in a register and every array of the group is written whole, so that no
// wider load ever reads what narrower stores wrote (which the processor cannot forward). With
// four-lane registers the halves' sines and cosines are taken in registers as well.
template <typename Lanes>
[[gnu::always_inline]] inline void trigonometricPass(const Lanes& values, KtAngleGroup& group) {
  const Lanes halves = 0.5 * values;
  save(values, group.values);
  save(halves, group.halves);
  Lanes sh, ch;
  if constexpr (std::is_same_v<Lanes, WideLanes>) {
    using Bits = std::uint64_t __attribute__((vector_size(32)));
    Kt::sinCosReducibleLanes<Lanes, Bits>(halves, sh, ch);
    // As in Kt::sinCosMany: the top bit of a lane's difference is set where |half| is beyond the
    // bound or NaN. The processor gathers the four top bits in one instruction (its builtin is
    // known here since the header declares composeWide for AVX2).
    const Bits magnitudes = __builtin_bit_cast(Bits, halves) & ~(Bits{} + (std::uint64_t{1} << 63));
    const Bits beyond = std::bit_cast<std::uint64_t>(Kt::kSinCosReducibleBound) - magnitudes;
    save(sh, group.sinesOfHalves);
    save(ch, group.cosinesOfHalves);
    if (__builtin_ia32_movmskpd256(__builtin_bit_cast(WideLanes, beyond)) != 0) {
      sinCosOutside(group);
      load(group.sinesOfHalves, sh);
      load(group.cosinesOfHalves, ch);
    }
  } else {
    Kt::sinCosMany(group.halves, group.sinesOfHalves, group.cosinesOfHalves, KtAngleGroup::kLanes);
    load(group.sinesOfHalves, sh);
    load(group.cosinesOfHalves, ch);
  }
  save(2.0 * sh * ch, group.sines);
  save((ch - sh) * (ch + sh), group.cosines);
}

// The compositions, outward from the start record. A link's angles are at lane j of the current
// group, both of which advance with the link; on a consecutive path (first, first + 1, ...) the
// plans and records are the next ones in their arrays rather than looked up through the path.
template <KtFrameSweep::Rows rows, typename Lanes, bool consecutive>
[[gnu::always_inline]] inline void composeLinks(const KtFrameChainRun& run) {
  FrameLanes<Lanes> frame;
  loadFrame(*run.start, frame);
  bool checkBand = !staysWithinBand(frame.turn, run.count);
  // Copied, since the stores into the records might otherwise change them as far as the
  // compiler can tell, and it would read them again for every link.
  const std::size_t* const path = run.path;
  const KtJointPlan* const plans = run.plans;
  KtLinkFrames* const frames = run.frames;
  const std::size_t count = run.count;
  const KtJointPlan* nextPlan = consecutive ? plans + path[0] : nullptr;
  KtLinkFrames* nextRecord = consecutive ? frames + path[0] : nullptr;
  const KtAngleGroup* group = run.scratch->angles.data();
  std::size_t j = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const KtJointPlan& plan = consecutive ? *nextPlan++ : plans[path[k]];
    KtLinkFrames& record = consecutive ? *nextRecord++ : frames[path[k]];
    if (plan.halfAngleRow != nullptr) {
      // Noted here rather than when the values are gathered, where it would look up the plan
      // once more.
      plan.halfAngleRow->noteJointValue(group->values[j]);
      turnByRow<rows>(plan.row, group->sines[j], group->cosines[j], group->sinesOfHalves[j],
                      group->cosinesOfHalves[j], frame);
      storeFrame(frame, plan, checkBand, record);
    } else {
      const KtLinkFrames& parent = k == 0 ? *run.start : frames[consecutive ? path[0] + k - 1 : path[k - 1]];
      record.store(parent.dh, plan.kinematics->dhTransform(group->values[j]), plan.primaryOffset);
      loadFrame(record, frame);
      // Normalised as a transformation, the quaternion is only known to lie within the band.
      checkBand = true;
    }
    if (++j == KtAngleGroup::kLanes) {
      j = 0;
      ++group;
    }
  }
}

// The compositions for the manipulator's row conventions and the shape of the path.
template <KtFrameSweep::Rows rows, typename Lanes>
[[gnu::always_inline]] inline void composeLinks(const KtFrameChainRun& run, bool consecutive) {
  if (consecutive) {
    composeLinks<rows, Lanes, true>(run);
  } else {
    composeLinks<rows, Lanes, false>(run);
  }
}

// The whole sweep, inlined into each of the two forms below.
template <typename Lanes>
[[gnu::always_inline]] inline void composeRun(const KtFrameChainRun& run) {
  constexpr std::size_t lanes = KtAngleGroup::kLanes;
  KtAngleGroup* const angles = run.scratch->angles.data();
  const KtReal* const joints = run.joints->data();
  const std::size_t jointCount = run.joints->size();
  // The lanes past the run's count repeat its last value or take 0; their results are not used.
  const auto value = [&](std::size_t k) {
    if (k >= run.count) return 0.0;
    const std::size_t link = run.path[k];
    return link < jointCount ? joints[link] : 0.0;
  };
  // Link indices grow along a path, so it is consecutive when its ends are count - 1 apart.
  const bool consecutive = run.count > 0 && run.path[run.count - 1] - run.path[0] == run.count - 1;
  const std::size_t groups = KtFrameSweep::groups(run.count);
  for (std::size_t g = 0; g < groups; ++g) {
    const std::size_t k = g * lanes, last = std::min(k + lanes, run.count) - 1;
    Lanes values;
    // Link indices grow along a path, so when the group's last link has a joint value, all have;
    // a whole group of a consecutive path takes its four in one load.
    if (consecutive && last == k + lanes - 1 && run.path[last] < jointCount) {
      load(joints + run.path[k], values);
    } else if (run.path[last] < jointCount) {
      const auto within = [&](std::size_t i) { return joints[run.path[std::min(i, last)]]; };
      set(values, within(k), within(k + 1), within(k + 2), within(k + 3));
    } else {
      set(values, value(k), value(k + 1), value(k + 2), value(k + 3));
    }
    trigonometricPass(values, angles[g]);
  }

  switch (run.scratch->rows) {
    case KtFrameSweep::Rows::classicOnly:
      composeLinks<KtFrameSweep::Rows::classicOnly, Lanes>(run, consecutive);
      break;
    case KtFrameSweep::Rows::modifiedOnly:
      composeLinks<KtFrameSweep::Rows::modifiedOnly, Lanes>(run, consecutive);
      break;
    case KtFrameSweep::Rows::mixed:
      composeLinks<KtFrameSweep::Rows::mixed, Lanes>(run, consecutive);
      break;
  }
}

}  // namespace

namespace KtFrameChain {

bool wideAvailable() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

[[gnu::flatten]] void composeBaseline(const KtFrameChainRun& run) { composeRun<PlainLanes>(run); }

// This file is compiled with floating-point contraction, so that here the multiply-adds fuse.
[[gnu::flatten, gnu::target("avx2,fma")]] void composeWide(const KtFrameChainRun& run) {
  composeRun<WideLanes>(run);
}

void compose(const KtFrameChainRun& run) {
  static void (*const selected)(const KtFrameChainRun&) = wideAvailable() ? composeWide : composeBaseline;
  selected(run);
}

}  // namespace KtFrameChain

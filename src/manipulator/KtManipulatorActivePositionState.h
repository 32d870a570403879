#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "manipulator/KtHalfAngleRow.h"
#include "manipulator/KtLinkFrames.h"
#include "manipulator/KtLinkPositionState.h"
#include "manipulator/KtModelRevision.h"
#include "manipulator/KtPositionState.h"
#include "xml/KtXmlVectorType.h"

class KtIndividualManipulator;

class KtDenavitHartenberg;
class KtLinkKinematics;
class KtManipulatorLink;

// What the frame sweep and the Jacobian columns need of one link's joint, gathered once per
// manipulator and model revision rather than looked up for every frame.
struct KtJointPlan {
  const KtLinkKinematics* kinematics = nullptr;
  // The joint again when it is a rotational "paul" or "craig" row, whose transformation the
  // sweep builds from sines and cosines of half joint values computed all together.
  const KtDenavitHartenberg* halfAngleRow = nullptr;
  // That row's constants, copied here so that the sweep reads them from one array.
  KtHalfAngleRow row;
  // The link's fixed primary offset, or null when it is the identity (a primary offset only
  // changes with the model revision).
  const Kt::coordinateSystemTransformation* primaryOffset = nullptr;
  // Whether the link has exactly one child, which in depth-first pre-order is the next link.
  bool soleChild = false;
  // The joint frame's motion per unit joint rate, in its own axes, for a half-angle row (other
  // joints are asked each time, which may report a bad type).
  Kt::Vector unitLinear;
  Kt::Vector unitAngular;
  // Whether that motion is a pure turn about the frame's own z axis (the modified convention),
  // whose Jacobian column is the z axis and its cross product with the point's offset.
  bool turnsAboutOwnZ = false;
};

// The angles of four consecutive links of a frame sweep: their joint values, the halves of
// those, and the sines and cosines of both. Four lanes each, so that the trigonometric pass
// runs on whole vector registers without a remainder.
struct alignas(32) KtAngleGroup {
  static constexpr std::size_t kLanes = 4;
  KtReal values[kLanes];
  KtReal halves[kLanes];
  KtReal sinesOfHalves[kLanes];
  KtReal cosinesOfHalves[kLanes];
  KtReal sines[kLanes];
  KtReal cosines[kLanes];
};

// The links that a sweep asked for one link may compute, as a stretch of KtFrameSweep::chainLinks
// from `begin` on: the link's ancestors from the root down, the link itself `at` places on, and
// the links that follow it through single children, `end` places in all. A sweep takes a part
// of it as its path, so no query gathers the path link by link.
struct KtSweepChain {
  std::size_t begin = 0;
  std::size_t at = 0;
  std::size_t end = 0;
};

// What the frame sweep reads besides the joint plans, built once per manipulator and model
// revision, and scratch room for the angles of the links whose frames one query computes; kept
// with the state so that it is allocated once per manipulator rather than once per query.
struct KtFrameSweep {
  static std::size_t groups(std::size_t links) {
    return (links + KtAngleGroup::kLanes - 1) / KtAngleGroup::kLanes;
  }
  // Which conventions the manipulator's half-angle rows use: when it is only one, the sweep is
  // compiled for it alone.
  enum class Rows : std::uint8_t { classicOnly, modifiedOnly, mixed };

  // The chains by link index, and the link indices that they refer to. A link that is its
  // parent's single child shares the parent's chain, so a serial arm has one chain in all.
  std::vector<KtSweepChain> chains;
  std::vector<std::size_t> chainLinks;
  std::vector<KtAngleGroup> angles;
  Rows rows = Rows::mixed;
};

// The position state of one manipulator together with the frames of its links that have
// been computed from it, one plain record per link index, and the record of the base link.
//
// The frames are only ever valid for the position state held here, the manipulator they
// were computed for and the model revision at the time:
// - a new position state drops the records of the first link whose joint changed and of all
//   links after it (links are numbered in depth-first pre-order, so that range holds the
//   changed link's subtree and none of its ancestors); a new base pose drops them all;
// - before any frame is handed out, synchronize() drops them all when the manipulator asked
//   is another one, or when any model parameter or link tree changed since (see
//   KtModelRevision), and then gives the state one record per link of the manipulator.
// The position state is therefore only changed through the setters below.
class KtManipulatorActivePositionState
    : public KtXmlCloneable<KtManipulatorActivePositionState, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;
  // The frame records go to and come from their persistent forms (the elements
  // linkPositionStates and basePositionState) only here.
  bool read(KtXmlReader& reader) override;
  bool write(KtXmlWriter& writer) const override;
  bool isEqual(const KtXmlObject& other) const override;

  const KtPositionState& positionState() const { return m_positionState; }
  void setPositionState(const KtPositionState& state);
  void setJointPositions(const std::vector<KtReal>& positions);
  void setJointPosition(std::size_t index, KtReal position);
  void setBasePose(const Kt::coordinateSystemTransformation& pose);

  std::size_t linkCount() const { return m_linkCount; }
  const KtLinkFrames& linkFrames(std::size_t index) const { return m_linkFrames[index]; }
  KtLinkFrames& linkFrames(std::size_t index) { return m_linkFrames[index]; }
  KtLinkFrames& baseFrames() { return m_baseFrames; }
  // The link records and joint plans as arrays, for the frame sweep.
  KtLinkFrames* linkFramesData() { return m_linkFrames.data(); }
  const KtJointPlan* jointPlanData() const { return m_jointPlans.data(); }
  // Changes the number of link records (new ones start invalid).
  void resizeLinkFrames(std::size_t count) {
    m_linkFrames.resize(count);
    m_linkCount = count;
  }

  void synchronize(const KtIndividualManipulator& manipulator) {
    if (!isBoundTo(&manipulator)) rebind(manipulator);
  }
  // Whether the records are those of this manipulator at the current model revision.
  bool isBoundTo(const KtIndividualManipulator* manipulator) const {
    return manipulator == m_model && m_revision == KtModelRevision::current();
  }
  // The joint value of link i (0 for a link that the position state has no value for).
  KtReal jointPosition(std::size_t index) const {
    const std::vector<KtReal>& joints = m_positionState.jointPositions();
    return index < joints.size() ? joints[index] : 0.0;
  }
  void invalidateAll();
  // Counts the times that frames were dropped, so that records derived from the frames can
  // tell whether they are still current.
  std::uint64_t frameChanges() const { return m_frameChanges; }
  // The joint of link i as the frame sweep and the Jacobian columns use it.
  const KtJointPlan& jointPlan(std::size_t index) const { return m_jointPlans[index]; }
  KtFrameSweep& frameSweep() { return m_frameSweep; }

 protected:
  void registerComponents() override;

 private:
  void rebind(const KtIndividualManipulator& manipulator);
  void buildSweepChains(const KtIndividualManipulator& manipulator);
  void invalidateFrom(std::size_t firstLink);
  // Fills the persistent forms from the frame records.
  void exportFrames() const;

  KtPositionState m_positionState;
  std::vector<KtLinkFrames> m_linkFrames;
  // m_linkFrames.size(), kept so that the queries read it rather than divide by the record size.
  std::size_t m_linkCount = 0;
  KtLinkFrames m_baseFrames;
  // The persistent forms, current only while a document is read or written.
  mutable KtXmlVectorType<KtLinkPositionState> m_linkPositionStates;
  mutable KtLinkPositionState m_basePositionState;

  std::vector<KtJointPlan> m_jointPlans;
  KtFrameSweep m_frameSweep;
  const KtIndividualManipulator* m_model = nullptr;
  // No revision until the first binding, so that an unbound state is bound to no manipulator,
  // not even to a null one.
  std::uint64_t m_revision = ~std::uint64_t{0};
  std::uint64_t m_frameChanges = 0;
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "manipulator/KtLinkPositionState.h"
#include "manipulator/KtModelRevision.h"
#include "manipulator/KtPositionState.h"
#include "xml/KtXmlVectorType.h"

class KtIndividualManipulator;

// A link whose frames a query is about to compute: its record, and its joint transformation
// and primary offset, which are computed first.
struct KtPendingFrame {
  KtLinkPositionState* record;
  const Kt::coordinateSystemTransformation* jointTransform;
  const Kt::coordinateSystemTransformation* primaryOffset;
};

// The position state of one manipulator together with the frames of its links that have
// been computed from it, one record per link index, and the record of the base link.
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

  const KtPositionState& positionState() const { return m_positionState; }
  void setPositionState(const KtPositionState& state);
  void setJointPositions(const std::vector<KtReal>& positions);
  void setJointPosition(std::size_t index, KtReal position);
  void setBasePose(const Kt::coordinateSystemTransformation& pose);

  std::size_t linkCount() const { return m_linkPositionStates.size(); }
  const std::vector<KtLinkPositionState>& linkPositionStates() const { return m_linkPositionStates; }
  KtLinkPositionState& linkPositionState(std::size_t index) { return m_linkPositionStates[index]; }
  KtLinkPositionState& basePositionState() { return m_basePositionState; }
  // Changes the number of link records (new ones start invalid).
  void resizeLinkPositionStates(std::size_t count) { m_linkPositionStates.resize(count); }

  void synchronize(const KtIndividualManipulator& manipulator) {
    if (&manipulator != m_model || m_revision != KtModelRevision::current()) rebind(manipulator);
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
  // Scratch room for the links whose frames one query computes, kept here so that it is
  // allocated once per manipulator rather than once per query.
  std::vector<KtPendingFrame>& pendingFrames() { return m_pendingFrames; }

 protected:
  void registerComponents() override;

 private:
  void rebind(const KtIndividualManipulator& manipulator);
  void invalidateFrom(std::size_t firstLink);

  KtPositionState m_positionState;
  KtXmlVectorType<KtLinkPositionState> m_linkPositionStates;
  KtLinkPositionState m_basePositionState;

  std::vector<KtPendingFrame> m_pendingFrames;
  const KtIndividualManipulator* m_model = nullptr;
  std::uint64_t m_revision = 0;
  std::uint64_t m_frameChanges = 0;
};

#pragma once

#include <cstddef>
#include <utility>

#include "manipulator/KtGeneralMotion.h"
#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "math/ReArray.h"

// Which rows of a motion a Jacobian block holds: the three linear ones, the three angular
// ones, or all six (linear first).
enum class KtJacobianRows { linear, angular, both };

// One joint's Jacobian column: the velocity of a point (linear) and of a frame (angular).
struct KtJointColumn {
  Kt::Vector linear;
  Kt::Vector angular;
};

// The columns of a manipulator's Jacobian, built from the link frames and the joints' unit
// motions: one column per joint, holding the velocity that a unit rate of that joint alone
// gives to a point rigidly fixed to a link (linear part) and to the link's frame (angular
// part). Everything is in system coordinates.
//
// A joint moves its link's joint (D-H) frame F, and with it everything outboard. With the
// joint's unit motion (v, w) given in F's own axes (D-H type and joint type decide it: a
// revolute joint turns about an axis and may swing F's origin around it; a prismatic joint
// slides along an axis and does not turn), the column at a point p is
//   linear  = R·v + (R·w) × (p − o),   angular = R·w,
// where R is F's orientation and o its origin in system coordinates. For a revolute joint this
// is the axis crossed with p minus a point on the axis; for a prismatic joint the axis and zero.
//
// With a free base, six more columns follow the joints: base translation along the system's
// x, y, z, then base rotation about the system's x, y, z axes through the base pose's origin b.
// At p they hold, for r = p − b, the identity and the cross-product matrix [−r]× (so that a
// base angular velocity w gives w × r) in the linear rows, and zero and the identity in the
// angular rows.
//
// The state must be the manipulator's up-to-date active state; the frames are read through
// it, so that none of the calls below allocates once the frames are cached and the caller's
// matrix has its size.
class KtJointColumns {
 public:
  // The column of a link's own joint at its joint frame's origin, given that frame.
  static KtJointColumn atJointFrame(const KtManipulatorLink& link,
                                    const Kt::coordinateSystemTransformation& frame) {
    KtGeneralMotion unit;
    link.kinematics().getUnitFrameMotion(unit);
    const Kt::Orientation& toSystem = frame.orientation();
    return {toSystem * unit.linear(), toSystem * unit.angular()};
  }

  // The column of a link's own joint at `point`. A link that the state has no record for has
  // been reported by dhFrameInSystem and gets the column of the identity frame.
  static KtJointColumn at(const KtManipulatorLink& link, KtManipulatorActiveState& state,
                          const Kt::Vector& point) {
    const Kt::coordinateSystemTransformation& frame = link.dhFrameInSystem(state);
    const auto index = static_cast<std::size_t>(link.linkIndex());
    const KtManipulatorActivePositionState& positions = state.activePositionState();
    if (link.linkIndex() >= 0 && index < positions.linkCount())
      return fromRecord(link, positions.linkFrames(index), positions.jointPlan(index), point);
    KtJointColumn column = atJointFrame(link, frame);
    column.linear += column.angular.cross(point - frame.translation());
    return column;
  }

  // The column of a joint at `point` from its link's frame record (which must be valid) (the joint axes as a
  // matrix) and its plan; the unit motions of half-angle rows come from the plan, others' from the joint.
  // A turn about the frame's own z axis, the usual joint, is worked out here in line.
  static KtJointColumn fromRecord(const KtManipulatorLink& link, const KtLinkFrames& record,
                                  const KtJointPlan& plan, const Kt::Vector& point) {
    if (!plan.turnsAboutOwnZ) return fromRecordOfAnyJoint(link, record, plan, point);
    const Kt::Vector axis = record.column(KtLinkFrames::zAxis);
    return {axis.cross(point - record.column(KtLinkFrames::origin)), axis};
  }

  // Brings the frames of the chain from `link` to the base up to date and tells whether their
  // records may then be read with fromRecord: true for every link of the manipulator that the
  // state is bound to (an ancestor's index is below its descendants'). False, with no message,
  // for a link that the state has no record for; at() then reports and copes.
  static bool chainRecorded(const KtManipulatorLink& link, KtManipulatorActiveState& state) {
    if (!linkRecorded(link, state)) return false;
    link.dhFrameInSystem(state);
    return true;
  }
  // chainRecorded without the frame query, for a caller that asks for the link's frame itself
  // right after, which brings the chain up to date just as well.
  static bool linkRecorded(const KtManipulatorLink& link, KtManipulatorActiveState& state) {
    KtManipulatorActivePositionState& positions = state.activePositionState();
    if (link.manipulator() != nullptr) positions.synchronize(*link.manipulator());
    return link.linkIndex() >= 0 && static_cast<std::size_t>(link.linkIndex()) < positions.linkCount();
  }

  // Free-base column k (0..5) at a point `r` away from the base origin: k < 3 moves the base
  // along system axis k, k >= 3 turns it about axis k − 3, which moves the point by e × r.
  static KtJointColumn freeBase(std::size_t k, const Kt::Vector& r) {
    Kt::Vector axis;
    axis[k % 3] = 1.0;
    if (k < 3) return {axis, Kt::Vector()};
    return {axis.cross(r), axis};
  }

  // Calls visit(jointIndex, column) for each joint on the chain from link `linkIndex` to the
  // base, the link's own joint first, with the column at `point`. An index that names no link:
  // a message and false, and nothing is visited.
  template <typename Visit>
  static bool forEach(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                      std::size_t linkIndex, const Kt::Vector& point, Visit&& visit) {
    if (!linkIndexValid(manipulator, linkIndex, "forEach")) return false;
    for (const KtManipulatorLink* link = &manipulator.link(linkIndex);
         link->linkIndex() != KtManipulatorLink::kBaseLinkIndex; link = link->parentLink()) {
      const KtJointColumn column = at(*link, state, point);
      visit(static_cast<std::size_t>(link->linkIndex()), column);
    }
    return true;
  }

  // Stores the selected rows of each chain joint's column at `point` into `jacobian`, from row
  // firstRow on, in the joint's column; other columns are left as they were. The rows must
  // exist and there must be a column per joint: otherwise a message, false and no change.
  static bool write(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                    std::size_t linkIndex, const Kt::Vector& point, KtJacobianRows rows,
                    Kt::ReArray& jacobian, std::size_t firstRow);

  // write() without its checks, for a caller that has made them: the chain's records are up to
  // date (chainRecorded) and target[k] is row k of the block (as many as `rows` selects), each
  // with a column per joint.
  static void writeChain(const KtManipulatorLink& last, const KtManipulatorActivePositionState& positions,
                         const Kt::Vector& point, KtJacobianRows rows, KtReal* const* target);

  // Stores the selected rows of the six free-base columns at `point` into columns n..n+5 of
  // `jacobian` (n the manipulator's joint count), from row firstRow on. Checks as write().
  static bool writeFreeBase(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                            const Kt::Vector& point, KtJacobianRows rows, Kt::ReArray& jacobian,
                            std::size_t firstRow);

 private:
  static KtJointColumn fromRecordOfAnyJoint(const KtManipulatorLink& link, const KtLinkFrames& record,
                                            const KtJointPlan& plan, const Kt::Vector& point);
  static bool linkIndexValid(const KtIndividualManipulator& manipulator, std::size_t linkIndex,
                             const char* operation);
  // Whether rows firstRow.. (as many as `rows` selects) and columns 0..columnCount-1 exist.
  static bool blockFits(const Kt::ReArray& jacobian, std::size_t firstRow, KtJacobianRows rows,
                        std::size_t columnCount, const char* operation);
};

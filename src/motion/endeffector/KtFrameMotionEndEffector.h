#pragma once

#include <array>
#include <cstddef>

#include "motion/KtGeneralMotionFilter.h"
#include "motion/endeffector/KtEndEffector.h"

// The common ground of the end effectors that constrain a frame fixed to a link (frame,
// orientation, the partial frame ones, look-at): the end-effector frame is the carrying link's
// primary frame composed with a fixed offset, the general motion filter drives it, and the rows
// are some of the six components (linear x, y, z, then angular x, y, z) of the motion of that
// frame, taken at a point of it (its origin unless a class says otherwise), either in system axes
// or in the axes of the end-effector frame at the current state.
//
// A concrete class states its offset, its row layout and the names it reports under; the
// Jacobian, sparsity, placement, filter and distances below then follow from them.
class KtFrameMotionEndEffector : public KtEndEffector {
 public:
  enum class RowAxes { system, endEffectorFrame };

  // The rows of a class and the operation names that its messages carry.
  struct Layout {
    RowAxes axes;
    std::size_t rowCount;
    // Which of the six motion components each row holds, in row order.
    std::array<std::size_t, 6> components;
    // "KtXxxEndEffector::insertJacobianComponent()", "KtXxxEndEffector::insertSparsityComponent()"
    // and "KtXxxEndEffector::filterEndEffectorVelocity input velocity size wrong."
    const char* jacobianOperation;
    const char* sparsityOperation;
    const char* filterSizeMessage;
  };

  const KtGeneralMotionFilter& motionFilter() const { return m_motionFilter; }
  void setMotionFilter(const KtGeneralMotionFilter& filter) { m_motionFilter = filter; }

  std::size_t rowCount() const override { return layout().rowCount; }

  // A bad carrying label prints the frame end effector's bad-label text; a bad reference label
  // prints the bad-index text with -1 and the own chain is still written (no base columns). The
  // sparsity operation reports with the point end effector's texts, which all classes share.
  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override;
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override;

  // The end-effector frame in system coordinates: the link's primary frame times the offset.
  bool calculateFramePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                               Kt::coordinateSystemTransformation& placement) const;
  bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Kt::coordinateSystemTransformation& placement) const override;

  // Distances over the kept components only, so that motion a class leaves free never counts.
  // With E = first⁻¹·second (in first's axes, which for a frame-axes layout are the
  // end-effector frame's), Δp the kept components of E's translation and Δθ those of its
  // rotation vector: linear = |Δp|, normalised = sqrt(|Δp|² + (angularWeight·|Δθ|)²) /
  // threshold (a non-positive threshold guarded), weighing the angle as the filter's speed
  // limit weighs the angular speed.
  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override;
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override;

  KtReal motionThreshold() const override { return m_motionFilter.threshold(); }
  void setMotionThreshold(KtReal threshold) override { m_motionFilter.setThreshold(threshold); }

  // The general filter on the two placements (a feed-forward of six entries, linear then
  // angular in system axes, or none), then the kept components of its output, taken at the
  // rows' point and, for a frame-axes layout, in the axes of the actual placement. Any other
  // feed-forward size prints the layout's message and leaves `commanded` as it was.
  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

 protected:
  using KtEndEffector::KtEndEffector;

  virtual const Layout& layout() const = 0;
  // The end-effector frame in the carrying link's primary frame.
  virtual Kt::coordinateSystemTransformation linkOffset() const = 0;
  // The point of the end-effector frame (its own coordinates) whose linear motion the rows hold.
  virtual Kt::Vector rowPoint() const { return Kt::Vector(); }

  bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const override {
    return calculateFramePlacement(manipulator, state, placement);
  }

  // Reads the feed-forward of a filter: false (with the layout's message) unless it has six
  // entries or none; an empty one gives zeros.
  bool feedForwardMotion(const KtEndEffectorVelocityEntries& feedForward, Kt::Vector& linear,
                         Kt::Vector& angular) const;
  // The rows' entries of a motion (linear at the frame origin, angular; system axes) of a frame
  // with orientation `frame`: the linear part is moved to the rows' point first.
  std::array<KtReal, 6> keptComponents(const Kt::Orientation& frame, const Kt::Vector& linear,
                                       const Kt::Vector& angular) const;

  // Editing values shared by the family: the rotation as angle (radians, [0, pi]) and unit axis
  // under "angle", "axis_x", "axis_y", "axis_z", and "filter_threshold" and "is_hard_constraint".
  static void appendRotationValues(const Kt::Orientation& rotation, KtEditingValues& values);
  // Parses the four rotation entries from `first` on; entries that are no number keep their part
  // of the current rotation, and the axis is normalised (a zero axis gives the identity). The
  // values as given out leave the rotation exactly as it is.
  static void parseRotationValues(const KtEditingValues& values, std::size_t first,
                                  Kt::Orientation& rotation);
  void appendFilterValues(KtEditingValues& values) const;
  void parseFilterValues(const KtEditingValues& values, std::size_t first);

  KtGeneralMotionFilter m_motionFilter;

 private:
  // The end-effector frame in system coordinates on the carrying link.
  Kt::coordinateSystemTransformation endEffectorFrame(const KtManipulatorLink& link,
                                                      KtManipulatorActiveState& state) const;
  // The rows' point in the carrying link's primary frame: the offset applied to rowPoint().
  Kt::Vector offsetPoint() const;
  // Calls store(entry, value) for every entry of `matrix` that the rows of this end effector
  // give, from firstRow on, along an opened row walk.
  template <typename Store>
  void walkColumns(const KtIndividualManipulator& manipulator, const RowWalk& walk, std::size_t firstRow,
                   bool isFixedBase, KtManipulatorActiveState& state, Kt::ReArray& matrix,
                   Store&& store) const;
};

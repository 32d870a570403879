#pragma once

#include <initializer_list>

#include "motion/KtPointMotionFilter.h"
#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlVector.h"

// The names under which a point-like class prints its messages.
struct KtLinkPointOperations {
  const char* jacobian;           // insertJacobianComponent
  const char* sparsity;           // insertSparsityComponent
  const char* absolutePlacement;  // the query of the point in system coordinates
  const char* placement;          // calculatePlacement
  const char* filter;             // filterEndEffectorVelocity
};

// The common part of the end effectors at a point rigidly fixed to a link, driven by a point
// motion filter: the point (in the carrying link's primary frame), the filter, the placement
// (the point in system coordinates with the identity orientation, then made relative) and the
// walk over the Jacobian columns of the point's velocity. Subclasses decide which rows of
// that velocity they keep.
class KtLinkPointEndEffector : public KtEndEffector {
 public:
  const Kt::Vector& point() const { return m_point; }
  void setPoint(const Kt::Vector& point) { m_point = point; }
  const KtPointMotionFilter& pointMotionFilter() const { return m_pointMotionFilter; }
  void setPointMotionFilter(const KtPointMotionFilter& filter) { m_pointMotionFilter = filter; }

  KtReal motionThreshold() const override { return m_pointMotionFilter.threshold(); }
  void setMotionThreshold(KtReal threshold) override { m_pointMotionFilter.setThreshold(threshold); }
  KtReal errorWeight() const override { return m_errorWeight; }
  void setErrorWeight(KtReal weight) override { m_errorWeight = weight; }

  bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Kt::coordinateSystemTransformation& placement) const override;

 protected:
  KtLinkPointEndEffector(const KtLinkPointOperations& operations,
                         std::initializer_list<const char*> editingLabels)
      : KtEndEffector(editingLabels), m_operations(&operations) {}
  // The base's components, then point and pointMotionFilter; subclasses register theirs and
  // then errorWeight (registerErrorWeight).
  void registerComponents() override;
  void registerErrorWeight();

  // The point in system coordinates; false with the absolute-placement message for a bad label.
  bool systemPoint(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                   Kt::Vector& point) const;
  bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const override;

  // Opens the row walk (with the messages of the Jacobian or, with `sparsity`, of the sparsity
  // operation) and calls store(column, linear) with the linear velocity column (system axes) of
  // every Jacobian column the point depends on. A bad carrying label stores nothing; a bad
  // reference label still stores the own chain, without base columns.
  template <typename Store>
  void forEachPointColumn(bool sparsity, const KtIndividualManipulator& manipulator, std::size_t firstRow,
                          const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                          KtManipulatorActiveState& state, const Kt::ReArray& matrix, Store&& store) const {
    const char* operation = sparsity ? m_operations->sparsity : m_operations->jacobian;
    const RowWalkTexts texts{operation, operation, kBadPointLabel,
                             sparsity ? kBadReferencePLink : kBadReferenceLink};
    RowWalk walk;
    if (!openRowWalk(manipulator, firstRow, relative, isFixedBase, matrix, texts, walk)) return;
    const Kt::Vector p = walk.link->primaryFrameInSystem(state) * m_point.value();
    forEachColumn(
        manipulator, state, *walk.link, walk.relative, walk.reference, !isFixedBase, p,
        [&store](std::size_t column, const KtJointColumn& motion) { store(column, motion.linear); });
  }

 private:
  const KtLinkPointOperations* m_operations;
  KtXmlDefaulted<KtXmlVector> m_point;
  KtPointMotionFilter m_pointMotionFilter;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_errorWeight{1.0};
};

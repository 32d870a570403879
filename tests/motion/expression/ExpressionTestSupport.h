#pragma once

#include <cstddef>
#include <vector>

#include "motion/endeffector/EndEffectorTestSupport.h"
#include "motion/expression/KtControlContext.h"
#include "motion/velocity/VelocityTestSupport.h"

// What the control-expression tests share: the context a description would build for the
// sample arm, and central differences of a cost over the joint-space columns.
namespace expression_test {

// The context of manipulator 0 of the arm in its current state, with the flange set's rows,
// over its joints and, when the base is free, six base columns.
inline KtControlContext contextFor(velocity_test::FlangeControl& arm, bool fixedBase) {
  KtControlContext context;
  context.stated = &arm.stated;
  context.manipulator = &arm.stated.system().manipulator(0);
  context.state = arm.stated.activeState(0);
  context.endEffectorSet = arm.control.endEffectorSet(0);
  context.isFixedBase = fixedBase;
  context.columnCount = context.manipulator->jointDof() + (fixedBase ? 0 : 6);
  context.rowCount = context.endEffectorSet->totalRowCount();
  context.jacobian = &context.endEffectorSet->jacobian(*context.manipulator, fixedBase, *context.state);
  return context;
}

// Central differences of cost(active state) over each of `columns` joint-space columns of
// manipulator 0 (joints, then base translations and rotations); the state is restored.
template <typename Cost>
std::vector<double> costGradient(KtStatedSystem& stated, std::size_t columns, Cost&& cost,
                                 double step = 1e-6) {
  const KtIndividualManipulator& arm = stated.system().manipulator(0);
  const KtPositionState original = stated.state().positionStates()[0];
  std::vector<double> gradient(columns);
  for (std::size_t c = 0; c < columns; ++c) {
    stated.setIndividualState(0, endeffector_test::movedPosition(arm, original, c, step));
    const double after = cost(*stated.activeState(0));
    stated.setIndividualState(0, endeffector_test::movedPosition(arm, original, c, -step));
    const double before = cost(*stated.activeState(0));
    gradient[c] = (after - before) / (2 * step);
  }
  stated.setIndividualState(0, original);
  stated.activeState(0);
  return gradient;
}

}  // namespace expression_test

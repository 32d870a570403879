#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"

// How one manipulator is controlled: the end-effector set whose rows are commanded, and the
// expression tree that turns the commanded velocities into joint rates. The tree's root is a
// control core (or filters wrapped around one) and evaluates to one rate per joint-space
// column: the joints, then six base columns when the base is free (`isFixedBase` false).
//
// calculateJointRates() is the per-step call. It builds the evaluation context (the set's
// stacked Jacobian and the stacked commanded velocities), prepares the tree when the model,
// the tree, the manipulator or a dimension has changed since the last call, and evaluates it;
// once warm it allocates nothing. A description that is off yields zero rates.
class KtIndividualVelocityControlDescription
    : public KtXmlCloneable<KtIndividualVelocityControlDescription, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  const std::string& label() const { return m_label; }
  void setLabel(const std::string& label) { m_label = label; }
  const KtControlExpressionContainer& controlExpressionContainer() const { return m_container; }
  KtControlExpressionContainer& controlExpressionContainer() { return m_container; }
  const KtEndEffectorSet& endEffectorSet() const { return m_endEffectorSet; }
  KtEndEffectorSet& endEffectorSet() { return m_endEffectorSet; }
  bool isOn() const { return m_isOn; }
  void setIsOn(bool on) { m_isOn = on; }
  bool isFixedBase() const { return m_isFixedBase; }
  void setIsFixedBase(bool fixed) { m_isFixedBase = fixed; }

  // Joint-space columns for a manipulator: its joints, plus six for a free base.
  std::size_t columnCount(const KtIndividualManipulator& manipulator) const;

  // Fills `rates` (columnCount entries) for manipulator `manipulatorIndex` of `stated` in its
  // current state, from the commanded velocities of the set's end effectors (one entry list
  // per end effector, each of its row count). False with a message when an index, a count or
  // the tree does not fit; `rates` is then zeroed (empty for a bad manipulator index).
  bool calculateJointRates(const KtStatedSystem& stated, int manipulatorIndex,
                           const KtManipulatorEndEffectorVelocity* velocities, std::vector<KtReal>& rates,
                           KtReal timeStep = 0.0);

 protected:
  void registerComponents() override;

 private:
  // What the tree was last prepared for (a null manipulator: never).
  struct PreparedFor {
    const KtIndividualManipulator* manipulator = nullptr;
    std::uint64_t modelRevision = 0;
    std::uint64_t treeRevision = 0;
    std::size_t columns = 0;
    std::size_t rows = 0;
    bool operator==(const PreparedFor&) const = default;
  };
  const std::vector<KtReal>* stackVelocities(const KtManipulatorEndEffectorVelocity& velocities);
  bool rootGivesRates(std::size_t columns) const;

  KtXmlBasicType<std::string> m_label;
  KtControlExpressionContainer m_container;
  KtEndEffectorSet m_endEffectorSet;
  KtXmlDefaulted<KtXmlBasicType<bool>> m_isOn{true};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_isFixedBase{true};

  // Working data of the per-step call, not part of the value.
  PreparedFor m_preparedFor;
  bool m_prepared = false;
  // The root is the core itself, which refuses rates that are not finite: they need no second look.
  bool m_rootIsCore = false;
  std::vector<KtReal> m_stackedVelocities;
};

#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtEndEffectorVector.h"
#include "motion/endeffector/KtJacobianTool.h"
#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"
#include "xml/KtXmlCompoundType.h"

// The ordered end effectors that one manipulator is controlled by. Their rows stack in set
// order into one Jacobian and one velocity column: an end effector's first row is the sum of
// the row counts before it.
//
// The first rows, the row counts and their total are derived from the list and brought up to
// date by every change of it (add, remove, replace, assign, read), so queries only look them
// up. A change of an end effector's own row count through endEffector() must be followed by
// refresh(). Link labels are resolved by each end effector on first use for a manipulator and
// model revision; setLinkIndices() does it for all of them at once, ahead of the hot path.
class KtEndEffectorSet : public KtXmlCloneable<KtEndEffectorSet, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;

  std::size_t size() const { return m_endEffectors.size(); }
  const KtEndEffector& endEffector(std::size_t index) const { return m_endEffectors[index]; }
  KtEndEffector& endEffector(std::size_t index) { return m_endEffectors[index]; }
  const KtEndEffectorVector& endEffectors() const { return m_endEffectors; }

  // False (with a message) for a null pointer.
  bool addEndEffector(std::unique_ptr<KtEndEffector> endEffector);
  void addEndEffector(const KtEndEffector& endEffector);
  // False (with a message) for an index past the end; the set is then unchanged.
  bool removeEndEffector(int index);
  bool replaceEndEffector(int index, const KtEndEffector& endEffector);
  void setEndEffectors(const KtEndEffectorVector& endEffectors);
  // Derives the first rows, row counts and total again from the list.
  void refresh();

  std::size_t totalRowCount() const { return m_totalRowCount; }
  std::size_t firstRow(std::size_t index) const { return m_firstRows[index]; }
  std::size_t rowCount(std::size_t index) const { return m_rowCounts[index]; }

  // The relative-link data of end effector `index`, or null (with a message) for a bad index.
  const KtEndEffectorRelativeLinkData* relativeLinkData(int index) const;
  // Resolves the link labels of every end effector for the manipulator.
  void setLinkIndices(const KtIndividualManipulator& manipulator) const;

  // The stacked Jacobian for the manipulator in the state (see KtJacobianTool); it stays valid
  // until the next call.
  const Kt::ReArray& jacobian(const KtIndividualManipulator& manipulator, bool isFixedBase,
                              KtManipulatorActiveState& state) const {
    return m_jacobianTool.calculate(*this, manipulator, isFixedBase, state);
  }
  // Moves the stacked Jacobian of the last call to jacobian() into `kept` (see KtJacobianTool).
  void handOverLastJacobian(Kt::ReArray& kept) { m_jacobianTool.exchange(kept); }
  // Shapes `sparsity` like the stacked Jacobian of manipulator `manipulatorIndex` of the
  // stated system, zeroes it and lets every end effector mark where its rows can be non-zero.
  // A bad index prints a message and leaves `sparsity` as it was.
  bool initializeSparsityMatrix(const KtStatedSystem& stated, int manipulatorIndex, bool isFixedBase,
                                Kt::ReArray& sparsity) const;

  // Hands a stacked velocity column back to the end effectors: the list gets one velocity per
  // end effector, each holding its rows of the column in order. A column with fewer entries
  // than the set has rows prints a message and changes nothing.
  bool setVelocityFromColumn(KtManipulatorEndEffectorVelocity& velocities,
                             const std::vector<KtReal>& column) const;

 protected:
  void registerComponents() override;

 private:
  bool indexValid(int index, const char* operation) const;

  KtEndEffectorVector m_endEffectors;

  std::vector<std::size_t> m_firstRows;
  std::vector<std::size_t> m_rowCounts;
  std::size_t m_totalRowCount = 0;
  // Working storage of the stacked Jacobian, not part of the value.
  mutable KtJacobianTool m_jacobianTool;
};

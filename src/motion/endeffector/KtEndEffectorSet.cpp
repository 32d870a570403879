#include "motion/endeffector/KtEndEffectorSet.h"

#include <algorithm>
#include <utility>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"

namespace {

std::unique_ptr<KtEndEffector> cloned(const KtEndEffector& endEffector) {
  return std::unique_ptr<KtEndEffector>(static_cast<KtEndEffector*>(endEffector.clone().release()));
}

}  // namespace

const KtToken& KtEndEffectorSet::elementToken() const {
  static const KtToken token(ktNamespaceCt, "endEffectorSet");
  return token;
}

void KtEndEffectorSet::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken endEffectors(ktNamespaceCt, "endEffectors");
  registerComponent(endEffectors, m_endEffectors);
}

bool KtEndEffectorSet::read(KtXmlReader& reader) {
  const bool read = KtXmlCompoundType::read(reader);
  refresh();
  return read;
}

bool KtEndEffectorSet::addEndEffector(std::unique_ptr<KtEndEffector> endEffector) {
  if (!endEffector) {
    ktPrint(KtSeverity::Error, "KtEndEffectorSet::addEndEffector(): null end effector.\n");
    return false;
  }
  m_endEffectors.push_back(std::move(endEffector));
  refresh();
  return true;
}

void KtEndEffectorSet::addEndEffector(const KtEndEffector& endEffector) {
  addEndEffector(cloned(endEffector));
}

bool KtEndEffectorSet::removeEndEffector(int index) {
  if (!indexValid(index, "removeEndEffector")) return false;
  m_endEffectors.erase(static_cast<std::size_t>(index));
  refresh();
  return true;
}

bool KtEndEffectorSet::replaceEndEffector(int index, const KtEndEffector& endEffector) {
  if (!indexValid(index, "replaceEndEffector")) return false;
  m_endEffectors.replace(static_cast<std::size_t>(index), cloned(endEffector));
  refresh();
  return true;
}

void KtEndEffectorSet::setEndEffectors(const KtEndEffectorVector& endEffectors) {
  m_endEffectors = endEffectors;
  refresh();
}

void KtEndEffectorSet::refresh() {
  m_firstRows.resize(size());
  m_rowCounts.resize(size());
  m_totalRowCount = 0;
  for (std::size_t i = 0; i < size(); ++i) {
    m_firstRows[i] = m_totalRowCount;
    m_rowCounts[i] = m_endEffectors[i].rowCount();
    m_totalRowCount += m_rowCounts[i];
  }
}

bool KtEndEffectorSet::indexValid(int index, const char* operation) const {
  if (index >= 0 && static_cast<std::size_t>(index) < size()) return true;
  ktPrint(KtSeverity::Error, "KtEndEffectorSet::%s(): bad end-effector index (%d).", operation, index);
  return false;
}

const KtEndEffectorRelativeLinkData* KtEndEffectorSet::relativeLinkData(int index) const {
  if (!indexValid(index, "relativeLinkData")) return nullptr;
  return &m_endEffectors[static_cast<std::size_t>(index)].relativeLinkData();
}

void KtEndEffectorSet::setLinkIndices(const KtIndividualManipulator& manipulator) const {
  for (std::size_t i = 0; i < size(); ++i) m_endEffectors[i].setLinkIndices(manipulator);
}

bool KtEndEffectorSet::initializeSparsityMatrix(const KtStatedSystem& stated, int manipulatorIndex,
                                                bool isFixedBase, Kt::ReArray& sparsity) const {
  if (manipulatorIndex < 0 || static_cast<std::size_t>(manipulatorIndex) >= stated.system().size()) {
    ktPrint(KtSeverity::Error, "KtEndEffectorSet::initializeSparsityMatrix(): index %d out of range.\n",
            manipulatorIndex);
    return false;
  }
  KtManipulatorActiveState& state = *stated.activeState(manipulatorIndex);
  const KtIndividualManipulator& manipulator =
      stated.system().manipulator(static_cast<std::size_t>(manipulatorIndex));
  sparsity.setToZeros(m_totalRowCount, KtJacobianTool::columnCount(manipulator, isFixedBase));
  for (std::size_t i = 0; i < size(); ++i) {
    const KtEndEffector& endEffector = m_endEffectors[i];
    endEffector.insertSparsityComponent(manipulator, m_firstRows[i], endEffector.relativeLinkData(),
                                        isFixedBase, state, sparsity);
  }
  return true;
}

bool KtEndEffectorSet::setVelocityFromColumn(KtManipulatorEndEffectorVelocity& velocities,
                                             const std::vector<KtReal>& column) const {
  if (column.size() < m_totalRowCount) {
    ktPrint(KtSeverity::Error, "KtEndEffectorSet::setVelocityFromColumn(): column size, %d, is too small.\n",
            static_cast<int>(column.size()));
    return false;
  }
  if (velocities.size() != size()) velocities.resize(size());
  for (std::size_t i = 0; i < size(); ++i) {
    const auto first = column.begin() + static_cast<std::ptrdiff_t>(m_firstRows[i]);
    velocities.velocity(i).assign(first, first + static_cast<std::ptrdiff_t>(m_rowCounts[i]));
  }
  return true;
}

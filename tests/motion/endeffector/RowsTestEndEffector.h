#pragma once

#include <algorithm>
#include <cstddef>

#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlVector.h"

namespace endeffector_test {

// A small stand-in end effector for the set tests: a point on a link that contributes the
// first `rows` (1 to 6) of the six motion rows (linear, then angular) of that point, so that
// sets of members with different row counts can be built without any concrete class.
class RowsTestEndEffector : public KtXmlCloneable<RowsTestEndEffector, KtEndEffector> {
 public:
  RowsTestEndEffector() : KtXmlCloneable({"rows"}) {}
  RowsTestEndEffector(const std::string& link, unsigned long rows, const Kt::Vector& point)
      : RowsTestEndEffector() {
    setLinkIdentifier(link);
    m_rows = rows;
    m_point = point;
  }

  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceCt, "rowsTestEndEffector");
    return token;
  }
  void setRows(unsigned long rows) { m_rows = rows; }

  std::size_t rowCount() const override { return m_rows; }
  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override {
    walk(manipulator, firstRow, relative, isFixedBase, state, jacobian, [](KtReal value) { return value; });
  }
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override {
    walk(manipulator, firstRow, relative, isFixedBase, state, sparsity, [](KtReal) { return 1.0; });
  }
  bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Kt::coordinateSystemTransformation& placement) const override {
    Kt::coordinateSystemTransformation absolute;
    if (!calculateAbsolutePlacement(manipulator, state, absolute) ||
        !makeRelative(manipulator, state, absolute))
      return false;
    placement = absolute;
    return true;
  }
  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override {
    return linearDistance(first, second);
  }
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override {
    return (first.translation() - second.translation()).mag();
  }
  KtEditingValues editingValues() const override { return {{"rows", editingText(KtReal(m_rows))}}; }
  void setEditingValues(const KtEditingValues&) override {}
  KtReal motionThreshold() const override { return 1.0; }
  void setMotionThreshold(KtReal) override {}
  KtReal errorWeight() const override { return 1.0; }
  void setErrorWeight(KtReal) override {}
  void filterEndEffectorVelocity(const Kt::coordinateSystemTransformation&,
                                 const Kt::coordinateSystemTransformation&,
                                 const KtEndEffectorVelocityEntries&, KtReal,
                                 KtEndEffectorVelocityEntries& commanded) const override {
    commanded.assign(rowCount(), 0.0);
  }

 protected:
  void registerComponents() override {
    KtEndEffector::registerComponents();
    static const KtToken rows(ktNamespaceCt, "rows"), point(ktNamespaceCt, "point");
    registerComponent(rows, m_rows);
    registerComponent(point, m_point);
  }
  bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const override {
    const KtManipulatorLink* link = carryingLink(manipulator);
    if (link == nullptr) return false;
    placement = Kt::coordinateSystemTransformation(link->primaryFrameInSystem(state) * Kt::Vector(m_point),
                                                   Kt::Orientation());
    return true;
  }

 private:
  template <typename Entry>
  void walk(const KtIndividualManipulator& manipulator, std::size_t firstRow,
            const KtEndEffectorRelativeLinkData& relative, bool isFixedBase, KtManipulatorActiveState& state,
            Kt::ReArray& matrix, Entry entry) const {
    const KtManipulatorLink* link = carryingLink(manipulator);
    if (link == nullptr) return;
    const KtManipulatorLink* reference =
        relative.isRelativeLink() ? referenceLink(manipulator, relative) : nullptr;
    const Kt::Vector point = link->primaryFrameInSystem(state) * Kt::Vector(m_point);
    forEachColumn(manipulator, state, *link, relative.isRelativeLink(), reference, !isFixedBase, point,
                  [&](std::size_t column, const KtJointColumn& motion) {
                    for (std::size_t r = 0; r < rowCount(); ++r)
                      matrix[firstRow + r][column] = entry(r < 3 ? motion.linear[r] : motion.angular[r - 3]);
                  });
  }

  KtXmlBasicType<unsigned long> m_rows = 3;
  KtXmlVector m_point;
};

}  // namespace endeffector_test

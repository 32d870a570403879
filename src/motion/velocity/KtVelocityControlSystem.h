#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "manipulator/KtStatedSystem.h"
#include "manipulator/KtVelocityState.h"
#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"
#include "motion/velocity/KtIndividualVelocityControlDescription.h"
#include "xml/KtXmlVectorType.h"

using KtVelocityControlDescriptions = KtXmlVectorType<KtIndividualVelocityControlDescription>;

// The control descriptions of every manipulator of a system and, per manipulator, which one is
// in force; calculate() turns every manipulator's commanded end-effector velocities into joint
// rates through its active description.
//
// Each manipulator always keeps at least one description. Operations with a bad manipulator or
// description index print a message and change nothing; queries then return null (or 0 for a
// count).
class KtVelocityControlSystem : public KtXmlCloneable<KtVelocityControlSystem, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  std::size_t manipulatorCount() const { return m_descriptions.size(); }
  // Gives every manipulator up to `count` a default description, and drops those beyond.
  void setManipulatorCount(std::size_t count);

  const KtVelocityControlDescriptions* controlDescriptions(int manipulator) const;
  int getNumControlDescriptions(int manipulator) const;
  // The active description and its parts.
  KtIndividualVelocityControlDescription* individualVelocityControlDescription(int manipulator) {
    if (!manipulatorValid(manipulator, "individualVelocityControlDescription")) return nullptr;
    return &active(static_cast<std::size_t>(manipulator));
  }
  KtControlExpressionContainer* controlExpressionContainer(int manipulator);
  // Inline, as the position loop asks for the sets on every cycle.
  KtEndEffectorSet* endEffectorSet(int manipulator) {
    return const_cast<KtEndEffectorSet*>(std::as_const(*this).endEffectorSet(manipulator));
  }
  const KtEndEffectorSet* endEffectorSet(int manipulator) const {
    if (!manipulatorValid(manipulator, "endEffectorSet")) return nullptr;
    const auto m = static_cast<std::size_t>(manipulator);
    return &m_descriptions[m][activeIndex(m)].endEffectorSet();
  }
  // The relative-link data of every end effector of the active description's set, in order.
  bool endEffectorRelativeLinkData(int manipulator, std::vector<KtEndEffectorRelativeLinkData>& data) const;

  bool addControlDescription(int manipulator, const KtIndividualVelocityControlDescription& description);
  // A description labelled "default" whose core has the identity weighting, no gradient and no
  // end effectors: it keeps the arm still.
  bool addDefaultControlDescription(int manipulator);
  bool deleteControlDescription(int manipulator, int index);
  // Leaves one default description.
  bool deleteControlDescriptions(int manipulator);
  // An empty list leaves one default description.
  bool setControlDescriptions(int manipulator, const KtVelocityControlDescriptions& descriptions);
  // The active description's index, or -1 for a bad manipulator.
  int activeControlDescription(int manipulator) const;
  bool setActiveControlDescription(int manipulator, int index);
  bool setActiveControlDescription(int manipulator, const std::string& label);

  // Compares the counts of descriptions, manipulators, states and velocities (a null pointer
  // is not compared) and prints what does not match.
  bool integrityCheck(const KtStatedSystem& stated,
                      const std::vector<KtManipulatorEndEffectorVelocity>* velocities = nullptr) const;
  // Joint rates of every manipulator, into the joint velocities of `velocityStates` (one per
  // manipulator; a free base's six rates go to the base's general velocity, linear then angular).
  bool calculate(const KtStatedSystem& stated,
                 const std::vector<KtManipulatorEndEffectorVelocity>& velocities,
                 std::vector<KtVelocityState>& velocityStates, KtReal timeStep = 0.0);

 protected:
  void registerComponents() override;

 private:
  bool manipulatorValid(int manipulator, const char* operation) const {
    if (manipulator >= 0 && static_cast<std::size_t>(manipulator) < m_descriptions.size()) return true;
    return reportBadManipulator(manipulator, operation);
  }
  bool reportBadManipulator(int manipulator, const char* operation) const;
  // The active index of a document may point past the list; the last description stands in.
  std::size_t activeIndex(std::size_t manipulator) const {
    const std::size_t index = manipulator < m_activeIndices.size() ? m_activeIndices[manipulator] : 0;
    return std::min<std::size_t>(index, m_descriptions[manipulator].size() - 1);
  }
  KtIndividualVelocityControlDescription& active(std::size_t manipulator) {
    return m_descriptions[manipulator][activeIndex(manipulator)];
  }

  KtXmlVectorType<KtVelocityControlDescriptions> m_descriptions;
  KtXmlVectorType<unsigned> m_activeIndices;
  // Working storage of calculate().
  std::vector<KtReal> m_rates;
};

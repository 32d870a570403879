#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "manipulator/KtIndividualManipulator.h"
#include "xml/KtXmlKeptElement.h"
#include "xml/KtXmlVariableVectorType.h"

class KtManipulatorSystemState;

// The static model of a set of robots: the manipulators (a manipulator's position in the
// vector is its manipulator index), and the environment, link interactions and collision
// exclusions, which later subsystems interpret and which are kept unchanged meanwhile.
class KtManipulatorSystem : public KtXmlCloneable<KtManipulatorSystem, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  std::size_t size() const { return m_manipulators.size(); }
  const KtIndividualManipulator& manipulator(std::size_t index) const { return m_manipulators[index]; }
  KtIndividualManipulator& manipulator(std::size_t index) { return m_manipulators[index]; }
  void addManipulator(std::unique_ptr<KtIndividualManipulator> manipulator) {
    m_manipulators.push_back(std::move(manipulator));
  }

  // Sets the limits of one joint; false for a bad manipulator or joint index.
  bool setJointLimit(int manipulatorIndex, int jointIndex, KtReal lower, KtReal upper);
  // Number of joints of a manipulator (0 for a bad index).
  std::size_t jointDof(int manipulatorIndex) const;
  // Gives the link with that label the kinematics, limits and kept properties of `source`.
  bool replaceLinkProperties(int manipulatorIndex, const std::string& label, const KtManipulatorLink& source);
  // Checks that the state fits this system before a bounding sphere could be formed; the
  // sphere itself needs the link shapes, which are not interpreted yet, so this answers false.
  bool absoluteBoundingSphere(const KtManipulatorSystemState& state) const;
  // Checks a manipulator before it is changed: its index, and that the manipulator it refers
  // to, if any, is another manipulator of this system.
  bool aboutToModifyManipulator(unsigned index) const;

 protected:
  void registerComponents() override;

 private:
  bool validIndex(int index) const { return index >= 0 && static_cast<std::size_t>(index) < size(); }

  KtXmlKeptElement m_environment;
  KtXmlVariableVectorType<KtIndividualManipulator> m_manipulators;
  KtXmlKeptElement m_linkInteractionsVector;
  KtXmlKeptElement m_systemCollisionExclusionSet;
};

#include "motion/velocity/KtVelocityControlSystem.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "foundation/Print.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "xml/KtXmlNamespaces.h"

namespace {

KtIndividualVelocityControlDescription defaultDescription() {
  KtIndividualVelocityControlDescription description;
  description.setLabel("default");
  description.controlExpressionContainer().setExpression(std::make_unique<KtControlExpressionCore>());
  return description;
}

}  // namespace

const KtToken& KtVelocityControlSystem::elementToken() const {
  static const KtToken token(ktNamespaceCt, "velocityControlSystem");
  return token;
}

void KtVelocityControlSystem::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken descriptions(ktNamespaceCt, "controlDescriptionVector"),
      indices(ktNamespaceCt, "activeControlDescriptionIndices");
  registerComponent(descriptions, m_descriptions);
  registerComponent(indices, m_activeIndices);
}

void KtVelocityControlSystem::setManipulatorCount(std::size_t count) {
  m_descriptions.resize(count);
  m_activeIndices.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (m_descriptions[i].empty()) m_descriptions[i].push_back(defaultDescription());
  }
}

bool KtVelocityControlSystem::reportBadManipulator(int manipulator, const char* operation) const {
  ktPrint(KtSeverity::Error, "KtVelocityControlSystem::%s(): bad manipulator index (%d).", operation,
          manipulator);
  return false;
}

const KtVelocityControlDescriptions* KtVelocityControlSystem::controlDescriptions(int manipulator) const {
  if (!manipulatorValid(manipulator, "controlDescriptions")) return nullptr;
  return &m_descriptions[static_cast<std::size_t>(manipulator)];
}

int KtVelocityControlSystem::getNumControlDescriptions(int manipulator) const {
  if (!manipulatorValid(manipulator, "getNumControlDescriptions")) return 0;
  return static_cast<int>(m_descriptions[static_cast<std::size_t>(manipulator)].size());
}

KtControlExpressionContainer* KtVelocityControlSystem::controlExpressionContainer(int manipulator) {
  if (!manipulatorValid(manipulator, "controlExpressionContainer")) return nullptr;
  return &active(static_cast<std::size_t>(manipulator)).controlExpressionContainer();
}

bool KtVelocityControlSystem::endEffectorRelativeLinkData(
    int manipulator, std::vector<KtEndEffectorRelativeLinkData>& data) const {
  if (!manipulatorValid(manipulator, "endEffectorRelativeLinkData")) return false;
  const auto m = static_cast<std::size_t>(manipulator);
  const KtEndEffectorSet& set = m_descriptions[m][activeIndex(m)].endEffectorSet();
  data.clear();
  for (std::size_t i = 0; i < set.size(); ++i) data.push_back(set.endEffector(i).relativeLinkData());
  return true;
}

bool KtVelocityControlSystem::addControlDescription(
    int manipulator, const KtIndividualVelocityControlDescription& description) {
  if (!manipulatorValid(manipulator, "addControlDescription")) return false;
  m_descriptions[static_cast<std::size_t>(manipulator)].push_back(description);
  return true;
}

bool KtVelocityControlSystem::addDefaultControlDescription(int manipulator) {
  if (!manipulatorValid(manipulator, "addDefaultControlDescription")) return false;
  m_descriptions[static_cast<std::size_t>(manipulator)].push_back(defaultDescription());
  return true;
}

bool KtVelocityControlSystem::deleteControlDescription(int manipulator, int index) {
  if (!manipulatorValid(manipulator, "deleteControlDescription")) return false;
  const auto m = static_cast<std::size_t>(manipulator);
  std::vector<KtIndividualVelocityControlDescription>& list = m_descriptions[m].value();
  if (index < 0 || static_cast<std::size_t>(index) >= list.size()) {
    ktPrint(KtSeverity::Error,
            "KtVelocityControlSystem::deleteControlDescription(): bad control description index (%d).",
            index);
    return false;
  }
  if (list.size() == 1) {
    ktPrint(KtSeverity::Error,
            "KtVelocityControlSystem::deleteControlDescription(): Only ONE control description exists and "
            "can NOT be "
            "deleted");
    return false;
  }
  list.erase(list.begin() + index);
  // The active description stays the same one, or the first when it was the one deleted.
  unsigned& activeIndex = m_activeIndices[m];
  if (activeIndex == static_cast<unsigned>(index))
    activeIndex = 0;
  else if (activeIndex > static_cast<unsigned>(index))
    --activeIndex;
  return true;
}

bool KtVelocityControlSystem::deleteControlDescriptions(int manipulator) {
  if (!manipulatorValid(manipulator, "deleteControlDescriptions")) return false;
  const auto m = static_cast<std::size_t>(manipulator);
  m_descriptions[m].clear();
  m_descriptions[m].push_back(defaultDescription());
  m_activeIndices[m] = 0;
  return true;
}

bool KtVelocityControlSystem::setControlDescriptions(int manipulator,
                                                     const KtVelocityControlDescriptions& descriptions) {
  if (!manipulatorValid(manipulator, "setControlDescriptions")) return false;
  const auto m = static_cast<std::size_t>(manipulator);
  m_descriptions[m] = descriptions;
  if (m_descriptions[m].empty()) m_descriptions[m].push_back(defaultDescription());
  m_activeIndices[m] = 0;
  return true;
}

int KtVelocityControlSystem::activeControlDescription(int manipulator) const {
  if (!manipulatorValid(manipulator, "activeControlDescription")) return -1;
  return static_cast<int>(m_activeIndices[static_cast<std::size_t>(manipulator)]);
}

bool KtVelocityControlSystem::setActiveControlDescription(int manipulator, int index) {
  if (!manipulatorValid(manipulator, "setActiveControlDescription")) return false;
  const auto m = static_cast<std::size_t>(manipulator);
  if (index < 0 || static_cast<std::size_t>(index) >= m_descriptions[m].size()) {
    ktPrint(KtSeverity::Error,
            "KtVelocityControlSystem::setActiveControlDescription(): bad control description index (%d).",
            index);
    return false;
  }
  m_activeIndices[m] = static_cast<unsigned>(index);
  return true;
}

bool KtVelocityControlSystem::setActiveControlDescription(int manipulator, const std::string& label) {
  if (!manipulatorValid(manipulator, "setActiveControlDescription")) return false;
  const std::vector<KtIndividualVelocityControlDescription>& list =
      m_descriptions[static_cast<std::size_t>(manipulator)].value();
  const auto found =
      std::find_if(list.begin(), list.end(), [&label](const auto& d) { return d.label() == label; });
  if (found == list.end()) {
    // The message has always shown the label's place holder as "%d"; it is kept as it stands.
    ktPrint(KtSeverity::Error, "%s",
            "KtVelocityControlSystem::setActiveControlDescription(): bad control description label (%d).");
    return false;
  }
  m_activeIndices[static_cast<std::size_t>(manipulator)] = static_cast<unsigned>(found - list.begin());
  return true;
}

bool KtVelocityControlSystem::integrityCheck(
    const KtStatedSystem& stated, const std::vector<KtManipulatorEndEffectorVelocity>* velocities) const {
  const int descriptions = static_cast<int>(m_descriptions.size());
  const int manipulators = static_cast<int>(stated.system().size());
  const int states = static_cast<int>(stated.state().positionStates().size());
  bool consistent = true;
  if (velocities != nullptr && static_cast<int>(velocities->size()) != descriptions) {
    ktPrint(KtSeverity::Error,
            "KtVelocityControlSystem::integrityCheck(): the number of control descriptions, %d, does not "
            "match the "
            "number of end-effector velocities, %d.\n",
            descriptions, static_cast<int>(velocities->size()));
    consistent = false;
  }
  if (descriptions != manipulators) {
    ktPrint(KtSeverity::Error,
            "KtVelocityControlSystem::integrityCheck(): the number of control descriptions, %d, does not "
            "match the "
            "number of manipulators, %d.\n",
            descriptions, manipulators);
    consistent = false;
  }
  if (states != manipulators) {
    ktPrint(
        KtSeverity::Error,
        "KtVelocityControlSystem::integrityCheck(): the number of states, %d, does not match the number of "
        "manipulators, %d.\n",
        states, manipulators);
    consistent = false;
  }
  return consistent;
}

bool KtVelocityControlSystem::calculate(const KtStatedSystem& stated,
                                        const std::vector<KtManipulatorEndEffectorVelocity>& velocities,
                                        std::vector<KtVelocityState>& velocityStates, KtReal timeStep) {
  if (velocityStates.size() != m_descriptions.size()) {
    ktPrint(KtSeverity::Error,
            "KtVelocityControlSystem::calculate(): the number of control descriptions, %d, does not match "
            "the number "
            "of calculated velocity states, %d.\n",
            static_cast<int>(m_descriptions.size()), static_cast<int>(velocityStates.size()));
    return false;
  }
  if (!integrityCheck(stated, &velocities)) return false;
  bool calculated = true;
  for (std::size_t m = 0; m < m_descriptions.size(); ++m) {
    KtIndividualVelocityControlDescription& description = active(m);
    const int index = static_cast<int>(m);
    calculated =
        description.calculateJointRates(stated, index, &velocities[m], m_rates, timeStep) && calculated;
    const std::size_t joints = stated.system().manipulator(m).jointDof();
    std::vector<KtReal>& jointRates = velocityStates[m].jointVelocities();
    jointRates.assign(m_rates.begin(),
                      m_rates.begin() + static_cast<std::ptrdiff_t>(std::min(joints, m_rates.size())));
    if (m_rates.size() == joints + 6) {
      velocityStates[m].generalVelocity() =
          KtGeneralMotion(Kt::Vector(m_rates[joints], m_rates[joints + 1], m_rates[joints + 2]),
                          Kt::Vector(m_rates[joints + 3], m_rates[joints + 4], m_rates[joints + 5]));
    }
  }
  return calculated;
}

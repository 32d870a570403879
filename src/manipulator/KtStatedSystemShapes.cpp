#include "foundation/Print.h"
#include "manipulator/KtStatedSystem.h"

std::size_t KtStatedSystem::addShapeManipulator(const KtShape& shape,
                                                const Kt::coordinateSystemTransformation& pose,
                                                const std::string& name) {
  const std::size_t index = m_system.size();
  if (m_state.positionStates().size() != index || m_state.velocityStates().size() != index) {
    ktPrint(
        KtSeverity::Error,
        "KtStatedSystem::addShapeManipulator(): the state holds %d position and %d velocity states for %d "
        "manipulators.\n",
        static_cast<int>(m_state.positionStates().size()), static_cast<int>(m_state.velocityStates().size()),
        static_cast<int>(index));
    return 0;
  }
  auto manipulator = std::make_unique<KtIndividualManipulator>();
  manipulator->setIdentifier(name);
  manipulator->setFixedBase(true);
  m_system.addManipulator(std::move(manipulator));
  KtPositionState position;
  position.setCoordinateSystemTransform(pose);
  m_state.positionStates().push_back(position);
  m_state.velocityStates().emplace_back();
  m_addedShapes.insert_or_assign(index, KtShapeHolder(shape));
  return index;
}

const KtShape* KtStatedSystem::addedShape(std::size_t manipulatorIndex) const {
  const auto found = m_addedShapes.find(manipulatorIndex);
  return found == m_addedShapes.end() ? nullptr : &found->second.shape();
}

KtReal KtStatedSystem::manipulatorDistance(int first, int second, KtReal /*tolerance*/, KtReal cutoff,
                                           Kt::Vector& firstPoint, Kt::Vector& secondPoint, int /*level*/,
                                           unsigned long /*selector*/) const {
  firstPoint = Kt::Vector();
  secondPoint = Kt::Vector();
  const char* operation = "manipulatorDistance";
  if (!manipulatorIndexValid(first, operation) || !manipulatorIndexValid(second, operation)) return cutoff;
  // No link carries an interpreted shape yet, so no pair of links comes within the cut-off.
  return cutoff;
}

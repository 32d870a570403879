#pragma once

#include <memory>
#include <vector>

#include "motion/position/KtPositionControlSystem.h"
#include "xml/KtXmlVariableVectorType.h"

// Holds exactly one position-control system, of any of its classes, written as that class's own
// element inside the container's, and forwards every operation to it. A new container holds a
// plain system; a document whose container holds none gets a plain one (with a warning), and one
// with several keeps the first (with a warning), so that the container is never empty.
class KtPositionControlContainer
    : public KtXmlCloneable<KtPositionControlContainer, KtXmlVariableVectorType<KtPositionControlSystem>> {
 public:
  KtPositionControlContainer();
  explicit KtPositionControlContainer(std::unique_ptr<KtPositionControlSystem> system);

  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;

  KtPositionControlSystem& system() { return (*this)[0]; }
  const KtPositionControlSystem& system() const { return (*this)[0]; }
  // Replaces the system held; a null pointer stands for a plain one.
  void setSystem(std::unique_ptr<KtPositionControlSystem> system);

  bool bind(KtStatedSystem& stated) { return system().bind(stated); }
  bool setDesiredPlacement(int manipulator, int endEffector,
                           const Kt::coordinateSystemTransformation& placement) {
    return system().setDesiredPlacement(manipulator, endEffector, placement);
  }
  bool addDesiredPlacement(int manipulator, int endEffector,
                           const Kt::coordinateSystemTransformation& displacement) {
    return system().addDesiredPlacement(manipulator, endEffector, displacement);
  }
  bool desiredPlacement(int manipulator, int endEffector,
                        Kt::coordinateSystemTransformation& placement) const {
    return system().desiredPlacement(manipulator, endEffector, placement);
  }
  bool actualPlacement(int manipulator, int endEffector,
                       Kt::coordinateSystemTransformation& placement) const {
    return system().actualPlacement(manipulator, endEffector, placement);
  }
  bool setDesiredVelocity(unsigned manipulator, unsigned endEffector,
                          const KtEndEffectorVelocityEntries& velocity) {
    return system().setDesiredVelocity(manipulator, endEffector, velocity);
  }
  bool calcAllEndEffectorPlacements(const KtStatedSystem& stated, unsigned manipulator,
                                    KtManipulatorEndEffectorPlacement& placements) {
    return system().calcAllEndEffectorPlacements(stated, manipulator, placements);
  }
  bool calculateGeneralMotion(int manipulator, KtReal dt) {
    return system().calculateGeneralMotion(manipulator, dt);
  }
  bool initializeStates() { return system().initializeStates(); }
  bool integrityCheck() const { return system().integrityCheck(); }
  bool calculateState(KtReal time, KtManipulatorSystemState& result) {
    return system().calculateState(time, result);
  }
  bool updateState(const KtManipulatorSystemState& measured, KtReal rate) {
    return system().updateState(measured, rate);
  }
  const std::vector<KtPropagationResultData>& propagationResults() const {
    return system().propagationResults();
  }
};

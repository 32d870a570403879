#pragma once

#include <string>

#include "manipulator/KtManipulatorSystemState.h"
#include "motion/position/KtPositionControlContainer.h"
#include "simulation/KtVisualizableStatedSystem.h"
#include "xml/KtXmlKeptElement.h"

// A whole simulation in one document: a stated system with its viewer parameters, the position
// control that drives it, and a description of the data to capture on the way.
//
// The simulation owns all three by value. The data-capture description is kept as read and
// written back unchanged until data capture is interpreted. The container is bound to this
// object's own stated system when the simulation is first propagated (and again after a copy,
// an assignment or a read, which leave it bound elsewhere or not at all), so that a copy never
// drives another simulation's system.
class KtSystemSimulation : public KtXmlCloneable<KtSystemSimulation, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  // Reads the simulation from the document `name` (plain, compressed or a URL); false when it
  // cannot be read.
  bool readFromFile(const std::string& name);

  const KtVisualizableStatedSystem& visualizableStatedSystem() const { return m_statedSystem; }
  KtVisualizableStatedSystem& visualizableStatedSystem() { return m_statedSystem; }
  // Copies the stated system with its viewer parameters into `system`.
  void copyVisualizableStatedSystem(KtVisualizableStatedSystem& system) const { system = m_statedSystem; }
  const KtPositionControlContainer& positionControlContainer() const { return m_container; }
  KtPositionControlContainer& positionControlContainer() { return m_container; }

  // Advances the stated system to `time` through the position control; false (with the
  // container's message) when the control refuses.
  bool propagate(KtReal time);

 protected:
  void registerComponents() override;

 private:
  KtVisualizableStatedSystem m_statedSystem;
  KtPositionControlContainer m_container;
  KtXmlKeptElement m_dataCapture;

  // The state the last propagation produced, not part of the document.
  KtManipulatorSystemState m_result;
};

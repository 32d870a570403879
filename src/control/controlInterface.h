#pragma once

#include "control/baseControlInterface.h"

class KtSystemSimulation;

namespace orlix {

// The interface for the seven-joint arm: besides the two separate files it can load one
// configuration file holding a whole system simulation, and it sets the arm's desired pose.
class KT_EXPORT controlInterface : public Kt::baseControlInterface {
 public:
  controlInterface();
  // A copy gets a fresh simulation of its own and, like the base, must be initialised.
  controlInterface(const controlInterface& other);
  controlInterface& operator=(const controlInterface& other);
  ~controlInterface() override;

  // With a configuration file named, reads the system and its control from it (no "../data/"
  // fallback); otherwise reads the two separate files like the base.
  bool initializeAll(const std::vector<double>& initialJointValues,
                     const Kt::coordinateSystemTransformation& basePose) override;

  virtual void setConfigurationFilename(const KtString& name) { m_configurationFilename = name; }
  const KtString& configurationFilename() const { return m_configurationFilename; }

  // The desired placement of end effector endEffectorIndex of the arm.
  virtual bool setDesiredEndEffectorPose(const Kt::coordinateSystemTransformation& pose,
                                         unsigned long endEffectorIndex);

 private:
  std::unique_ptr<KtSystemSimulation> m_systemSimulation;
  KtString m_configurationFilename;
};

}  // namespace orlix

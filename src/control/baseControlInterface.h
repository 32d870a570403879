#pragma once

#include <memory>
#include <vector>

#include "foundation/Export.h"
#include "foundation/Types.h"
#include "geometry/KtShape.h"
#include "math/Vector.h"
#include "math/coordinateSystemTransformation.h"
#include "motion/position/KtPropagationResultData.h"

class KtStatedSystem;
class KtPositionControlContainer;
class KtRenderWindow;
class KtVisualizableStatedSystem;

namespace Kt {

// The host's entry point: load an arm (manipulator-system file) and how to drive it (control-system
// file), then command it cycle after cycle and read back joint values and rates. Joint vectors are
// in the joint order of manipulator 0 of the loaded system, the arm; shorter or longer vectors are
// not errors (inputs are truncated to the shorter length, outputs are always seven long). Joint
// values given to initializeAll and the resets are held inside the joints' limits; a value or base
// pose that is not finite is refused (false, nothing changed), so that neither a bad number nor a
// joint beyond its limit can ever come back out. Every
// failure is a false result (0 or 0.0 for counts and values); nothing is printed by this layer and
// nothing is thrown. To be driven from one thread: some working objects are shared process-wide.
class KT_EXPORT baseControlInterface {
 public:
  baseControlInterface();
  // A copy takes the file names and the rendering flag, nothing owned: it must be initialised.
  baseControlInterface(const baseControlInterface& other);
  baseControlInterface& operator=(const baseControlInterface& other);
  virtual ~baseControlInterface();

  // Reads both files (each also tried under "../data/"), applies the joint values and base pose
  // to the arm and binds the control to the result. A failure leaves the interface uninitialised.
  virtual bool initializeAll(const std::vector<double>& initialJointValues,
                             const coordinateSystemTransformation& basePose);

  void setManipulatorSystemFilename(const KtString& name) { m_manipulatorSystemFilename = name; }
  const KtString& manipulatorSystemFilename() const { return m_manipulatorSystemFilename; }
  void setControlSystemFilename(const KtString& name) { m_controlSystemFilename = name; }
  const KtString& controlSystemFilename() const { return m_controlSystemFilename; }

  bool initializeJointAngles(const std::vector<double>& initialJointValues);
  bool resetAll(const std::vector<double>& jointValues, const coordinateSystemTransformation& basePose);
  bool resetJointAngles(const std::vector<double>& jointValues);
  bool setTime(double time);

  // Advances the control to the given time and reports the arm's first seven joint values and rates.
  // No value that is not finite ever reaches the host: when the control refuses a step for a
  // value that is not finite (or the result holds one), the outputs are the last good values
  // (those of the last successful call, or of the state set by initializeAll or resetAll, with
  // zero rates) and the result is false.
  bool calculateNewJointValuesAndRates(double time, std::vector<double>& jointValues,
                                       std::vector<double>& jointRates);

  // End effector 0's pose for the given joint values (manipulator 0's other joints and its base
  // as they are now); the live state is not touched.
  bool computeEndEffectorPose(const std::vector<double>& jointValues,
                              coordinateSystemTransformation& pose) const;
  // End effector 0's placement found by the last calculation; false when there is none.
  bool getLastActualEndEffectorPose(coordinateSystemTransformation& pose) const;

  double endEffectorMotionThreshold(unsigned long endEffectorIndex) const;
  void setEndEffectorMotionThreshold(double threshold, unsigned long endEffectorIndex);
  void setIsHardConstraint(bool isHardConstraint, unsigned long endEffectorIndex);

  // The arm's end-effector set from the file (also tried under "../data/"); the name is not kept.
  bool loadAndApplyNewEndEffectorSet(const KtString& filename);
  // A new position control from the file (also tried under "../data/"). The name becomes the
  // control-system file name even when the file cannot be read. Manipulators that the new
  // control does not describe (added shapes, the customer) get a default description, which
  // holds them still, so that the control can step the whole system.
  bool loadAndApplyNewControlSystem(const KtString& filename);

  // The customer is the last manipulator of the system (the tracked external object). Setting
  // its pose also hands a working copy of the system state, taken at the first call in the
  // process, to the control as the measured state. While rendering is on, the result is false
  // when the window cannot render (as in a process without a display): turn rendering off there.
  bool setCustomerPose(const coordinateSystemTransformation& pose);
  const coordinateSystemTransformation& customerPose() const;
  // Distance between manipulators 0 and 1 with the nearest point of each; false when they are
  // not within the query's cut-off.
  bool getLastManipulatorToCustomerDistance(double& distance, Vector& armPoint, Vector& customerPoint,
                                            unsigned long selector) const;
  // Adds the shape as a new manipulator; its index, 0 on failure.
  unsigned long addShape(const KtShape& shape, const coordinateSystemTransformation& pose,
                         const KtString& name);

  bool getPropagationResults(KtPropagationResultData& results) const;
  // One row per link of the arm: a, alpha, d for a link in Craig's convention, empty otherwise.
  bool getCraigDhParameters(std::vector<std::vector<double>>& rows) const;

  void turnOffRendering();
  static void sleep(double seconds);

 protected:
  // Deletes the stated system, the control container and the render window.
  void releaseOwned();
  // Reads the loaded system and the control from the two separate files (each also tried under
  // "../data/"), then completes the initialisation.
  bool initializeFromSeparateFiles(KtVisualizableStatedSystem& loaded,
                                   const std::vector<double>& initialJointValues,
                                   const coordinateSystemTransformation& basePose);
  // The steps of initializeAll after the files are read: the working stated system and
  // container from those loaded, the joint values and base pose applied to the arm, the
  // container bound, and the window opened on the loaded system while rendering is on.
  bool completeInitialization(const KtVisualizableStatedSystem& loaded,
                              const KtPositionControlContainer& control,
                              const std::vector<double>& initialJointValues,
                              const coordinateSystemTransformation& basePose);

  std::unique_ptr<KtStatedSystem> m_statedSystem;
  std::unique_ptr<KtPositionControlContainer> m_positionControlContainer;
  std::unique_ptr<KtRenderWindow> m_renderWindow;
  bool m_renderingOn = true;

 private:
  // Takes manipulator 0's first seven joint values of the live state, at rest, as the last good
  // outputs.
  void rememberCurrentJoints();

  KtString m_manipulatorSystemFilename;
  KtString m_controlSystemFilename;
  // The outputs of the last successful calculation, handed out instead of values that are not
  // finite.
  std::vector<double> m_lastJointValues;
  std::vector<double> m_lastJointRates;
};

}  // namespace Kt

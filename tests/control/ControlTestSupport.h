#pragma once

#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "control/controlInterface.h"
#include "manipulator/KtStatedSystem.h"
#include "motion/position/KtPositionControlContainer.h"
#include "render/KtRenderWindow.h"
#include "simulation/KtVisualizableStatedSystem.h"

inline std::string sampleFile(const std::string& name) { return std::string(KT_TEST_DATA_DIR) + "/" + name; }

// The arm interface with its owned objects open to inspection.
class InspectableInterface : public orlix::controlInterface {
 public:
  KtStatedSystem* stated() const { return m_statedSystem.get(); }
  KtPositionControlContainer* control() const { return m_positionControlContainer.get(); }
  bool hasWindow() const { return m_renderWindow != nullptr; }
};

// Loads a sample system and the sample position control (with the given initial joints) into
// the interface; rendering is off unless asked for.
inline bool initializeSample(Kt::baseControlInterface& control, const std::string& system = "craig_arm.xml",
                             const std::vector<double>& joints = {}, bool rendering = false) {
  if (!rendering) control.turnOffRendering();
  control.setManipulatorSystemFilename(sampleFile(system));
  control.setControlSystemFilename(sampleFile("craig_arm_position_control.xml"));
  return control.initializeAll(joints, Kt::coordinateSystemTransformation::identity());
}

// A render window that records, in order, the operations it is asked for.
class RecordingWindow : public KtRenderWindow {
 public:
  explicit RecordingWindow(std::vector<std::string>& log) : m_log(log) {}
  bool open(unsigned width, unsigned height) override {
    m_log.push_back("open " + std::to_string(width) + "x" + std::to_string(height));
    return true;
  }
  void setSystem(const KtVisualizableStatedSystem& system) override {
    m_log.push_back("system of " + std::to_string(system.system().size()));
  }
  void setSystem(const KtStatedSystem& system, const KtViewerParameters& parameters) override {
    m_log.push_back("system of " + std::to_string(system.system().size()) + " with parameters");
    m_parameters = parameters;
  }
  const KtViewerParameters& viewerParameters() const override {
    m_log.push_back("parameters");
    return m_parameters;
  }
  void showState(const KtManipulatorSystemState& /*state*/) override { m_log.push_back("state"); }
  bool render() override {
    m_log.push_back("render");
    return true;
  }

 private:
  std::vector<std::string>& m_log;
  KtViewerParameters m_parameters;
};

// Makes every window created while it lives a recording one.
class WindowRecorder {
 public:
  WindowRecorder()
      : m_previous(ktSetRenderWindowFactory([this] { return std::make_unique<RecordingWindow>(log); })) {}
  ~WindowRecorder() { ktSetRenderWindowFactory(std::move(m_previous)); }
  WindowRecorder(const WindowRecorder&) = delete;
  WindowRecorder& operator=(const WindowRecorder&) = delete;

  std::vector<std::string> log;

 private:
  KtRenderWindowFactory m_previous;
};

// A scratch directory holding run/ (the working directory while it lives) and data/ beside it.
class ScratchRun {
 public:
  explicit ScratchRun(const std::vector<std::string>& dataFiles)
      : m_root(std::filesystem::temp_directory_path() / ("kt-control-" + std::to_string(::getpid()))),
        m_previous(std::filesystem::current_path()) {
    std::filesystem::create_directories(m_root / "run");
    std::filesystem::create_directories(m_root / "data");
    for (const std::string& name : dataFiles)
      std::filesystem::copy_file(sampleFile(name), m_root / "data" / name,
                                 std::filesystem::copy_options::overwrite_existing);
    std::filesystem::current_path(m_root / "run");
  }
  ~ScratchRun() {
    std::filesystem::current_path(m_previous);
    std::filesystem::remove_all(m_root);
  }
  ScratchRun(const ScratchRun&) = delete;
  ScratchRun& operator=(const ScratchRun&) = delete;

 private:
  std::filesystem::path m_root;
  std::filesystem::path m_previous;
};

#pragma once

#include <functional>
#include <memory>

#include "render/KtViewerParameters.h"

class KtManipulatorSystemState;
class KtStatedSystem;
class KtVisualizableStatedSystem;

// The window that shows a stated system and renders single frames on request. The control
// interface only drives it through these operations; what draws the frames lies behind them.
class KtRenderWindow {
 public:
  virtual ~KtRenderWindow() = default;

  // Opens the window with an image of width x height pixels; false when no window can be had.
  virtual bool open(unsigned width, unsigned height) = 0;
  // The system to show, with the viewer parameters it carries.
  virtual void setSystem(const KtVisualizableStatedSystem& system) = 0;
  // The system to show, looked at as the parameters say.
  virtual void setSystem(const KtStatedSystem& system, const KtViewerParameters& parameters) = 0;
  // The viewer parameters now in use.
  virtual const KtViewerParameters& viewerParameters() const = 0;
  // The state in which the system is shown from the next frame on.
  virtual void showState(const KtManipulatorSystemState& state) = 0;
  // Renders one frame; false when nothing could be rendered.
  virtual bool render() = 0;
};

// A window for a process without a display: it keeps what it is told and renders nothing, so
// its open and render report false.
class KtHeadlessRenderWindow : public KtRenderWindow {
 public:
  bool open(unsigned width, unsigned height) override;
  void setSystem(const KtVisualizableStatedSystem& system) override;
  void setSystem(const KtStatedSystem& system, const KtViewerParameters& parameters) override;
  const KtViewerParameters& viewerParameters() const override { return m_parameters; }
  void showState(const KtManipulatorSystemState& state) override;
  bool render() override { return false; }

 private:
  KtViewerParameters m_parameters;
};

using KtRenderWindowFactory = std::function<std::unique_ptr<KtRenderWindow>()>;

// Creates a render window through the process-wide factory (a headless window by default).
std::unique_ptr<KtRenderWindow> ktCreateRenderWindow();
// Replaces the process-wide factory (an empty function restores the default); the previous
// one is returned so that a caller can put it back.
KtRenderWindowFactory ktSetRenderWindowFactory(KtRenderWindowFactory factory);

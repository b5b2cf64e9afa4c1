// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "simulation/scripted_desktop.h"
#include "simulation/simulated_projection.h"
#include "support/session_on.h"
#include "visuals/visual_projection_window_controller.h"
#include "visuals/visual_stage.h"

namespace vrel {

/// An engine with clips, two screens, and a projection whose window records what is done with it.
class ProjectionStage : public VisualStage, protected SessionOn {
 protected:
  ProjectionStage() : SessionOn(*engine, mainQueue, clock, console) {
    desktop.screenList = {laptop, projector};
    videos.paths.insert("/sea.mov");
    videos.paths.insert("/sky.mov");
  }

  /// The window that there is, or was last.
  [[nodiscard]] simulation::SimulatedProjectionWindow& window() { return *windows.windows.back(); }

  /// As the menu does it; the background is found.
  void openOn(const NSScreen& screen) {
    controller.open(screen, true);
    window().isOn = screen;
    settle();
  }

  void setScreens(std::vector<NSScreen> screens) {
    desktop.screenList = std::move(screens);
    controller.screensChanged();
  }

  [[nodiscard]] static const simulation::SimulatedQueuePlayer& recorded(const std::shared_ptr<AVQueuePlayer>& player) {
    return dynamic_cast<const simulation::SimulatedQueuePlayer&>(*player);
  }

  [[nodiscard]] std::vector<LayerBlending> blendings() {
    std::vector<LayerBlending> all;
    for (const auto& layer : window().scene().layers) {
      all.push_back(layer.blending);
    }
    return all;
  }

  [[nodiscard]] std::vector<double> opacities() {
    std::vector<double> all;
    for (const auto& layer : window().scene().layers) {
      all.push_back(layer.opacity);
    }
    return all;
  }

  const NSScreen laptop{"eDP-1", {0, 30, 1920, 1050}, {0, 0, 1920, 1080}, "Panel", "1"};
  const NSScreen projector{"HDMI-1", {1920, 0, 1280, 700}, {1920, 0, 1280, 720}, "Beamer", "77"};
  simulation::ScriptedDesktop desktop;
  simulation::SimulatedProjection windows;
  VrelVisualProjectionWindowController controller{{state, visuals(), desktop, mainQueue, &videos, &windows}};
};

}  // namespace vrel

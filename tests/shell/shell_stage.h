// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "console/content_view.h"
#include "platform/notification_center.h"
#include "shell/menu_commands.h"
#include "shell/menu_controller.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_background_work.h"
#include "simulation/simulated_hardware.h"
#include "simulation/simulated_projection.h"
#include "simulation/simulated_video.h"
#include "support/session_on.h"
#include "support/simulated_stage.h"
#include "visuals/visual_projection_window_controller.h"

namespace vrel {

/// Constructed before the engine that plays on it.
struct SimulatedDevices {
  simulation::SimulatedAudioHardware hardware;
};

/// A machine whose engine plays on two output devices.
struct MachineWithDevices : SimulatedDevices, SimulatedMachine {
  MachineWithDevices() {
    hardware.list = {{2, {2}, "uid-b", "Beta"}, {3, {2}, "uid-a", "Alpha"}};
    hardware.defaultDevice = 2;
    engine = AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console, &hardware});
    mainQueue.runAll();
  }
};

/// The console with its menus, on such a machine with two screens.
class ShellStage : public testing::Test, protected MachineWithDevices, protected SessionOn {
 protected:
  ShellStage() : SessionOn(*engine, mainQueue, clock, console) {
    files.placeDirectory(state.recentFilesPath.parent_path());
    desktop.screenList = {{"Laptop", {0, 30, 1920, 1050}, {0, 0, 1920, 1080}},
                          {"Projector", {1920, 0, 1280, 720}, {1920, 0, 1280, 720}}};
  }

  /// Builds the bar, and counts from here on how often it is built again.
  void raiseMenus() {
    menus.rebuildMenus(state, engine);
    rebuilds_ = menus.menusRebuilt.connect([this] { ++rebuildCount; });
  }

  [[nodiscard]] const MenuItem& menu(std::size_t index) const { return menus.mainMenu().at(index); }

  /// The first item of the whole bar with this action; one without a title when there is none.
  [[nodiscard]] MenuItem itemFor(MenuAction action) const { return find(menus.mainMenu(), menuCommand(action).name); }

  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  simulation::SimulatedBackgroundWork background;
  ContentView content{{.appState = state,
                       .audioEngine = *engine,
                       .mainQueue = mainQueue,
                       .clock = clock,
                       .console = console,
                       .desktop = desktop,
                       .files = files,
                       .notifications = notifications,
                       .copiesDirectory = "/home/me/copies",
                       .background = &background}};
  simulation::SimulatedVideos videos;
  simulation::SimulatedProjection windows;
  VrelVisualProjectionWindowController projection{
      {state, engine->visualEngine(), desktop, mainQueue, &videos, &windows}};
  VrelMenuController menus{menuCollaborators()};
  int rebuildCount = 0;

  [[nodiscard]] VrelMenuController::Collaborators menuCollaborators() {
    return {notifications, mainQueue, desktop, content.liveMode(), content.midiLearn(), projection};
  }

 private:
  static MenuItem find(const std::vector<MenuItem>& items, std::string_view action) {
    for (const auto& item : items) {
      if (item.action == action) {
        return item;
      }
      if (auto found = find(item.children, action); !found.title.empty()) {
        return found;
      }
    }
    return {};
  }

  Signal<>::Connection rebuilds_;
};

}  // namespace vrel

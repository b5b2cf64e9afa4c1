// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "console/content_view.h"
#include "platform/notification_center.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_processes.h"
#include "support/simulated_session.h"

namespace vrel::window {

/// A console on a simulated platform, with nothing on stage yet.
class ConsoleStage : public SimulatedSession {
 protected:
  void appear() {
    content.contentDidAppear();
    answerAll();
  }

  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  simulation::SimulatedProcesses processes;
  const std::shared_ptr<FileManager> sharedFiles{std::shared_ptr<void>(), &files};
  ContentView content{{state,
                       *engine,
                       mainQueue,
                       clock,
                       console,
                       desktop,
                       files,
                       notifications,
                       "/home/me/copies",
                       {},
                       nullptr,
                       {&queues, sharedFiles, sharedFiles, &processes, "vrel-render"}}};
};

}  // namespace vrel::window

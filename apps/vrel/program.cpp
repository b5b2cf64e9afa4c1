// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/program.h"

#include <optional>
#include <string>
#include <utility>

#include "system/dispatch/main_loop.h"
#include "system/files/user_folders.h"
#include "vrel/window_side.h"

namespace vrel::app {
void Program::Teller::print(const std::string& line) {
  output_.print(line);
  program_.loop_.async([&program = program_, line] { program.mirror_.setProblem(line); });
}

Program::Program(system::MainLoop& loop, WindowSide& window)
    : loop_(loop),
      window_(window),
      machine_({}, loop, clock_, console_),
      state_({defaults_, machine_.components(), loop, console_, files_}, system::userRecentFilesPath()),
      engine_(AudioEngine::make(machine_.platform())),
      desktop_(loop, window),
      content_(
          {state_, *engine_, loop, clock_, console_, desktop_, files_, notifications_, system::userCopiesFolder()}),
      mirrorSource_(loop,
                    [this](window::MirrorBatch batch) {
                      window_.apply(std::move(batch), [this] { mirrorSource_.delivered(); });
                    }),
      mirror_(mirrorSource_, content_, desktop_.shownAlert, *window.model().meters()),
      actions_{content_, [this](std::optional<std::size_t> button) { desktop_.answerAlert(button); },
               [](const std::string&, const std::string&) {}} {
  machine_.setDeathHandler([this](const std::shared_ptr<AVAudioUnit>& node) { engine_->pluginDied(node); });
}

Program::~Program() = default;

void Program::start() {
  content_.contentDidAppear();
}

void Program::carryOut(const window::ConsoleCommands::Action& action) {
  action(actions_);
  mirrorSource_.schedule();
}

void Program::setScreens(std::vector<NSScreen> screens) {
  desktop_.setScreens(std::move(screens));
}

void Program::requestTermination() {
  notifications_.post("vrel.requestTermination");
}

}  // namespace vrel::app

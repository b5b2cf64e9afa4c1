// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/session.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "system/files/posix_file_copier.h"
#include "system/files/posix_file_manager.h"
#include "system/files/user_folders.h"
#include "vrel/check_program.h"
#include "vrel/menu_mirror.h"
#include "vrel/run_name.h"
#include "vrel/ui_thread.h"

namespace vrel::app {

void Session::ConsoleLog::printFailure(FailureKind kind, const std::string& line) {
  printInfo(line);
  session_.loop_.async([&session = session_, kind, line] { session.mirror_.addProblem(kind, line); });
}

void Session::ConsoleLog::printInfo(const std::string& line) {
  output_.print(line);
  if (runLog_ != nullptr) {
    runLog_->print(line);
  }
}

Session::UnrunWork::~UnrunWork() {
  loop.dropWork();
}

Session::Session(system::MainLoop& loop, UiThread& window, ConsoleOutput* runLog)
    : loop_(loop),
      window_(window),
      console_(*this, runLog),
      platform_({.pluginsFile = system::userPluginsFile()}, loop, clock_, console_),
      state_({defaults_, platform_.components(), loop, console_, files_, &platform_.platform().queues},
             system::userRecentFilesPath()),
      engine_(AudioEngine::make(platform_.platform())),
      desktop_(loop, window),
      content_({state_, *engine_, loop, clock_, console_, desktop_, files_, notifications_, system::userCopiesFolder(),
                editorMedia(), &background_, setlistTools()}),
      collector_({state_, content_.songSwitch(), loop, copyingQueues_, system::makeFileCopier(), desktop_, console_}),
      unsavedEdits_({state_, content_.songSwitch(), content_.setlistFiles(), loop, platform_.platform().queues,
                     unsavedFiles_, desktop_, console_, &background_},
                    system::userUnsavedFolder(), {ownRunName(), isRunning}),
      meterReadings_(
          *engine_, loop,
          [this](const AudioChannel& channel) {
            const bool isMaster = channel.id == engine_->masterChannel()->id;
            return window_.model().meters()->cell(isMaster ? QString() : QString::fromStdString(channel.id.text()));
          }),
      playedNow_(state_, window.model().performance()->played()),
      mirrorSource_(loop,
                    [this](window::MirrorBatch batch) {
                      window_.apply(std::move(batch), [this] { mirrorSource_.delivered(); });
                    }),
      mirror_(mirrorSource_, content_, desktop_.shownAlert),
      projectionWindows_(window.stageWindows(), loop, [this](const std::string& line) { console_.print(line); }),
      projection_({state_, engine_->visualEngine(), desktop_, loop, platform_.platform().videos, &projectionWindows_}),
      sleepInhibitor_(system::SleepInhibitor::usualBuses(),
                      [this](const std::string& line) { console_.printInfo(line); }),
      menus_({notifications_, loop, desktop_, content_.liveMode(), content_.midiLearn(), projection_}),
      actions_{content_, [this](std::optional<std::size_t> button) { desktop_.answerAlert(button); },
               [this](const std::string& action, const std::string& object) { menus_.perform(action, object); },
               settings_, [this] { collector_.stop(); }},
      app_({state_, engine_, content_, menus_, notifications_, desktop_, loop}),
      menusShown_(menus_.menusRebuilt.connect([this] { mirror_.setMenus(menusForQml(menus_.mainMenu())); })) {
  const auto showAudioOutput = [this](const system::OutputState& output) {
    mirror_.setAudioOutput(!output.hasDevice(), output.awaited);
  };
  showAudioOutput(platform_.output().state().get());
  audioOutputShown_ = platform_.output().state().changed.connect(showAudioOutput);
  mirror_.mirrorSettings(settings_);
  mirror_.mirrorCollecting(collector_.progress);
  projectionShown_ = projection_.isProjecting.changed.connect([this](bool isOpen) { mirror_.setProjected(isOpen); });
  if (auto* const input = engine_->midiInput()) {
    playedNow_.follow(*input);
  }
  menus_.hooks.openStateFolder = [this] { openStateFolder(); };
  menus_.hooks.collectSetlist = [this] { collector_.collect(); };
  content_.setlistFiles().mayEnd = [this] { return collector_.mayEnd(); };
  connectEditors();
  platform_.setDeathHandler([this](const auto& death) { engine_->pluginDied(death.node, death.how); });
}

Session::~Session() = default;

void Session::openStateFolder() {
  const auto folder = system::userStateFolder();
  if (folder.empty()) {
    console_.print("no state folder (HOME and XDG_STATE_HOME are not set)");
    return;
  }
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);  // a file manager shows no folder that is not there
  window_.openFolder(folder);
}

EditorMedia Session::editorMedia() {
  EditorMedia media = platform_.editorMedia();
  media.cacheFiles = &cacheFiles_;
  media.cacheFolder = system::userPeaksFolder();
  return media;
}

ContentView::SetlistTools Session::setlistTools() {
  return {&readingQueues_, system::makeFileManager(), system::makeFileManager(), &processes_, checkProgramPath()};
}

void Session::connectEditors() {
  auto* const editors = platform_.editors();
  if (editors == nullptr) {
    return;
  }
  const auto keyPressed = [this](const KeyEvent& key) {
    // Behind a question only panic is a command, as in the window.
    const auto command = LiveMode::commandFor(key);
    const bool isPanic = command && command->kind == LiveMode::Command::Kind::panic;
    if (isPanic || !desktop_.shownAlert.get()) {
      (void)content_.liveMode().handleLiveKeyDown(key);
    }
  };
  editors->setHandlers({.edited = [this] { state_.markEdited(); }, .keyPressed = keyPressed});
  editors->takeStageKeys(state_.isLiveModeEnabled.get());
  liveModeFollowed_ =
      state_.isLiveModeEnabled.changed.connect([editors](bool isEnabled) { editors->takeStageKeys(isEnabled); });
}

void Session::watchStage(bool isWanted) {
  if (isWanted) {
    projection_.setWatcher([this](const ProjectionScene& scene) { window_.stagePreview().setScene(scene); });
  } else {
    projection_.setWatcher(nullptr);
    window_.stagePreview().clearScene();
  }
}

void Session::setWindowNumber(std::uint64_t window) {
  if (auto* const editors = platform_.editors()) {
    editors->setMainWindow(window);
  }
}

void Session::start() {
  app_.contentDidAppear();
  dropoutTimer_ = loop_.repeatingTimer(1, [this] {
    mirror_.setDropouts(platform_.dropouts());
    engine_->reportDroppedEvents();
    sleepInhibitor_.setActive(projection_.isOpen() || state_.isLiveModeEnabled.get());
  });
}

void Session::carryOut(const window::ConsoleCommands::Action& action) {
  action(actions_);
  mirrorSource_.schedule();
}

void Session::setScreens(std::vector<NSScreen> screens) {
  desktop_.setScreens(std::move(screens));
  projection_.screensChanged();
  menus_.rebuildMenusSoon();
}

void Session::windowResolved(bool isFullScreen, const std::optional<NSScreen>& screen) {
  class Window final : public NSWindow {
   public:
    Window(UiThread& window, bool isFullScreen, const std::optional<NSScreen>& screen)
        : window_(window), isFullScreen_(isFullScreen), screen_(screen) {}
    [[nodiscard]] bool isFullScreen() const override { return isFullScreen_; }
    [[nodiscard]] std::optional<NSScreen> screen() const override { return screen_; }
    void setFrame(const ScreenRect& frame) override { window_.setWindowFrame(frame); }

   private:
    UiThread& window_;
    const bool isFullScreen_;
    const std::optional<NSScreen>& screen_;
  };
  Window resolved(window_, isFullScreen, screen);
  app_.windowResolved(resolved);
}

void Session::requestTermination() {
  (void)app_.appDelegate().applicationShouldTerminate();
}

void Session::systemEnds() {
  app_.systemEnds();
}

}  // namespace vrel::app

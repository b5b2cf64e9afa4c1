// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/menu_controller.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <system_error>
#include <utility>
#include <variant>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/live_mode.h"
#include "performance/live_mode_policy.h"
#include "performance/midi_learn.h"
#include "platform/dispatch.h"
#include "shell/menu_builder.h"
#include "shell/menu_commands.h"
#include "visuals/visual_projection_window_controller.h"

namespace vrel {
namespace {

template <typename Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && parsed == end ? std::optional(number) : std::nullopt;
}

void call(const std::function<void()>& hook) {
  if (hook) {
    hook();
  }
}

}  // namespace

VrelMenuController::VrelMenuController(const Collaborators& collaborators, MenuBar mainMenu)
    : notifications_(collaborators.notifications),
      mainQueue_(collaborators.mainQueue),
      desktop_(collaborators.desktop),
      liveMode_(collaborators.liveMode),
      midiLearn_(collaborators.midiLearn),
      projection_(collaborators.projection),
      mainMenu_(std::move(mainMenu)),
      blackoutFollowed_(
          midiLearn_.projectionBlackoutPressed.connect([this] { projection_.setBlack(!projection_.isBlack.get()); })) {}

std::optional<VrelMenuController::Session> VrelMenuController::session() const {
  auto engine = audioEngine_.lock();
  return appState_ != nullptr && engine ? std::optional(Session{*appState_, std::move(engine)}) : std::nullopt;
}

void VrelMenuController::take(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine) {
  hasOutputList_ = hasOutputList_ && audioEngine_.lock() == audioEngine;
  audioEngine_ = audioEngine;
  if (appState_ != &appState) {
    appState_ = &appState;
    observe(appState);
  }
}

void VrelMenuController::observe(AppState& appState) {
  const auto rebuildLater = [this](const auto&) { rebuildMenusSoon(); };
  // Songs change with every edit, of which the menus show next to nothing.
  const auto rebuildForSongs = [this](const auto&) {
    if (hasMidiAssignments(*appState_) != showsMidiAssignments_) {
      rebuildMenusSoon();
    }
  };
  connections_ = {appState.recentFiles.changed.connect(rebuildLater),
                  appState.isLiveModeEnabled.changed.connect(rebuildLater),
                  appState.isMidiLearnMode.changed.connect(rebuildLater),
                  appState.visualBlendMode.changed.connect(rebuildLater),
                  appState.visualBackgroundVideoPath.changed.connect(rebuildLater),
                  appState.undoTitle.changed.connect(rebuildLater),
                  appState.redoTitle.changed.connect(rebuildLater),
                  projection_.isBlack.changed.connect(rebuildLater),
                  projection_.isTestPictureShown.changed.connect(rebuildLater),
                  appState.globalMidiControlAssignments.changed.connect(rebuildForSongs),
                  appState.songs.changed.connect(rebuildForSongs)};
}

void VrelMenuController::rebuildMenus(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine) {
  take(appState, audioEngine);
  rebuild();
}

void VrelMenuController::rebuildMenusSoon(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine) {
  take(appState, audioEngine);
  rebuildMenusSoon();
}

void VrelMenuController::rebuildMenusSoon() {
  if (std::exchange(isRebuildQueued_, true)) {
    return;
  }
  mainQueue_.async([this, watch = life_.watch()] {
    if (watch.isAlive()) {
      isRebuildQueued_ = false;
      rebuild();
    }
  });
}

void VrelMenuController::rebuild() {
  const auto current = session();
  if (!current) {
    return;
  }
  showsMidiAssignments_ = hasMidiAssignments(current->state);
  if (LiveModePolicy::isAllowed(LiveModeAction::listOutputDevices, current->state) || !hasOutputList_) {
    outputDevices_ = current->engine->availableOutputDevices();
    hasOutputList_ = true;
  }
  mainMenu_ = buildMenuBar({current->state, desktop_.screens().size(), outputDevices_, projection_.isBlack.get(),
                            projection_.isTestPictureShown.get()},
                           mainMenu_);
  menusRebuilt.emit();
}

void VrelMenuController::perform(const std::string& action, const std::string& representedObject) {
  if (const auto known = menuActionNamed(action)) {
    perform(*known, representedObject);
  }
}

void VrelMenuController::perform(MenuAction action, const std::string& representedObject) {
  // The end of the program needs neither session nor engine.
  if (action == MenuAction::terminate) {
    terminate();
    return;
  }
  const auto current = session();
  if (!current || !isMenuActionEnabled(action, current->state)) {
    return;
  }
  const MenuCommand& command = menuCommand(action);
  if (const auto* const notification = std::get_if<MenuCommand::Notification>(&command.handler)) {
    post(command, notification->name, representedObject);
  } else if (const auto* const plain = std::get_if<MenuCommand::Plain>(&command.handler)) {
    (this->**plain)();
  } else if (const auto* const withObject = std::get_if<MenuCommand::WithObject>(&command.handler)) {
    (this->**withObject)(representedObject);
  }
}

void VrelMenuController::post(const MenuCommand& command, std::string_view notification, const std::string& object) {
  const bool needsObject = command.name.ends_with(':');
  if (needsObject && object.empty()) {
    return;
  }
  notifications_.post(std::string(notification), needsObject ? NSNotificationCenter::Object(object) : std::nullopt);
  rebuildMenusSoon();
}

void VrelMenuController::terminate() {
  call(hooks.terminate);
}

void VrelMenuController::modeEdit() {
  setLiveMode(false);
}

void VrelMenuController::modeLive() {
  setLiveMode(true);
}

void VrelMenuController::setLiveMode(bool isWanted) {
  const auto current = session();
  if (current && current->state.isLiveModeEnabled.get() != isWanted) {
    liveMode_.setLiveMode(isWanted);
    rebuildMenusSoon();
  }
}

void VrelMenuController::toggleLearn() {
  midiLearn_.toggleMidiLearnMode();
  rebuildMenusSoon();
}

void VrelMenuController::selectVisualBlendMode(const std::string& mode) {
  const auto current = session();
  const auto blendMode = visualBlendModeFromStoredText(mode);
  if (current && blendMode) {
    current->state.visualBlendMode.set(*blendMode);
    projection_.updateContent();
    rebuildMenusSoon();
  }
}

void VrelMenuController::chooseVisualBackgroundVideo() {
  const auto path = desktop_.runModal(NSOpenPanel{.allowedType = FileType::movie});
  // Anything may have ended while the panel was open.
  if (const auto current = session(); current && path) {
    setBackgroundVideo(current->state, path->string());
  }
}

void VrelMenuController::clearVisualBackgroundVideo() {
  if (const auto current = session()) {
    setBackgroundVideo(current->state, std::nullopt);
  }
}

void VrelMenuController::setBackgroundVideo(AppState& state, const std::optional<std::string>& path) {
  state.visualBackgroundVideoPath.set(path);
  projection_.updateContent();
  rebuildMenusSoon();
}

void VrelMenuController::openVisualProjection(const std::string& screenIndex) {
  const auto index = numberIn<std::size_t>(screenIndex);
  if (!index) {
    return;
  }
  const auto screens = desktop_.screens();
  std::optional<NSScreen> screen;
  if (!screens.empty()) {
    screen = screens[*index < screens.size() ? *index : 0];
  }
  projection_.open(screen, true);
}

void VrelMenuController::toggleVisualProjectionFullscreen() {
  if (projection_.isOpen()) {
    projection_.toggleFullScreen();
  }
}

void VrelMenuController::closeVisualProjection() {
  projection_.close();
}

void VrelMenuController::toggleProjectionBlackout() {
  const auto current = session();
  if (current && current->state.isMidiLearnMode.get()) {
    midiLearn_.selectMidiLearnTarget({MidiControlKind::projectionBlackout, std::nullopt});
  } else {
    projection_.setBlack(!projection_.isBlack.get());
  }
}

void VrelMenuController::toggleProjectionTestPicture() {
  projection_.setTestPictureShown(!projection_.isTestPictureShown.get());
}

void VrelMenuController::selectAudioBufferSize(const std::string& frames) {
  const auto current = session();
  const auto frameSize = numberIn<std::uint32_t>(frames);
  const auto& allowed = AppState::allowedFrameSizes;
  if (!current || !frameSize || std::find(std::begin(allowed), std::end(allowed), *frameSize) == std::end(allowed)) {
    return;
  }
  current->state.audioIOBufferFrameSize.set(*frameSize);
  current->engine->applyAudioSettings(*frameSize, current->state.audioOutputDeviceUID.get());
  hasOutputList_ = false;
  rebuildMenusSoon();
}

void VrelMenuController::selectSystemAudioOutput() {
  setOutput(std::nullopt);
}

void VrelMenuController::selectAudioOutput(const std::string& uid) {
  if (!uid.empty()) {
    setOutput(uid);
  }
}

void VrelMenuController::setOutput(const std::optional<std::string>& uid) {
  if (const auto current = session()) {
    current->state.audioOutputDeviceUID.set(uid);
    current->engine->applyAudioSettings(current->state.audioIOBufferFrameSize.get(), uid);
    hasOutputList_ = false;
    rebuildMenusSoon();
  }
}

void VrelMenuController::showHelp() {
  call(hooks.showHelp);
}

void VrelMenuController::showLiveKeys() {
  call(hooks.showLiveKeys);
}

void VrelMenuController::openStateFolder() {
  call(hooks.openStateFolder);
}

void VrelMenuController::collectSetlist() {
  call(hooks.collectSetlist);
}

}  // namespace vrel

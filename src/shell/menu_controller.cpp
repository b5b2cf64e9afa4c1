// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/menu_controller.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <system_error>
#include <utility>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/live_mode.h"
#include "performance/midi_learn.h"
#include "platform/dispatch.h"
#include "shell/menu_actions.h"
#include "shell/menu_builder.h"

namespace vrel {
namespace {

template <typename Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && parsed == end ? std::optional(number) : std::nullopt;
}

using Command = std::function<void(VrelMenuController&, const std::string&)>;

Command plain(void (VrelMenuController::*command)()) {
  return [command](VrelMenuController& controller, const std::string&) { (controller.*command)(); };
}

const std::map<std::string, Command>& commands() {
  using Controller = VrelMenuController;
  static const std::map<std::string, Command> all{
      {menu_actions::noop, plain(&Controller::noop)},
      {menu_actions::newSetlist, plain(&Controller::newSetlist)},
      {menu_actions::openSetlist, plain(&Controller::openSetlist)},
      {menu_actions::openRecentSetlist, &Controller::openRecentSetlist},
      {menu_actions::clearRecentSetlists, plain(&Controller::clearRecentSetlists)},
      {menu_actions::saveSetlist, plain(&Controller::saveSetlist)},
      {menu_actions::saveSetlistAs, plain(&Controller::saveSetlistAs)},
      {menu_actions::copyChannel, plain(&Controller::copyChannel)},
      {menu_actions::cutChannel, plain(&Controller::cutChannel)},
      {menu_actions::pasteChannel, plain(&Controller::pasteChannel)},
      {menu_actions::duplicateChannel, plain(&Controller::duplicateChannel)},
      {menu_actions::modeEdit, plain(&Controller::modeEdit)},
      {menu_actions::modeLive, plain(&Controller::modeLive)},
      {menu_actions::toggleLearn, plain(&Controller::toggleLearn)},
      {menu_actions::clearMidiLearn, plain(&Controller::clearMidiLearn)},
      {menu_actions::selectVisualBlendMode, &Controller::selectVisualBlendMode},
      {menu_actions::chooseVisualBackgroundVideo, plain(&Controller::chooseVisualBackgroundVideo)},
      {menu_actions::clearVisualBackgroundVideo, plain(&Controller::clearVisualBackgroundVideo)},
      {menu_actions::openVisualProjection, &Controller::openVisualProjection},
      {menu_actions::toggleVisualProjectionFullscreen, plain(&Controller::toggleVisualProjectionFullscreen)},
      {menu_actions::closeVisualProjection, plain(&Controller::closeVisualProjection)},
      {menu_actions::selectAudioBufferSize, &Controller::selectAudioBufferSize},
      {menu_actions::selectSystemAudioOutput, plain(&Controller::selectSystemAudioOutput)},
      {menu_actions::selectAudioOutput, &Controller::selectAudioOutput},
      {menu_actions::showHelp, plain(&Controller::showHelp)},
  };
  return all;
}

template <typename... Arguments>
void call(const std::function<void(Arguments...)>& hook, std::type_identity_t<Arguments>... arguments) {
  if (hook) {
    hook(arguments...);
  }
}

}  // namespace

VrelMenuController::VrelMenuController(const Collaborators& collaborators, MenuBar mainMenu)
    : with_(collaborators), mainMenu_(std::move(mainMenu)) {}

std::optional<VrelMenuController::Session> VrelMenuController::session() const {
  auto engine = audioEngine_.lock();
  return appState_ != nullptr && engine ? std::optional(Session{*appState_, std::move(engine)}) : std::nullopt;
}

void VrelMenuController::take(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine) {
  isOutputListTold_ = isOutputListTold_ && audioEngine_.lock() == audioEngine;
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
  with_.mainQueue.async([this, watch = life_.watch()] {
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
  // On stage nothing may hold up the notes, and asking the machine for its devices takes as long as its drivers like.
  if (!current->state.isLiveModeEnabled.get() || !isOutputListTold_) {
    outputDevices_ = current->engine->availableOutputDevices();
    isOutputListTold_ = true;
  }
  mainMenu_ = buildMenuBar({current->state, with_.desktop.screens().size(), outputDevices_}, mainMenu_);
  menusRebuilt.emit();
}

void VrelMenuController::perform(const std::string& action, const std::string& representedObject) {
  if (action == menu_actions::terminate) {
    call(hooks.terminate);
    return;
  }
  const auto current = session();
  const auto command = commands().find(action);
  if (current && command != commands().end() && isMenuActionEnabled(action, current->state)) {
    command->second(*this, representedObject);
  }
}

void VrelMenuController::post(const char* action, const NSNotificationCenter::Object& object) {
  if (session()) {
    with_.notifications.post(std::string("vrel.") + action, object);
    rebuildMenusSoon();
  }
}

void VrelMenuController::newSetlist() {
  post("newSetlist");
}

void VrelMenuController::openSetlist() {
  post("openSetlist");
}

void VrelMenuController::openRecentSetlist(const std::string& path) {
  if (!path.empty()) {
    post("openRecentSetlist", path);
  }
}

void VrelMenuController::clearRecentSetlists() {
  post("clearRecentSetlists");
}

void VrelMenuController::saveSetlist() {
  post("saveSetlist");
}

void VrelMenuController::saveSetlistAs() {
  post("saveSetlistAs");
}

void VrelMenuController::copyChannel() {
  post("copyChannel");
}

void VrelMenuController::cutChannel() {
  post("cutChannel");
}

void VrelMenuController::pasteChannel() {
  post("pasteChannel");
}

void VrelMenuController::duplicateChannel() {
  post("duplicateChannel");
}

void VrelMenuController::clearMidiLearn() {
  post("clearMidiLearn");
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
    with_.liveMode.setLiveMode(isWanted);
    rebuildMenusSoon();
  }
}

void VrelMenuController::toggleLearn() {
  if (session()) {
    with_.midiLearn.toggleMidiLearnMode();
    rebuildMenusSoon();
  }
}

void VrelMenuController::selectVisualBlendMode(const std::string& mode) {
  const auto current = session();
  const auto blendMode = visualBlendModeFromStoredText(mode);
  if (current && blendMode) {
    current->state.visualBlendMode.set(*blendMode);
    call(hooks.refreshProjection);
    rebuildMenusSoon();
  }
}

void VrelMenuController::chooseVisualBackgroundVideo() {
  if (!session()) {
    return;
  }
  const auto path = with_.desktop.runModal(NSOpenPanel{.allowedType = FileType::movie});
  // Anything may have ended while the panel stood.
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
  call(hooks.refreshProjection);
  rebuildMenusSoon();
}

void VrelMenuController::openVisualProjection(const std::string& screenIndex) {
  const auto index = numberIn<std::size_t>(screenIndex);
  if (!session() || !index) {
    return;
  }
  const auto screens = with_.desktop.screens();
  std::optional<NSScreen> screen;
  if (!screens.empty()) {
    screen = screens[*index < screens.size() ? *index : 0];
  }
  call(hooks.openProjection, screen);
}

void VrelMenuController::toggleVisualProjectionFullscreen() {
  if (session()) {
    call(hooks.toggleProjectionFullscreen);
  }
}

void VrelMenuController::closeVisualProjection() {
  if (session()) {
    call(hooks.closeProjection);
  }
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
  isOutputListTold_ = false;
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
    isOutputListTold_ = false;
    rebuildMenusSoon();
  }
}

void VrelMenuController::showHelp() {
  if (session()) {
    call(hooks.showHelp);
  }
}

}  // namespace vrel

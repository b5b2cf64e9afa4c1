// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/vrel_app.h"

#include "console/content_view.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "shell/menu_controller.h"

namespace vrel {

VrelApp::VrelApp(const Collaborators& collaborators) : with_(collaborators), appDelegate_(with_.notifications) {
  with_.menus.hooks.terminate = [this] { appDelegate_.applicationShouldTerminate(); };
  const auto followAudio = [this](const auto&) {
    applyAudioSettings();
    rebuildMenus();
  };
  connections_ = {with_.appState.language.changed.connect([this](const Language&) { rebuildMenus(); }),
                  with_.appState.audioIOBufferFrameSize.changed.connect(followAudio),
                  with_.appState.audioOutputDeviceUID.changed.connect(followAudio)};
}

VrelApp::~VrelApp() {
  with_.menus.hooks.terminate = nullptr;
}

std::optional<NSScreen> VrelApp::mainScreen() const {
  const auto screens = with_.desktop.screens();
  return screens.empty() ? std::nullopt : std::optional(screens.front());
}

WindowSize VrelApp::defaultSize() const {
  constexpr WindowSize withoutScreen{1440, 900};
  const auto screen = mainScreen();
  return screen ? WindowSize{screen->visibleFrame.width, screen->visibleFrame.height} : withoutScreen;
}

void VrelApp::windowResolved(NSWindow& window) {
  appDelegate_.appState = &with_.appState;
  rebuildMenus();
  applyInitialFrame(window);
}

void VrelApp::applyInitialFrame(NSWindow& window) {
  if (didApplyInitialWindowFrame_ || window.isFullScreen()) {
    return;
  }
  auto screen = window.screen();
  if (!screen) {
    screen = mainScreen();
  }
  if (screen) {
    window.setFrame(screen->visibleFrame);
    didApplyInitialWindowFrame_ = true;
  }
}

void VrelApp::contentDidAppear() {
  applyAudioSettings();
  with_.content.contentDidAppear();
}

void VrelApp::applyAudioSettings() {
  with_.audioEngine->applyAudioSettings(with_.appState.audioIOBufferFrameSize.get(),
                                        with_.appState.audioOutputDeviceUID.get());
}

void VrelApp::rebuildMenus() {
  with_.menus.rebuildMenusSoon(with_.appState, with_.audioEngine);
}

}  // namespace vrel

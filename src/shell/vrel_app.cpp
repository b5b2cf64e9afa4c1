// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/vrel_app.h"

#include "console/content_view.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "platform/dispatch.h"
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

WindowSize defaultWindowSize(const std::vector<NSScreen>& screens) {
  if (screens.empty()) {
    return {1440, 900};
  }
  const ScreenRect& area = screens.front().visibleFrame;
  return {area.width, area.height};
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
  if (const auto screens = with_.desktop.screens(); !screen && !screens.empty()) {
    screen = screens.front();
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

void VrelApp::systemEnds() {
  const auto before = appDelegate_.answerCount();
  with_.mainQueue.asyncAfter(systemTimeoutSeconds, [this, watch = life_.watch(), before] {
    if (watch.isAlive() && appDelegate_.answerCount() == before && with_.desktop.isAlertShown()) {
      with_.desktop.replyToApplicationShouldTerminate(true);
    }
  });
  appDelegate_.applicationShouldTerminate();
}

void VrelApp::applyAudioSettings() {
  with_.audioEngine->applyAudioSettings(with_.appState.audioIOBufferFrameSize.get(),
                                        with_.appState.audioOutputDeviceUID.get());
}

void VrelApp::rebuildMenus() {
  with_.menus.rebuildMenusSoon(with_.appState, with_.audioEngine);
}

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/vrel_app.h"

#include "console/content_view.h"
#include "console/editor_panels.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "platform/dispatch.h"
#include "shell/menu_controller.h"

namespace vrel {

VrelApp::VrelApp(const Collaborators& collaborators)
    : appState_(collaborators.appState),
      audioEngine_(collaborators.audioEngine),
      content_(collaborators.content),
      menus_(collaborators.menus),
      desktop_(collaborators.desktop),
      mainQueue_(collaborators.mainQueue),
      appDelegate_(collaborators.notifications) {
  menus_.hooks.terminate = [this] { appDelegate_.applicationShouldTerminate(); };
  menus_.hooks.showHelp = [this] { content_.help().show(appState_.language.get(), AppState::accentColor); };
  menus_.hooks.showLiveKeys = [this] { content_.liveKeysHelp().show(appState_.language.get(), AppState::accentColor); };
  const auto followAudio = [this](const auto&) {
    applyAudioSettings();
    rebuildMenus();
  };
  connections_ = {appState_.language.changed.connect([this](const Language&) { rebuildMenus(); }),
                  appState_.audioIOBufferFrameSize.changed.connect(followAudio),
                  appState_.audioOutputDeviceUID.changed.connect(followAudio)};
}

VrelApp::~VrelApp() {
  menus_.hooks.terminate = nullptr;
  menus_.hooks.showHelp = nullptr;
  menus_.hooks.showLiveKeys = nullptr;
}

WindowSize defaultWindowSize(const std::vector<NSScreen>& screens) {
  if (screens.empty()) {
    return {1440, 900};
  }
  const ScreenRect& area = screens.front().visibleFrame;
  return {area.width, area.height};
}

void VrelApp::windowResolved(NSWindow& window) {
  appDelegate_.appState = &appState_;
  content_.editorPanels().mainWindowIsOn(window.screen());
  rebuildMenus();
  applyInitialFrame(window);
}

void VrelApp::applyInitialFrame(NSWindow& window) {
  if (didApplyInitialWindowFrame_ || window.isFullScreen()) {
    return;
  }
  auto screen = window.screen();
  if (const auto screens = desktop_.screens(); !screen && !screens.empty()) {
    screen = screens.front();
  }
  if (screen) {
    window.setFrame(screen->visibleFrame);
    didApplyInitialWindowFrame_ = true;
  }
}

void VrelApp::contentDidAppear() {
  applyAudioSettings();
  content_.contentDidAppear();
}

void VrelApp::systemEnds() {
  endWithoutAnswerTo(appDelegate_.answerCount());
  appDelegate_.applicationShouldTerminate();
}

void VrelApp::endWithoutAnswerTo(std::uint64_t request) {
  mainQueue_.asyncAfter(systemTimeoutSeconds, [this, watch = life_.watch(), request] {
    if (!watch.isAlive() || appDelegate_.answerCount() != request) {
      return;
    }
    if (desktop_.isAlertShown()) {
      desktop_.replyToApplicationShouldTerminate(true);
    } else {  // a save may run, behind which the alert comes
      endWithoutAnswerTo(request);
    }
  });
}

void VrelApp::applyAudioSettings() {
  audioEngine_->applyAudioSettings(appState_.audioIOBufferFrameSize.get(), appState_.audioOutputDeviceUID.get());
}

void VrelApp::rebuildMenus() {
  menus_.rebuildMenusSoon(appState_, audioEngine_);
}

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_projection_window_controller.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "document/app_state.h"
#include "platform/projection.h"
#include "text/text.h"

namespace vrel {
namespace {

constexpr std::uint32_t styleMask =
    NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable;
constexpr std::uint32_t collectionBehavior =
    NSWindowCollectionBehaviorFullScreenPrimary | NSWindowCollectionBehaviorManaged;
constexpr NSSize smallestContent{640, 360};

std::optional<NSScreen> foundAmong(const std::vector<NSScreen>& screens, const std::optional<NSScreen>& wanted) {
  const auto found = std::find_if(screens.begin(), screens.end(),
                                  [&](const NSScreen& each) { return wanted && isSameScreen(each, *wanted); });
  return found == screens.end() ? std::nullopt : std::optional(*found);
}

bool isEmpty(const ScreenRect& rect) {
  return rect.width <= 0 || rect.height <= 0;
}

}  // namespace

VrelVisualProjectionWindowController::VrelVisualProjectionWindowController(const Collaborators& collaborators)
    : state_(collaborators.state),
      visualEngine_(collaborators.visualEngine),
      desktop_(collaborators.desktop),
      mainQueue_(collaborators.mainQueue),
      videos_(collaborators.videos),
      windows_(collaborators.windows),
      languageFollowed_(state_.language.changed.connect([this](Language) { retitle(); })) {}

VrelVisualProjectionWindowController::~VrelVisualProjectionWindowController() {
  if (watcher_) {
    watcher_({});  // it must not keep the players
  }
  watcher_ = nullptr;
  close();
}

VrelVisualProjectionView::Content VrelVisualProjectionWindowController::content() const {
  return {.blendMode = state_.visualBlendMode.get(),
          .backgroundVideoPath = state_.visualBackgroundVideoPath.get(),
          .testPicture = isTestPictureShown.get() ? testPicture() : "",
          .isBlack = isBlack.get()};
}

void VrelVisualProjectionWindowController::retitle() {
  if (window_ != nullptr) {
    window_->setTitle(std::string(text(TextKey::visualProjectionWindow, state_.language.get())));
  }
}

void VrelVisualProjectionWindowController::makeWindow() {
  window_ = windows_->makeWindow();
  retitle();
  window_->setStyleMask(styleMask);
  window_->setCollectionBehavior(collectionBehavior);
  window_->setContentMinSize(smallestContent);
  window_->onPersonClosed([this] { disappear(); });
}

void VrelVisualProjectionWindowController::makeView() {
  view_ = std::make_unique<VrelVisualProjectionView>(visualEngine_, mainQueue_, videos_, content(),
                                                     [this](const ProjectionScene& scene) {
                                                       if (isOpen()) {
                                                         window_->setContent(scene);
                                                       }
                                                       if (watcher_) {
                                                         watcher_(scene);
                                                       }
                                                     });
}

void VrelVisualProjectionWindowController::setWatcher(VrelVisualProjectionView::Show watcher) {
  watcher_ = std::move(watcher);
  if (watcher_ == nullptr && !isOpen()) {
    view_.reset();
  } else if (watcher_ && view_ == nullptr) {
    makeView();
  } else {
    updateContent();
  }
}

void VrelVisualProjectionWindowController::open(const std::optional<NSScreen>& screen, bool fullScreen) {
  if (windows_ == nullptr) {
    return;
  }
  if (window_ == nullptr) {
    makeWindow();
  }
  isProjecting.set(true);
  if (view_ == nullptr) {
    makeView();
  } else {
    updateContent();
  }
  if (isAway_ && !screen) {
    returnsInFullScreen_ = returnsInFullScreen_ || fullScreen;
    return;
  }
  if (screen) {
    moveTo(*screen);
  }
  desktop_.activateApplication();
  show(fullScreen || isFullScreen());
  if (isTestPictureShown.get()) {
    updateContent();  // it says which screen that is
  }
}

void VrelVisualProjectionWindowController::show(bool inFullScreen) {
  isAway_ = false;
  window_->orderFront();
  if (inFullScreen != isFullScreen()) {
    window_->toggleFullScreen();
  }
}

void VrelVisualProjectionWindowController::moveTo(const NSScreen& screen) {
  const auto screens = desktop_.screens();
  if (!isEmpty(screen.frame)) {
    screen_ = screen;
  } else if (!screens.empty()) {
    screen_ = screens.front();
  } else {
    return;
  }
  window_->setFrame(screen_->visibleFrame, true);
}

bool VrelVisualProjectionWindowController::isFullScreen() const {
  return (window_->styleMask() & NSWindowStyleMaskFullScreen) != 0;
}

void VrelVisualProjectionWindowController::updateContent() {
  if (view_ != nullptr) {
    view_->update(content());
  }
}

void VrelVisualProjectionWindowController::setBlack(bool isWanted) {
  if (isOpen()) {
    isBlack.set(isWanted);
    updateContent();
  }
}

void VrelVisualProjectionWindowController::setTestPictureShown(bool isWanted) {
  if (isOpen()) {
    isTestPictureShown.set(isWanted);
    updateContent();
  }
}

void VrelVisualProjectionWindowController::uncover() {
  isBlack.set(false);
  isTestPictureShown.set(false);
}

std::string VrelVisualProjectionWindowController::testPicture() const {
  if (!screen_) {
    return std::string(text(TextKey::visualProjectionWindow, state_.language.get()));
  }
  const auto pixels = [this](int length) { return std::to_string(std::lround(length * screen_->scale)); };
  return (screen_->model.empty() ? screen_->name : screen_->model + " (" + screen_->name + ")") + "\n" +
         pixels(screen_->frame.width) + " × " + pixels(screen_->frame.height);
}

void VrelVisualProjectionWindowController::toggleFullScreen() {
  if (!isOpen()) {
    const auto screens = desktop_.screens();
    const bool canStay = window_ != nullptr && foundAmong(screens, screen_);
    open(canStay || screens.empty() ? std::nullopt : std::optional(screens.front()), false);
  }
  if (isAway_) {
    returnsInFullScreen_ = !returnsInFullScreen_;
  } else if (window_ != nullptr) {
    window_->toggleFullScreen();
  }
}

void VrelVisualProjectionWindowController::close() {
  endProjection();
  if (window_ != nullptr) {
    window_->close();
    window_.reset();
  }
}

// The window that is kept must not keep players of songs that are long gone.
void VrelVisualProjectionWindowController::disappear() {
  endProjection();
  window_->clearContent();
}

void VrelVisualProjectionWindowController::endProjection() {
  isProjecting.set(false);
  isAway_ = false;
  uncover();
  if (watcher_) {
    updateContent();
  } else {
    view_.reset();
  }
}

void VrelVisualProjectionWindowController::screensChanged() {
  if (!isOpen()) {
    return;
  }
  if (!isAway_) {
    // A person may have dragged it elsewhere.
    if (const auto current = window_->screen()) {
      screen_ = current;
    }
  }
  const auto present = foundAmong(desktop_.screens(), screen_);
  if (!present && !isAway_) {
    leave();
  } else if (present && isAway_) {
    comeBack(*present);
  } else if (present) {
    screen_ = present;
  }
  if (isTestPictureShown.get()) {
    updateContent();
  }
}

void VrelVisualProjectionWindowController::leave() {
  isAway_ = true;
  returnsInFullScreen_ = isFullScreen();
  window_->orderOut();
}

void VrelVisualProjectionWindowController::comeBack(const NSScreen& screen) {
  if (returnsInFullScreen_ || screen.frame != screen_->frame) {
    window_->setFrame(screen.visibleFrame, true);
  }
  screen_ = screen;
  show(returnsInFullScreen_);
}

}  // namespace vrel

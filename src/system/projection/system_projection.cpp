// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/system_projection.h"

#include <QMetaObject>
#include <optional>
#include <utility>

#include "platform/dispatch.h"
#include "system/dispatch/system_clock.h"

namespace vrel::system {
namespace {

/// The window as the main thread has it. What is asked for goes to Qt's thread as a whole state, and what a person or
/// the system makes of it comes back; an answer to an earlier state than the last says nothing, but that a person has
/// closed it counts until it is brought to the front again.
class Window final : public ProjectionWindow, public std::enable_shared_from_this<Window> {
 public:
  Window(StageWindows& windows, MainQueue& mainQueue, SystemProjection::Log log)
      : windows_(windows), mainQueue_(mainQueue), log_(std::move(log)) {}
  ~Window() override { close(); }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  void start() {
    projector_ =
        std::make_shared<Projector>([clock = SystemClock()] { return clock.CACurrentMediaTime(); },
                                    [&queue = mainQueue_, weak = weak_from_this()](const std::string& failure) {
                                      queue.async([weak, failure] {
                                        if (const auto self = weak.lock()) {
                                          self->fail(failure);
                                        }
                                      });
                                    });
  }

  void setTitle(const std::string& title) override {
    state_.title = title;
    apply();
  }
  void setStyleMask(std::uint32_t mask) override {
    state_.styleMask = mask & ~NSWindowStyleMaskFullScreen;
    apply();
  }
  [[nodiscard]] std::uint32_t styleMask() const override {
    return state_.styleMask | (state_.isFullScreen ? NSWindowStyleMaskFullScreen : 0);
  }
  void setCollectionBehavior(std::uint32_t /*behavior*/) override {}  // as all windows here may
  void setContentMinSize(const NSSize& size) override {
    state_.minimumSize = size;
    apply();
  }
  [[nodiscard]] std::optional<NSScreen> screen() const override { return screen_; }
  void setFrame(const ScreenRect& frame, bool /*display*/) override {
    state_.frame = frame;
    ++state_.frameNumber;
    apply();
  }
  void toggleFullScreen() override {
    state_.isFullScreen = !state_.isFullScreen;
    apply();
  }
  void orderFront() override {
    state_.isVisible = true;
    ++state_.frontNumber;
    apply();
  }
  void orderOut() override {
    state_.isVisible = false;
    apply();
  }
  [[nodiscard]] bool isVisible() const override { return state_.isVisible; }
  void close() override {
    if (projector_ != nullptr) {
      state_.isVisible = false;
      dropProjector();
    }
  }
  void setContent(const ProjectionScene& scene) override {
    if (projector_ != nullptr) {
      projector_->setScene(scene);
    }
  }
  void clearContent() override {
    if (projector_ != nullptr) {
      projector_->clearScene();
    }
  }
  void onPersonClosed(std::function<void()> action) override { personClosed_ = std::move(action); }

 private:
  // Several calls in a row go as one state, so that a window that is shown and put to full screen does both at once.
  void apply() {
    ++state_.number;
    if (projector_ == nullptr || isApplyPosted_) {
      return;
    }
    isApplyPosted_ = true;
    mainQueue_.async([weak = weak_from_this()] {
      if (const auto self = weak.lock()) {
        self->post();
      }
    });
  }

  void post() {
    isApplyPosted_ = false;
    if (projector_ == nullptr) {
      return;
    }
    windows_.post(
        [projector = projector_, state = state_, &queue = mainQueue_, weak = weak_from_this()](StageWindows& windows) {
          windows.apply(projector, state, [&queue, weak](const StageWindowReport& report) {
            queue.async([weak, report] {
              if (const auto self = weak.lock()) {
                self->take(report);
              }
            });
          });
        });
  }

  void take(const StageWindowReport& report) {
    if (report.screen) {
      screen_ = report.screen;
    }
    if (report.number == state_.number) {
      state_.isFullScreen = report.isFullScreen;
      state_.isVisible = report.isVisible;
    }
    if (report.isClosedByPerson && report.frontNumber == state_.frontNumber) {
      sayClosed();
    }
  }

  void sayClosed() {
    state_.isVisible = false;
    if (const auto action = personClosed_) {
      action();
    }
  }

  // The next time it is shown, all is tried from the beginning.
  void fail(const std::string& failure) {
    if (projector_ == nullptr) {
      return;
    }
    log_(failure);
    dropProjector();
    start();
    ++state_.number;
    sayClosed();
  }

  void dropProjector() {
    windows_.post(
        [projector = std::exchange(projector_, nullptr)](StageWindows& windows) { windows.close(projector); });
  }

  StageWindows& windows_;
  MainQueue& mainQueue_;
  const SystemProjection::Log log_;
  std::shared_ptr<Projector> projector_;  // null once it is closed
  StageWindowState state_;
  std::optional<NSScreen> screen_;
  std::function<void()> personClosed_;
  bool isApplyPosted_ = false;
};

}  // namespace

// Their projectors' threads end while there is still something to post to.
StageWindows::~StageWindows() {
  hideAll();
  windows_.clear();
}

void StageWindows::post(std::function<void(StageWindows&)> work) {
  QMetaObject::invokeMethod(
      this, [this, work = std::move(work)] { work(*this); }, Qt::QueuedConnection);
}

void StageWindows::apply(const std::shared_ptr<Projector>& projector, const StageWindowState& state,
                         const StageWindow::Reporter& report) {
  auto& window = windows_[projector.get()];
  if (window == nullptr) {
    window = std::make_unique<StageWindow>(projector, report);
  }
  window->apply(state);
}

void StageWindows::close(const std::shared_ptr<Projector>& projector) {
  const auto found = windows_.find(projector.get());
  if (found == windows_.end()) {
    return;
  }
  found->second->hide();
  projector->end(
      [this, key = projector.get()] { post([key](StageWindows& windows) { windows.windows_.erase(key); }); });
}

void StageWindows::hideAll() {
  for (const auto& [projector, window] : windows_) {
    window->hide();
  }
}

SystemProjection::SystemProjection(StageWindows& windows, MainQueue& mainQueue, Log log)
    : windows_(windows), mainQueue_(mainQueue), log_(std::move(log)) {}

std::shared_ptr<ProjectionWindow> SystemProjection::makeWindow() {
  auto window = std::make_shared<Window>(windows_, mainQueue_, log_);
  window->start();
  return window;
}

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWindow>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/projection.h"
#include "system/projection/projector.h"

namespace vrel::system {

/// What the main thread wants of the window; a value.
struct StageWindowState {
  std::uint64_t number = 0;  // of the call that last changed it
  std::string title;
  std::uint32_t styleMask = 0;
  bool isFullScreen = false;
  bool isVisible = false;
  NSSize minimumSize;
  ScreenRect frame;
  std::uint64_t frameNumber = 0;  // counts the moves
  std::uint64_t frontNumber = 0;  // counts what brought it to the front
};

/// What the window is, as the main thread hears of it.
struct StageWindowReport {
  std::uint64_t number = 0;       // of the last state that was applied
  std::uint64_t frontNumber = 0;  // as of that state
  bool isFullScreen = false;
  bool isVisible = false;
  bool isClosedByPerson = false;
  std::optional<NSScreen> screen;  // that it is on, or was on last
};

/// The window of a projection on Qt's thread: what a projector draws on. Qt's thread only.
class StageWindow final : public QWindow {
 public:
  using Reporter = std::function<void(const StageWindowReport&)>;
  StageWindow(std::shared_ptr<Projector> projector, Reporter reporter);
  /// Waits for the projector's picture under way.
  ~StageWindow() override;

  void apply(const StageWindowState& state);

  [[nodiscard]] const std::shared_ptr<Projector>& projector() const { return projector_; }

 protected:
  bool event(QEvent* event) override;
  void exposeEvent(QExposeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void move(const ScreenRect& frame);
  void appear(bool inFullScreen);
  void keepPlace();
  void followRate();
  void updateTarget();
  void report(bool isClosedByPerson = false);

  std::shared_ptr<Projector> projector_;
  const Reporter reporter_;
  StageWindowState state_;
  ScreenRect normalFrame_;       // while it is not in full screen, or before
  bool isInFullScreen_ = false;  // also while it is hidden
  bool isApplying_ = false;
  std::optional<std::uint64_t> closedFront_;  // the last that a person has closed: not shown until the next
  QMetaObject::Connection rateFollowed_;
  std::optional<NSScreen> lastScreen_;
};

}  // namespace vrel::system

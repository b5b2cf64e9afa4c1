// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/projection.h"
#include "system/projection/projector.h"
#include "system/projection/stage_window.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::system {

/// Keeps the windows of the projection on Qt's thread. Made and destroyed there, without windows that anybody still
/// uses; `post` from any thread.
class StageWindows final : public QObject {
 public:
  StageWindows() = default;
  ~StageWindows() override;
  StageWindows(const StageWindows&) = delete;
  StageWindows& operator=(const StageWindows&) = delete;

  /// Runs on Qt's thread; dropped at the end.
  void post(std::function<void(StageWindows&)> work);

  // Qt's thread.
  void apply(const std::shared_ptr<Projector>& projector, const StageWindowState& state,
             const StageWindow::Reporter& report);
  /// Hides it at once; what it drew on goes when the projector has done with it.
  void close(const std::shared_ptr<Projector>& projector);
  void hideAll();

 private:
  std::map<Projector*, std::unique_ptr<StageWindow>> windows_;
};

/// Makes the real window of the projection. Main thread; all is borrowed.
class SystemProjection final : public ProjectionWindowFactory {
 public:
  using Log = std::function<void(const std::string&)>;
  SystemProjection(StageWindows& windows, MainQueue& mainQueue, Log log);

  [[nodiscard]] std::shared_ptr<ProjectionWindow> makeWindow() override;

 private:
  StageWindows& windows_;
  MainQueue& mainQueue_;
  const Log log_;
};

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QObject>
#include <QOffscreenSurface>
#include <functional>
#include <memory>

#include "foundation/mutex.h"
#include "platform/projection.h"
#include "system/projection/projector.h"

namespace vrel::system {

/// The stage as the projection shows it, small, for the console: drawn off the screen by a projector of its own, so
/// that the console's frames wait neither for decoders nor for uploads. What is as before is not drawn again.
///
/// Threads: made, shown, hidden and destroyed on Qt's thread; scenes come from any one thread. Hidden it draws nothing.
/// A picture that Qt's thread does not take in time is replaced by the next.
class StagePreview final : public QObject {
 public:
  static constexpr int width = 384;  // pixels
  static constexpr int height = 216;
  static constexpr double picturesPerSecond = 15;  // at most

  StagePreview();
  ~StagePreview() override;
  StagePreview(const StagePreview&) = delete;
  StagePreview& operator=(const StagePreview&) = delete;

  /// Each new picture, on Qt's thread; a null one when nothing can be drawn.
  std::function<void(const QImage&)> onPicture;

  void setScene(const ProjectionScene& scene) { projector_.setScene(scene); }
  void clearScene() { projector_.clearScene(); }

  void show();
  void hide();

  [[nodiscard]] Projector::Figures figures() const { return projector_.figures(); }

 private:
  void post(QImage picture);
  void deliver();

  QOffscreenSurface surface_;
  bool isShown_ = false;
  Mutex mutex_;
  QImage latest_ VREL_GUARDED_BY(mutex_);
  bool isPosted_ VREL_GUARDED_BY(mutex_) = false;
  Projector projector_;  // last: its thread uses all above
};

}  // namespace vrel::system

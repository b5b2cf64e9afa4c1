// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QObject>

#include "console/window/clip_frame.h"

namespace vrel::window {

/// The preview of the stage. Not part of the mirror, since its pictures come from who draws them. The window's thread.
class StageBoard : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")
  Q_PROPERTY(vrel::window::ClipFrame frame READ frame NOTIFY frameChanged FINAL)
  /// Somebody looks at it: otherwise nothing is drawn.
  Q_PROPERTY(bool isWatched READ isWatched WRITE setWatched NOTIFY isWatchedChanged FINAL)

 public:
  using QObject::QObject;

  [[nodiscard]] const ClipFrame& frame() const { return frame_; }
  void setPicture(const QImage& picture) {
    frame_ = {nullptr, picture};
    Q_EMIT frameChanged();
  }
  [[nodiscard]] bool isWatched() const { return isWatched_; }
  void setWatched(bool isWatched) {
    if (isWatched != isWatched_) {
      isWatched_ = isWatched;
      Q_EMIT isWatchedChanged();
    }
  }

 Q_SIGNALS:
  void frameChanged();
  void isWatchedChanged();

 private:
  ClipFrame frame_;
  bool isWatched_ = false;
};

}  // namespace vrel::window

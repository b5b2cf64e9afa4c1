// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/stage_preview.h"

#include <QMetaObject>
#include <QSize>
#include <string>
#include <utility>

#include "system/dispatch/system_clock.h"

namespace vrel::system {

StagePreview::StagePreview()
    : projector_([clock = SystemClock()] { return clock.CACurrentMediaTime(); },
                 [this](const std::string& /*failure*/) { post({}); }) {}

StagePreview::~StagePreview() {
  projector_.end(nullptr);
  projector_.join();
}

void StagePreview::show() {
  if (!surface_.isValid()) {
    surface_.create();
  }
  isShown_ = true;
  projector_.show({.surface = &surface_,
                   .size = QSize(width, height),
                   .scale = static_cast<double>(height) / 720,  // words as large as on a usual stage
                   .refreshesPerSecond = picturesPerSecond,
                   .taken = [this](QImage picture) { post(std::move(picture)); }});
}

void StagePreview::hide() {
  isShown_ = false;
  projector_.hide();
}

void StagePreview::post(QImage picture) {
  {
    const MutexLock lock(mutex_);
    latest_ = std::move(picture);
    if (std::exchange(isPosted_, true)) {
      return;
    }
  }
  QMetaObject::invokeMethod(
      this, [this] { deliver(); }, Qt::QueuedConnection);
}

void StagePreview::deliver() {
  QImage picture;
  {
    const MutexLock lock(mutex_);
    isPosted_ = false;
    picture = std::move(latest_);
  }
  if (isShown_ && onPicture) {
    onPicture(picture);
  }
}

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QHash>
#include <QObject>
#include <QString>
#include <atomic>
#include <memory>

#include "foundation/mutex.h"

namespace vrel::window {

/// The displayed peaks of one strip, linear. Written on the main thread, read by the window once per frame.
struct MeterCell {
  std::atomic<float> left{0};
  std::atomic<float> right{0};
};

/// Finds the peaks of a strip by its id; the master's id is empty. Not part of the mirror, since peaks are
/// pulled: a window that draws slowly has nothing to catch up with. Any thread, but for the signal.
class MeterBoard : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  using QObject::QObject;

  /// The strip's peaks, made when they are not there yet.
  [[nodiscard]] std::shared_ptr<MeterCell> cell(const QString& channelId) {
    const MutexLock lock(mutex_);
    auto& cell = cells_[channelId];
    auto shared = cell.lock();
    if (shared == nullptr) {
      shared = std::make_shared<MeterCell>();
      cell = shared;
    }
    return shared;
  }

  /// Forgets those that are no longer held.
  void prune() {
    const MutexLock lock(mutex_);
    cells_.removeIf([](const auto& entry) { return entry.value().expired(); });
  }

 Q_SIGNALS:
  /// Sixty times a second, on the window's thread, while the window can be seen.
  void frame();

 private:
  Mutex mutex_;
  QHash<QString, std::weak_ptr<MeterCell>> cells_ VREL_GUARDED_BY(mutex_);
};

}  // namespace vrel::window

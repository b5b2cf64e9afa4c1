// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QHash>
#include <QObject>
#include <QString>
#include <memory>

#include "console/meter_readings.h"
#include "console/window/meter_turns.h"
#include "foundation/mutex.h"

namespace vrel::window {

/// Finds the meter of a strip by the strip's id; the master's id is empty. Not part of the mirror, since levels are
/// pulled: a window that draws slowly has nothing to catch up with. Any thread, but for the turns and the signal.
class MeterBoard : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  explicit MeterBoard(QObject* parent = nullptr) : QObject(parent) {
    // The first that hears of a frame.
    connect(this, &MeterBoard::frame, this, [this] { turns.beginFrame(); });
  }

  /// The strip's meter, made when it is not there yet. Those that are no longer held are forgotten then.
  [[nodiscard]] std::shared_ptr<MeterCell> cell(const QString& channelId) {
    const MutexLock lock(mutex_);
    if (const auto shared = cells_.value(channelId).lock()) {
      return shared;
    }
    cells_.removeIf([](const auto& entry) { return entry.value().expired(); });
    auto made = std::make_shared<MeterCell>();
    cells_.insert(channelId, made);
    return made;
  }

  /// The window's thread.
  MeterTurns turns;

 Q_SIGNALS:
  /// Sixty times a second, on the window's thread, while the window can be seen.
  void frame();

 private:
  Mutex mutex_;
  QHash<QString, std::weak_ptr<MeterCell>> cells_ VREL_GUARDED_BY(mutex_);
};

}  // namespace vrel::window

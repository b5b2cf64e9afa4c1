// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QString>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "console/piano_layout.h"
#include "console/window/mirror_store.h"

namespace vrel::window {

/// The splits of all strips, read from their copies. The window's thread.
class StripSplits {
 public:
  /// Called after each change of a strip's split, colour or selection, and of their order.
  explicit StripSplits(std::function<void()> changed) : changed_(std::move(changed)) {}
  ~StripSplits() { release(); }
  StripSplits(const StripSplits&) = delete;
  StripSplits& operator=(const StripSplits&) = delete;

  [[nodiscard]] MirrorList* strips() const { return strips_; }
  void setStrips(MirrorList* strips);

  // In the order of the strips.
  [[nodiscard]] const std::vector<SplitBar>& bars() const { return bars_; }
  [[nodiscard]] const QColor& color(std::size_t row) const { return colors_[row]; }
  [[nodiscard]] const QString& channelId(std::size_t row) const { return ids_[row]; }
  [[nodiscard]] std::optional<std::size_t> selected() const { return selected_; }

 private:
  void release();
  void watch();
  void read();

  std::function<void()> changed_;
  QPointer<MirrorList> strips_;
  std::vector<QMetaObject::Connection> listConnections_;
  std::vector<QMetaObject::Connection> stripConnections_;
  std::vector<SplitBar> bars_;
  std::vector<QColor> colors_;
  std::vector<QString> ids_;
  std::optional<std::size_t> selected_;
};

}  // namespace vrel::window

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickItem>
#include <QString>
#include <array>
#include <memory>

#include "console/window/meter_board.h"

namespace vrel::window {

/// Two bars that show the peaks of a strip in decibels, green to orange to red; redrawn only when a bar has moved by
/// a pixel. The scale runs from -48 dBFS at the bottom to 0 at the top.
class LevelMeter : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::MeterBoard* board READ board WRITE setBoard NOTIFY boardChanged REQUIRED)
  Q_PROPERTY(QString channelId READ channelId WRITE setChannelId NOTIFY channelIdChanged REQUIRED)
  /// The louder channel, whole decibels of full scale; -100 for silence. For assistive technology.
  Q_PROPERTY(int decibels READ decibels NOTIFY decibelsChanged)

 public:
  explicit LevelMeter(QQuickItem* parent = nullptr);

  [[nodiscard]] MeterBoard* board() const { return board_; }
  void setBoard(MeterBoard* board);
  [[nodiscard]] const QString& channelId() const { return channelId_; }
  void setChannelId(const QString& channelId);
  [[nodiscard]] int decibels() const { return decibels_; }

 Q_SIGNALS:
  void boardChanged();
  void channelIdChanged();
  void decibelsChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;

 private:
  void findCell();
  void pull();

  MeterBoard* board_ = nullptr;
  QMetaObject::Connection frames_;
  QString channelId_;
  std::shared_ptr<MeterCell> cell_;
  std::array<int, 2> heights_{};  // pixels, left and right
  int decibels_ = -100;
};

}  // namespace vrel::window

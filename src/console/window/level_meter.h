// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickItem>
#include <QString>
#include <cstddef>
#include <memory>
#include <optional>

#include "console/window/meter_board.h"
#include "console/window/meter_node.h"

namespace vrel::window {

/// A strip's level: two columns of segments, the lit ones bright and the others dim, each with a white bar that holds
/// the peak. The scale runs from -48 dBFS at the bottom to 0 at the top. Redrawn only where it can be seen, and when a
/// segment has changed or a bar has moved by a pixel; in software in its turn with the other meters.
class LevelMeter : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::MeterBoard* board READ board WRITE setBoard NOTIFY boardChanged REQUIRED)
  Q_PROPERTY(QString channelId READ channelId WRITE setChannelId NOTIFY channelIdChanged REQUIRED)
  /// The louder channel, whole decibels of full scale; -48 for what is not shown. For assistive technology, four times
  /// a second.
  Q_PROPERTY(int decibels READ decibels NOTIFY decibelsChanged FINAL)

 public:
  static constexpr int silentDecibels = -48;

  explicit LevelMeter(QQuickItem* parent = nullptr);

  /// Otherwise as is best with the window's renderer. Before it is drawn.
  void setWayToDraw(MeterNode::Way way) { wayToDraw_ = way; }

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
  [[nodiscard]] bool isDrawnInThisFrame();
  void draw();
  void repaint();
  void findScale();
  [[nodiscard]] MeterColumn columnOf(const MeterCell::Bar& bar) const;
  void showDecibels(double displayed);

  MeterBoard* board_ = nullptr;
  QMetaObject::Connection frames_;
  QString channelId_;
  qreal pixelsPerPoint_ = 1;  // of the screen, at the scale of the window
  std::shared_ptr<MeterCell> cell_;
  MeterColumns columns_{};
  bool isSizeNew_ = true;
  std::optional<MeterNode::Way> wayToDraw_;
  std::size_t number_ = 0;  // on the board
  int framesToText_ = 0;
  int decibels_ = silentDecibels;
};

}  // namespace vrel::window

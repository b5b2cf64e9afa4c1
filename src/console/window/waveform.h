// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QQuickPaintedItem>

namespace vrel::window {

/// The envelope of a sound file, with a grid of beats over it. Painted again when one of them changes.
class Waveform : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  /// See TrackViewModel.
  Q_PROPERTY(QList<double> columns READ columns WRITE setColumns NOTIFY changed FINAL)
  Q_PROPERTY(QList<double> beats READ beats WRITE setBeats NOTIFY changed FINAL)
  Q_PROPERTY(double viewFrom READ viewFrom WRITE setViewFrom NOTIFY changed FINAL)
  Q_PROPERTY(double viewLength READ viewLength WRITE setViewLength NOTIFY changed FINAL)
  Q_PROPERTY(QColor accent READ accent WRITE setAccent NOTIFY changed FINAL)

 public:
  using QQuickPaintedItem::QQuickPaintedItem;

  [[nodiscard]] const QList<double>& columns() const { return columns_; }
  void setColumns(const QList<double>& columns) { assign(columns_, columns); }
  [[nodiscard]] const QList<double>& beats() const { return beats_; }
  void setBeats(const QList<double>& beats) { assign(beats_, beats); }
  [[nodiscard]] double viewFrom() const { return viewFrom_; }
  void setViewFrom(double seconds) { assign(viewFrom_, seconds); }
  [[nodiscard]] double viewLength() const { return viewLength_; }
  void setViewLength(double seconds) { assign(viewLength_, seconds); }
  [[nodiscard]] const QColor& accent() const { return accent_; }
  void setAccent(const QColor& accent) { assign(accent_, accent); }

  void paint(QPainter* painter) override;

 Q_SIGNALS:
  void changed();

 private:
  template <typename T>
  void assign(T& field, const T& value) {
    if (field != value) {
      field = value;
      Q_EMIT changed();
      update();
    }
  }

  void paintColumns(QPainter& painter) const;
  void paintBeats(QPainter& painter) const;

  QList<double> columns_;
  QList<double> beats_;
  double viewFrom_ = 0;
  double viewLength_ = 0;
  QColor accent_;
};

}  // namespace vrel::window

// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/waveform.h"

#include <QPainter>
#include <QRectF>
#include <algorithm>

#include "playback/track_range.h"

namespace vrel::window {
namespace {

const QColor columnColor(105, 105, 105);
constexpr double marginOfColumns = 30;  // points, above and below them together
constexpr double leastColumn = 2;       // points
constexpr double columnShare = 0.7;     // of its place, where there is room for a gap
constexpr double placeWithGap = 2;      // points

struct BeatLine {
  double width;
  float opacity;
};
constexpr BeatLine strongBeat{1.5, 0.34F};
constexpr BeatLine weakBeat{1, 0.18F};

}  // namespace

void Waveform::paint(QPainter* painter) {
  painter->setPen(Qt::NoPen);
  paintColumns(*painter);
  paintBeats(*painter);
}

void Waveform::paintColumns(QPainter& painter) const {
  const qsizetype count = columns_.size() / 2;
  if (count == 0) {
    return;
  }
  const double place = width() / static_cast<double>(count);
  const double wide = place > placeWithGap ? place * columnShare : place;
  const double middle = height() / 2;
  const double scale = std::max(0.0, height() - marginOfColumns) / 2;
  painter.setBrush(columnColor);
  for (qsizetype index = 0; index < count; ++index) {
    const double low = columns_[2 * index] * scale;
    const double high = std::max(low, columns_[2 * index + 1] * scale);
    const double tall = std::max(leastColumn, high - low);
    painter.drawRect(QRectF(static_cast<double>(index) * place + (place - wide) / 2,
                            middle - (high + low) / 2 - tall / 2, wide, tall));
  }
}

void Waveform::paintBeats(QPainter& painter) const {
  if (viewLength_ <= 0) {
    return;
  }
  for (qsizetype index = 0; index < beats_.size(); ++index) {
    const double x = (beats_[index] - viewFrom_) / viewLength_ * width();
    if (x < 0 || x > width()) {
      continue;
    }
    const BeatLine& line = index % beatsPerStrongMarker == 0 ? strongBeat : weakBeat;
    QColor color = accent_;
    color.setAlphaF(line.opacity);
    painter.setBrush(color);
    painter.drawRect(QRectF(x - line.width / 2, 0, line.width, height()));
  }
}

}  // namespace vrel::window

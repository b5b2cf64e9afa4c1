// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/piano_layout.h"

#include <algorithm>
#include <cmath>

namespace vrel {
namespace {

constexpr double rowHeight = 8;
constexpr double splitBarHeight = 4;
constexpr double firstBar = 6;  // from the top
constexpr double narrowestBar = 4;
constexpr double lowestBand = 16;
constexpr double frameMargin = 1;
constexpr double frameHeight = 6;

}  // namespace

PianoLayout::PianoLayout(int startNote, int keyCount, double viewWidth, double height)
    : startNote_(startNote), keyCount_(std::max(0, keyCount)), height_(height) {
  for (int note = startNote_; note < startNote_ + keyCount_; ++note) {
    (isBlackKey(note) ? blacks_ : whites_).push_back(note);
  }
  if (!whites_.empty()) {
    whiteWidth_ = std::clamp(viewWidth / static_cast<double>(whites_.size()), narrowestKey, widestKey);
  }
}

double PianoLayout::keyX(int note) const {
  const int white = isBlackKey(note) ? note - 1 : note;
  const auto found = std::lower_bound(whites_.begin(), whites_.end(), white);
  if (found == whites_.end() || *found != white) {
    return 0;
  }
  const auto index = static_cast<double>(found - whites_.begin());
  return (index + (white == note ? 0.5 : 1)) * whiteWidth_;
}

KeyRect PianoLayout::keyRect(int note) const {
  if (!isBlackKey(note)) {
    return {keyX(note) - whiteWidth_ / 2, 0, whiteWidth_, height_};
  }
  const double width = whiteWidth_ * blackWidthShare;
  return {keyX(note) - width / 2, 0, width, height_ * blackHeightShare};
}

std::optional<int> PianoLayout::noteAt(double x, double y) const {
  for (const int note : blacks_) {
    const KeyRect key = keyRect(note);
    if (x >= key.x && x < key.x + key.width && y >= key.y && y < key.y + key.height) {
      return note;
    }
  }
  const double index = std::trunc(x / whiteWidth_);
  if (!(index >= 0 && index < static_cast<double>(whites_.size()))) {
    return std::nullopt;
  }
  return whites_[static_cast<std::size_t>(index)];
}

std::optional<int> PianoLayout::nearestNote(double x) const {
  std::optional<int> nearest;
  double least = 0;
  for (int note = startNote_; note < startNote_ + keyCount_; ++note) {
    const double distance = std::fabs(keyX(note) - x);
    if (!nearest || distance < least) {
      nearest = note;
      least = distance;
    }
  }
  return nearest;
}

std::optional<std::size_t> claimant(const std::vector<SplitBar>& bars, int note) {
  const auto found = std::find_if(bars.begin(), bars.end(),
                                  [note](const SplitBar& bar) { return bar.minNote <= note && note <= bar.maxNote; });
  return found == bars.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - bars.begin()));
}

namespace split_band {

double height(std::size_t rows) {
  return std::max(lowestBand, rowHeight * static_cast<double>(rows) + rowHeight);
}

double middle(std::size_t row) {
  return rowHeight + rowHeight * static_cast<double>(row);
}

KeyRect bar(const PianoLayout& layout, const SplitBar& bar, std::size_t row) {
  const double left = layout.keyX(bar.minNote);
  const double width = std::max(narrowestBar, layout.keyX(bar.maxNote) - left);
  return {left, firstBar + rowHeight * static_cast<double>(row), width, splitBarHeight};
}

KeyRect frame(const PianoLayout& layout, const SplitBar& split, std::size_t row) {
  const KeyRect inside = bar(layout, split, row);
  return {inside.x, inside.y - frameMargin, inside.width, frameHeight};
}

std::optional<std::size_t> rowAt(double y, std::size_t rows) {
  if (rows == 0) {
    return std::nullopt;
  }
  constexpr double offset = 2;
  const double clamped = std::clamp(y, 0.0, height(rows));
  const double row = std::trunc((clamped - offset) / rowHeight);
  return static_cast<std::size_t>(std::clamp(row, 0.0, static_cast<double>(rows - 1)));
}

}  // namespace split_band

}  // namespace vrel

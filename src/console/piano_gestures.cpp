// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/piano_gestures.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vrel {
namespace {

// How near a handle the pointer takes it, points.
constexpr double reachAcross = 12;
constexpr double reachUp = 8;

}  // namespace

void KeyDrag::move(const PianoLayout& layout, double x, double y) {
  if (!layout.contains(x, y)) {
    end();
    return;
  }
  const auto hit = layout.noteAt(x, y);
  if (!hit || hit == note_) {
    return;
  }
  end();
  note_ = hit;
  press_(*hit);
}

void KeyDrag::end() {
  if (const auto held = std::exchange(note_, std::nullopt)) {
    release_(*held);
  }
}

std::optional<SplitDrag::Handle> SplitDrag::handleAt(const PianoLayout& layout, const SplitBar& bar, std::size_t row,
                                                     double x, double y) {
  if (std::fabs(y - split_band::middle(row)) > reachUp) {
    return std::nullopt;
  }
  const auto isAt = [&](int note) { return layout.has(note) && std::fabs(x - layout.keyX(note)) <= reachAcross; };
  if (isAt(bar.minNote)) {
    return Handle::min;
  }
  return isAt(bar.maxNote) ? std::optional(Handle::max) : std::nullopt;
}

SplitDrag::Step SplitDrag::press(const PianoLayout& layout, const std::vector<SplitBar>& bars,
                                 std::optional<std::size_t> selected, double x, double y) {
  Step step = move(layout, bars, selected, x, y);
  if (!handle_) {
    step.chosenRow = split_band::rowAt(y, bars.size());
  }
  return step;
}

SplitDrag::Step SplitDrag::move(const PianoLayout& layout, const std::vector<SplitBar>& bars,
                                std::optional<std::size_t> selected, double x, double y) {
  if (!selected || *selected >= bars.size()) {
    return {};
  }
  const SplitBar& bar = bars[*selected];
  const double inX = std::clamp(x, 0.0, layout.width());
  const double inY = std::clamp(y, 0.0, split_band::height(bars.size()));
  if (!handle_) {
    handle_ = handleAt(layout, bar, *selected, inX, inY);
  }
  const auto nearest = handle_ ? layout.nearestNote(inX) : std::nullopt;
  if (!nearest) {
    return {};
  }
  const int note = *handle_ == Handle::min ? std::min(*nearest, bar.maxNote) : std::max(*nearest, bar.minNote);
  const int before = *handle_ == Handle::min ? bar.minNote : bar.maxNote;
  return note == before ? Step{} : Step{std::nullopt, Change{*handle_, note}};
}

}  // namespace vrel

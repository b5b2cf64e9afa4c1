// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/note_picker.h"

#include <algorithm>

namespace vrel {

NotePicker::NotePicker(int startNote, int keyCount, double width, double height) : height_(height) {
  for (int note = startNote; note < startNote + keyCount; ++note) {
    (isBlackKey(note) ? blacks_ : whites_).push_back(note);
  }
  whiteWidth_ = whites_.empty() ? 0 : width / static_cast<double>(whites_.size());
}

KeyRect NotePicker::keyRect(int note) const {
  const auto whitesBelow = std::lower_bound(whites_.begin(), whites_.end(), note) - whites_.begin();
  const double x = static_cast<double>(whitesBelow) * whiteWidth_;
  if (!isBlackKey(note)) {
    return {x, 0, whiteWidth_, height_};
  }
  const double wide = whiteWidth_ * blackShare;
  return {x - wide / 2, 0, wide, height_ * blackShare};
}

std::optional<int> NotePicker::noteAt(double x, double y) const {
  const auto isOn = [&](int note) {
    const KeyRect key = keyRect(note);
    return x >= key.x && x < key.x + key.width && y >= key.y && y < key.y + key.height;
  };
  for (const auto* const keys : {&blacks_, &whites_}) {
    if (const auto found = std::find_if(keys->begin(), keys->end(), isOn); found != keys->end()) {
      return *found;
    }
  }
  return std::nullopt;
}

}  // namespace vrel

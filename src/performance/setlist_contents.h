// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "document/setlist.h"

namespace vrel {

class AppState;

/// What all songs of the open setlist play, for the song switch, which must not take longer the more songs there are:
/// they are looked through only when others than the captured one have changed. Main thread.
class SetlistContents {
 public:
  /// Borrowed.
  explicit SetlistContents(AppState& state);

  /// Runs `change`, which modifies `AppState::songs`, but only this song of it.
  template <typename Change>
  void changeSong(std::size_t index, Change change) {
    refresh();
    remove(index);
    isChangingOne_ = true;
    change();
    isChangingOne_ = false;
    add(index);
  }

  /// Whether the change that is notified now is one of `changeSong`.
  [[nodiscard]] bool isChangingOne() const { return isChangingOne_; }

  /// The path of each instrument, once, sorted.
  [[nodiscard]] std::vector<std::string> instruments();

  /// The records of the tracks that come next, those of the songs behind `current` first, its own last. Valid until the
  /// songs change.
  [[nodiscard]] std::vector<const ChannelConfig*> tracksBehind(std::size_t current);

 private:
  void refresh();
  void add(std::size_t index);
  void remove(std::size_t index);

  AppState& state_;
  bool isCurrent_ = false;
  bool isChangingOne_ = false;
  std::map<std::string, std::size_t> instruments_;  // how many strips have each
  std::set<std::size_t> songsWithTracks_;
  std::shared_ptr<void> songsFollowed_;
};

}  // namespace vrel

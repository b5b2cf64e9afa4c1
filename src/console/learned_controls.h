// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/observable.h"

namespace vrel {

class AppState;
class AudioEngine;

/// One learned control as a person reads it.
struct LearnedControl {
  std::string id;       // names it while nothing about it changes
  std::string control;  // what it moves, such as "Volume 2"
  std::string source;   // what of the hardware moves it, such as "CC 20, MIDI 1"
  std::string place;    // the song that it belongs to, or the word for the setlist

  bool operator==(const LearnedControl&) const = default;
};

/// The page that lists all learned controls of the setlist and its songs, and takes single ones away. Main thread.
class LearnedControls {
 public:
  /// Borrowed.
  explicit LearnedControls(AppState& state) : state_(state) {}

  Observable<bool> isShown{false};

  /// Those of the setlist, then those of each song in order, in the language of the session.
  [[nodiscard]] std::vector<LearnedControl> all() const;

  /// Nothing for one that is gone, and in Live mode.
  void remove(const std::string& id);

 private:
  AppState& state_;
};

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/observable.h"

namespace vrel {

class AppState;
class MidiLearn;

/// The notes of the song on stage in large letters, to be read on stage: whether they are shown, and how far down a
/// learned control has moved them. Each song begins at the top. Not shown at first. Main thread.
class LargeNotes {
 public:
  /// Both are borrowed.
  LargeNotes(AppState& state, MidiLearn& midiLearn);

  Observable<bool> isShown{false};
  Observable<float> position{0};  // 0 at the top, 1 at the end

  void toggle() { isShown.set(!isShown.get()); }

 private:
  std::shared_ptr<void> controlFollowed_;
  std::shared_ptr<void> songFollowed_;
};

}  // namespace vrel

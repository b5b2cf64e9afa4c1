// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "console/piano_layout.h"

// What the pointer does on the on-screen keyboard. One thread at a time, the caller's.

namespace vrel {

/// Plays with the pointer: while it is dragged, each key sounds for as long as the pointer is on it. The old key is
/// released before the next is pressed, and nothing sounds after `end`.
class KeyDrag {
 public:
  using Note = std::function<void(int note)>;

  KeyDrag(Note press, Note release) : press_(std::move(press)), release_(std::move(release)) {}

  /// The pointer is down at this place of the keys.
  void move(const PianoLayout& layout, double x, double y);
  /// The pointer is up, or lost.
  void end();

  [[nodiscard]] std::optional<int> note() const { return note_; }

 private:
  Note press_;
  Note release_;
  std::optional<int> note_;
};

/// Chooses a strip by its row in the band, and drags the ends of the chosen strip's split. An end rests on the other
/// and never crosses it.
class SplitDrag {
 public:
  enum class Handle { min, max };

  struct Change {
    Handle handle;
    int note;
  };
  /// What a step of the drag asks for.
  struct Step {
    std::optional<std::size_t> chosenRow;
    std::optional<Change> change;
  };

  /// The pointer goes down. On a handle of the selected strip it takes that, elsewhere it chooses a strip.
  [[nodiscard]] Step press(const PianoLayout& layout, const std::vector<SplitBar>& bars,
                           std::optional<std::size_t> selected, double x, double y);
  /// The pointer moves while it is down.
  [[nodiscard]] Step move(const PianoLayout& layout, const std::vector<SplitBar>& bars,
                          std::optional<std::size_t> selected, double x, double y);
  void end() { handle_.reset(); }

  [[nodiscard]] std::optional<Handle> handle() const { return handle_; }

 private:
  [[nodiscard]] static std::optional<Handle> handleAt(const PianoLayout& layout, const SplitBar& bar, std::size_t row,
                                                      double x, double y);

  std::optional<Handle> handle_;
};

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

enum class DropProposal { move, forbidden };

/// One row, or strip, as the target of a drag: the list is reordered while the drag passes over it, so that nothing is
/// left to do for the drop. The ids are those of whoever shows the list.
struct ReorderDropDelegate {
  Uuid item;                                             // the row itself
  std::function<std::vector<Uuid>()> items;              // in the order of the list
  std::function<bool()> isLocked;                        // nothing moves then
  Observable<std::optional<Uuid>>& draggedId;            // absent when no drag is under way
  Observable<std::optional<Uuid>>& dropTargetId;         // the row under the drag
  std::function<void(std::size_t, std::size_t)> onMove;  // from an index, before another

  void dropEntered() const {
    const auto dragged = draggedId.get();
    if (isLocked() || !dragged || *dragged == item) {
      return;
    }
    const auto ids = items();
    const auto from = std::find(ids.begin(), ids.end(), *dragged);
    const auto to = std::find(ids.begin(), ids.end(), item);
    if (from == ids.end() || to == ids.end()) {
      return;
    }
    dropTargetId.set(item);
    const auto target = static_cast<std::size_t>(to - ids.begin());
    onMove(static_cast<std::size_t>(from - ids.begin()), from < to ? target + 1 : target);
  }

  [[nodiscard]] DropProposal dropUpdated() const { return isLocked() ? DropProposal::forbidden : DropProposal::move; }

  void dropExited() const { dropTargetId.set(std::nullopt); }

  /// Whether the drop counts.
  [[nodiscard]] bool performDrop() const {
    draggedId.set(std::nullopt);
    dropTargetId.set(std::nullopt);
    return !isLocked();
  }
};

/// Before which of `count` items the one at `from` goes to be `by` places further on; nothing beyond an end.
[[nodiscard]] inline std::optional<std::size_t> offsetMovedBy(std::size_t from, int by, std::size_t count) {
  const auto place = static_cast<std::ptrdiff_t>(from) + by;
  if (by == 0 || place < 0 || place >= static_cast<std::ptrdiff_t>(count)) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(by > 0 ? place + 1 : place);
}

}  // namespace vrel

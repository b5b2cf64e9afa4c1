// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "support/every_order.h"

namespace vrel {

/// How an instantiation ends.
enum class Ending { node, error, neither };

/// Events that the order may trigger at any time, each once.
using Happenings = std::vector<std::function<void()>>;

/// Answers every request, by `answer(index, ending)`, and triggers every happening, in the given order,
/// until there is none left. After each, all posted work runs. The stage has `units.requests`, which
/// shrink by an answer, and `settle()`.
template <typename Stage, typename Answer>
void answerInOrder(Stage& stage, EveryOrder& order, Happenings happenings, const std::vector<Ending>& endings,
                   Answer answer) {
  while (!stage.units.requests.empty() || !happenings.empty()) {
    const auto answers = stage.units.requests.size() * endings.size();
    const auto way = order.choose(answers + happenings.size());
    if (way < answers) {
      answer(way / endings.size(), endings[way % endings.size()]);
    } else {
      const auto happening = happenings.begin() + static_cast<std::ptrdiff_t>(way - answers);
      const auto work = std::move(*happening);
      happenings.erase(happening);
      work();
    }
    stage.settle();
  }
}

}  // namespace vrel

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

/// Things that the order may bring about at any time, each once.
using Happenings = std::vector<std::function<void()>>;

/// Brings about an answer to every request, by `answer(index, ending)`, and every happening, in the order
/// that is told, until there is none left. After each, all that has been posted runs. The machine has
/// `units.requests`, which shrink by an answer, and `settle()`.
template <typename Machine, typename Answer>
void answerInOrder(Machine& machine, EveryOrder& order, Happenings happenings, const std::vector<Ending>& endings,
                   Answer answer) {
  while (!machine.units.requests.empty() || !happenings.empty()) {
    const auto answers = machine.units.requests.size() * endings.size();
    const auto way = order.choose(answers + happenings.size());
    if (way < answers) {
      answer(way / endings.size(), endings[way % endings.size()]);
    } else {
      const auto happening = happenings.begin() + static_cast<std::ptrdiff_t>(way - answers);
      const auto work = std::move(*happening);
      happenings.erase(happening);
      work();
    }
    machine.settle();
  }
}

}  // namespace vrel

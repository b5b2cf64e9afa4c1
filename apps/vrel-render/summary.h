// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vrel-render/renderer.h"

namespace vrel::render {

/// What there is to tell of a run.
struct Summary {
  std::vector<std::string> songNames{};  // as they went on stage
  std::optional<std::string> outPath{};
  int rate = 48000;  // frames per second
  Rendered rendered{};
  std::vector<std::string> problems{};
};

/// The text with a question mark for every control character: names of files and songs may hold line ends.
[[nodiscard]] std::string oneLine(std::string text);

/// A few lines for a person.
[[nodiscard]] std::vector<std::string> summaryLines(const Summary& summary);

}  // namespace vrel::render

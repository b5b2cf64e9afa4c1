// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vrel-render/renderer.h"

namespace vrel::render {

/// The result of a run.
struct Summary {
  std::vector<std::string> songNames{};  // in the order of their switches
  std::optional<std::string> outPath{};
  int rate = 48000;  // frames per second
  Rendered rendered{};
  std::vector<std::string> problems{};
};

/// The text with each control character replaced by a question mark: names of files and songs may hold newlines.
[[nodiscard]] std::string oneLine(std::string text);

/// The printed summary.
[[nodiscard]] std::vector<std::string> summaryLines(const Summary& summary);

}  // namespace vrel::render

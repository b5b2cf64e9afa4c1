// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "foundation/result.h"

namespace vrel::app {

/// The command line.
struct Arguments {
  bool help = false;
  bool version = false;
  std::optional<std::filesystem::path> setlist{};  // absolute
};

/// Parses the arguments, without the program's name and without those that are Qt's. A relative path is one of the
/// working folder. An error is one line about the first wrong argument. The file is not read.
[[nodiscard]] Result<Arguments> parseArguments(std::span<const std::string> arguments);

/// What is printed instead of opening a window, where the arguments want that; known without a display. Those of Qt may
/// be among them.
[[nodiscard]] std::optional<std::string> printedAnswer(std::span<const std::string> arguments);

}  // namespace vrel::app

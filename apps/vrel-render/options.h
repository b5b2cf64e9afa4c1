// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "foundation/result.h"

namespace vrel::render {

/// The command line. Paths are absent where not given.
struct Options {
  bool help = false;
  bool version = false;
  bool listPlugins = false;
  bool check = false;         // of the setlist, instead of a show
  bool json = false;          // as the report's form
  std::string setlistPath{};  // empty only with one of the three above
  std::optional<std::string> showPath{};
  std::optional<std::string> outPath{};
  std::optional<std::string> eventsPath{};
  std::optional<std::string> savePath{};
  std::optional<std::string> collectPath{};  // a new folder, instead of a show
  std::uint32_t song = 0;
  int rate = 48000;           // frames per second, 8000 to 192000
  std::uint32_t block = 128;  // frames
  double tail = 2;            // seconds, 0 to a day
  bool sandbox = true;        // plug-ins in processes of their own
};

/// Parses the arguments, without the program's name. An error is one line about the first wrong argument.
/// The files are not read.
[[nodiscard]] Result<Options> parseOptions(std::span<const std::string> arguments);

/// Several lines, each ending in a newline.
[[nodiscard]] std::string usage();

}  // namespace vrel::render

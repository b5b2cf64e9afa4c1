// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/arguments.h"

#include <algorithm>
#include <system_error>

#include "foundation/version.h"

namespace vrel::app {
namespace {

constexpr const char* usage =
    "vrel [SETLIST.vrel]\n"
    "  opens the console; a program that runs already opens the setlist and comes to the front\n"
    "  --help              prints this\n"
    "  --version           prints the version\n"
    "Qt's own options, such as -platform, are taken as well.\n";

}  // namespace

Result<Arguments> parseArguments(std::span<const std::string> arguments) {
  Arguments parsed;
  bool areOptionsOver = false;
  for (const std::string& argument : arguments) {
    const bool isOption = !areOptionsOver && argument.size() > 1 && argument.front() == '-';
    if (isOption && argument == "--") {
      areOptionsOver = true;
    } else if (isOption && argument == "--help") {
      parsed.help = true;
    } else if (isOption && argument == "--version") {
      parsed.version = true;
    } else if (isOption) {
      return Error{"unknown option '" + argument + "'"};
    } else if (parsed.setlist) {
      return Error{"unexpected argument '" + argument + "'"};
    } else if (argument.empty()) {
      return Error{"the path of a file is empty"};
    } else {
      std::error_code failure;
      parsed.setlist = std::filesystem::absolute(argument, failure).lexically_normal();
      if (failure) {
        return Error{"cannot find '" + argument + "' without a working folder: " + failure.message()};
      }
    }
  }
  return parsed;
}

std::optional<std::string> printedAnswer(std::span<const std::string> arguments) {
  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  if (std::find(arguments.begin(), end, "--help") != end) {
    return usage;
  }
  if (std::find(arguments.begin(), end, "--version") != end) {
    return "vrel " + std::string(programVersion()) + "\n";
  }
  return std::nullopt;
}

}  // namespace vrel::app

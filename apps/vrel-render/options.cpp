// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <vector>

namespace vrel::render {
namespace {

constexpr std::array<std::uint32_t, 6> blockSizes = {32, 64, 128, 256, 512, 1024};
constexpr int lowestRate = 8000;
constexpr int highestRate = 192'000;
constexpr double longestTail = 24 * 60 * 60;

template <typename Number>
std::optional<Number> number(std::string_view text) {
  Number value{};
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

/// Parses the value of an option; an error says what it must be.
Outcome setValue(Options& options, std::string_view name, const std::string& value) {
  const auto mustBe = [&](const std::string& what) {
    return Error{std::string(name) + " takes " + what + ", not '" + value + "'"};
  };
  if (name == "--song") {
    const auto song = number<std::uint32_t>(value);
    if (!song) {
      return mustBe("the index of a song, counted from 0");
    }
    options.song = *song;
  } else if (name == "--rate") {
    const auto rate = number<int>(value);
    if (!rate || *rate < lowestRate || *rate > highestRate) {
      return mustBe("frames per second from 8000 to 192000");
    }
    options.rate = *rate;
  } else if (name == "--block") {
    const auto block = number<std::uint32_t>(value);
    if (!block || std::find(blockSizes.begin(), blockSizes.end(), *block) == blockSizes.end()) {
      return mustBe("one of 32, 64, 128, 256, 512 and 1024 frames");
    }
    options.block = *block;
  } else if (name == "--tail") {
    const auto tail = number<double>(value);
    if (!tail || !(*tail >= 0 && *tail <= longestTail)) {
      return mustBe("seconds from 0 to 86400");
    }
    options.tail = *tail;
  } else if (name == "--sandbox") {
    if (value != "on" && value != "off") {
      return mustBe("on or off");
    }
    options.sandbox = value == "on";
  } else if (value.empty()) {
    return mustBe("the path of a file");
  } else {
    (name == "--out"       ? options.outPath
     : name == "--events"  ? options.eventsPath
     : name == "--collect" ? options.collectPath
                           : options.savePath) = value;
  }
  return {};
}

constexpr std::array<std::string_view, 9> optionsWithValue = {"--out",   "--events", "--save",    "--song",   "--rate",
                                                              "--block", "--tail",   "--sandbox", "--collect"};

std::filesystem::path placeOf(const std::string& path) {
  std::error_code ignored;
  const auto place = std::filesystem::weakly_canonical(std::filesystem::absolute(path, ignored), ignored);
  return place.empty() ? std::filesystem::path(path) : place;
}

/// An output must not overwrite an input or another output, except that the setlist may be saved over itself.
Outcome checkOutputs(const Options& options) {
  std::vector<std::string> inputs = {options.setlistPath};
  if (options.showPath) {
    inputs.push_back(*options.showPath);
  }
  std::set<std::filesystem::path> taken;
  for (const auto& input : inputs) {
    taken.insert(placeOf(input));
  }
  for (const auto& output : {options.outPath, options.eventsPath}) {
    if (output && !taken.insert(placeOf(*output)).second) {
      return Error{"'" + *output + "' would overwrite another file of this run"};
    }
  }
  if (options.savePath && placeOf(*options.savePath) != placeOf(options.setlistPath) &&
      !taken.insert(placeOf(*options.savePath)).second) {
    return Error{"'" + *options.savePath + "' would overwrite another file of this run"};
  }
  return {};
}

Outcome setPaths(Options& options, const std::vector<std::string>& paths) {
  if (options.help || options.version || options.listPlugins) {
    return {};
  }
  if (paths.empty()) {
    return Error{"no setlist given"};
  }
  if (paths.size() > 2) {
    return Error{"unexpected argument '" + paths[2] + "'"};
  }
  if (paths[0].empty() || paths.back().empty()) {
    return Error{"the path of a file is empty"};
  }
  options.setlistPath = paths[0];
  if (paths.size() == 2) {
    options.showPath = paths[1];
  }
  return checkOutputs(options);
}

/// A check and a collection play no show, and write no file of one.
Outcome checkUseOfASetlistAlone(const Options& options, const std::set<std::string>& given) {
  if (options.json && !options.check) {
    return Error{"--json is only for --check"};
  }
  if (!options.check && !options.collectPath) {
    return {};
  }
  const std::string mode = options.check ? "--check" : "--collect";
  if (options.showPath) {
    return Error{mode + " takes a setlist alone, not '" + *options.showPath + "'"};
  }
  for (const auto* const name : {"--out", "--events", "--save", "--song", "--tail", "--collect"}) {
    if (given.contains(name) && name != mode) {
      return Error{std::string(name) + " is not for " + mode};
    }
  }
  return {};
}

}  // namespace

Result<Options> parseOptions(std::span<const std::string> arguments) {
  Options options;
  std::vector<std::string> paths;
  std::set<std::string> given;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    if (!argument.starts_with('-')) {
      paths.push_back(argument);
      continue;
    }
    if (!given.insert(argument).second) {
      return Error{argument + " is given more than once"};
    }
    if (argument == "--help") {
      options.help = true;
    } else if (argument == "--version") {
      options.version = true;
    } else if (argument == "--list-plugins") {
      options.listPlugins = true;
    } else if (argument == "--check") {
      options.check = true;
    } else if (argument == "--json") {
      options.json = true;
    } else if (std::find(optionsWithValue.begin(), optionsWithValue.end(), argument) == optionsWithValue.end()) {
      return Error{"unknown option '" + argument + "'"};
    } else if (index + 1 == arguments.size() || arguments[index + 1].starts_with("--")) {
      return Error{argument + " needs a value"};
    } else if (auto failure = setValue(options, argument, arguments[++index])) {
      return *failure;
    }
  }
  if (auto failure = setPaths(options, paths)) {
    return *failure;
  }
  if (auto failure = checkUseOfASetlistAlone(options, given)) {
    return *failure;
  }
  return options;
}

std::string usage() {
  return "vrel-render [options] SETLIST.vrel [SHOW.mid]\n"
         "  --help              print this\n"
         "  --version           print the version\n"
         "  --list-plugins      list the installed plug-ins: key, type, manufacturer, name\n"
         "  --check             looks for what would fail on stage: plays each song shortly, reads all files\n"
         "  --json              the report of --check as JSON\n"
         "  --collect FOLDER    copies the setlist and all its files into a new folder, which can be moved\n"
         "  --out FILE.wav      the main output, 32-bit float stereo\n"
         "  --events FILE.jsonl what happened, one JSON object per line\n"
         "  --save FILE.vrel    saves the setlist there at the end\n"
         "  --song N            the song to start with, counted from 0 (default 0)\n"
         "  --rate HZ           frames per second (default 48000)\n"
         "  --block FRAMES      32 64 128 256 512 or 1024 (default 128)\n"
         "  --sandbox on|off    plug-ins in processes of their own (default on)\n"
         "  --tail SECONDS      rendered after the last message (default 2)\n";
}

}  // namespace vrel::render

// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/program.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "document/collected_setlist.h"
#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "foundation/version.h"
#include "system/dispatch/standard_output.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_copier.h"
#include "system/media/wav_writer.h"
#include "system/plugins/lv2/lv2_world.h"
#include "vrel-render/check_run.h"
#include "vrel-render/event_log.h"
#include "vrel-render/input_files.h"
#include "vrel-render/offline_stage.h"
#include "vrel-render/options.h"
#include "vrel-render/renderer.h"
#include "vrel-render/show.h"
#include "vrel-render/summary.h"

namespace vrel::render {
namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

int fail(int exitCode, const Error& error) {
  const std::string hint = exitCode == exitUsage ? " (see --help)" : "";
  std::fprintf(stderr, "vrel-render: %s%s\n", oneLine(error.description).c_str(), hint.c_str());
  return exitCode;
}

std::string fourCharacters(std::uint32_t code) {
  const std::array<std::uint32_t, 4> shifts = {24, 16, 8, 0};
  std::string text;
  for (const auto shift : shifts) {
    text += static_cast<char>((code >> shift) & 0xFFU);
  }
  return text;
}

int listPlugins(ConsoleOutput& console) {
  const auto world = lv2::Lv2World::open();
  for (const auto& components : {scanInstrumentComponents(*world), scanAudioEffectComponents(*world)}) {
    for (const auto& component : components) {
      console.print(pluginKey(component) + "\t" + fourCharacters(component.audioComponentDescription.componentType) +
                    "\t" + component.manufacturerName + "\t" + component.name);
    }
  }
  return exitSuccess;
}

int collect(const Options& options, ConsoleOutput& console) {
  auto setlist = readSetlistFile(options.setlistPath);
  if (!setlist) {
    return fail(exitFailure, setlist.error());
  }
  system::FileCalls calls;
  system::PosixFileCopier copier(calls);
  const auto collection = collectSetlist(std::move(setlist).value(), std::nullopt, *options.collectPath, copier,
                                         [](double) { return true; });
  if (collection.end == Collection::End::failed) {
    return fail(exitFailure, {collection.reason});
  }
  for (const auto& line : collection.missing) {
    console.print("Not collected: " + line);
  }
  console.print("Files collected in " + *options.collectPath + ": " + std::to_string(collection.files));
  return collection.missing.empty() ? exitSuccess : exitFailure;
}

/// One run, from input files to output files.
class Run {
 public:
  Run(const Options& options, ConsoleOutput& console) : options_(options), console_(console) {}

  int perform() {
    auto setlist = readSetlistFile(options_.setlistPath);
    if (!setlist) {
      return fail(exitFailure, setlist.error());
    }
    const std::size_t songCount = setlist.value().songs.size();
    if (options_.song >= std::max<std::size_t>(songCount, 1)) {
      return fail(exitUsage, {"--song " + std::to_string(options_.song) + " is out of range: there are " +
                              std::to_string(songCount) + " songs, counted from 0"});
    }
    if (auto failure = openFiles()) {
      return fail(exitFailure, *failure);
    }
    if (auto failure = play(std::move(setlist).value())) {
      return fail(exitFailure, *failure);
    }
    return exitSuccess;
  }

 private:
  Outcome openFiles() {
    if (options_.showPath) {
      auto steps = readShowFile(*options_.showPath);
      if (!steps) {
        return steps.error();
      }
      steps_ = std::move(steps).value();
    }
    if (options_.outPath) {
      auto wav = system::WavWriter::create(*options_.outPath, options_.rate);
      if (!wav) {
        return wav.error();
      }
      wav_ = std::move(wav).value();
    }
    if (options_.eventsPath) {
      auto log = EventLog::create(*options_.eventsPath);
      if (!log) {
        return log.error();
      }
      log_ = std::move(log).value();
    }
    return {};
  }

  Outcome play(SetlistFile setlist) {
    OfflineStage stage({options_.rate, options_.block, options_.sandbox}, lv2::Lv2World::open(), console_,
                       log_ ? &*log_ : nullptr);
    if (auto failure = stage.start(std::move(setlist))) {
      return failure;
    }
    stage.applySong(options_.song);
    ShowLength length{options_.rate, options_.block, std::nullopt, options_.tail};
    if (!steps_.empty()) {
      length.lastStep = steps_.back().seconds;
    }
    const auto rendered = renderShow(stage, steps_, length, wav_ ? &*wav_ : nullptr);
    if (!rendered) {
      return rendered.error();
    }
    const bool isSaved = !options_.savePath || stage.save(*options_.savePath);
    if (auto failure = closeFiles()) {
      return failure;
    }
    if (!isSaved) {
      return Error{"cannot save " + *options_.savePath};
    }
    printSummary(stage, rendered.value());
    return {};
  }

  Outcome closeFiles() {
    if (wav_) {
      if (auto failure = wav_->close()) {
        return failure;
      }
    }
    return log_ ? log_->close() : std::nullopt;
  }

  void printSummary(const OfflineStage& stage, const Rendered& rendered) {
    Summary summary{
        .outPath = options_.outPath, .rate = options_.rate, .rendered = rendered, .problems = stage.problems()};
    for (const std::size_t index : stage.songsApplied()) {
      summary.songNames.push_back(stage.songs()[index].name);
    }
    for (const auto& line : summaryLines(summary)) {
      console_.print(line);
    }
  }

  const Options& options_;
  ConsoleOutput& console_;
  std::vector<ShowStep> steps_;
  std::optional<system::WavWriter> wav_;
  std::optional<EventLog> log_;
};

}  // namespace

int runProgram(std::span<const std::string> arguments) {
  const auto options = parseOptions(arguments);
  if (!options) {
    return fail(exitUsage, options.error());
  }
  system::StandardOutput console;
  if (options.value().help) {
    std::fputs(usage().c_str(), stdout);
    return exitSuccess;
  }
  if (options.value().version) {
    std::printf("vrel-render %s\n", std::string(programVersion()).c_str());
    return exitSuccess;
  }
  if (options.value().listPlugins) {
    return listPlugins(console);
  }
  if (options.value().check) {
    return checkSetlistFile(options.value()) ? exitFailure : exitSuccess;
  }
  if (options.value().collectPath) {
    return collect(options.value(), console);
  }
  return Run(options.value(), console).perform();
}

}  // namespace vrel::render

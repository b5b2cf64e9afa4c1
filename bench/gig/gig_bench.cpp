// SPDX-License-Identifier: GPL-3.0-or-later
// How much of a gig is in time: the share of late blocks and whose they were, the longest block, and the song changes.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "apps/vrel-render/gig/gig_show.h"
#include "apps/vrel-render/gig/gig_stage.h"

namespace vrel {
namespace {

std::size_t switchesOf(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    return 2000;
  }
  if (arguments.size() != 2 || arguments[0] != "--switches") {
    throw std::invalid_argument("usage: gig_bench [--switches N]");
  }
  return std::stoul(arguments[1]);
}

void report(const GigStage& stage) {
  const auto& watch = stage.watch();
  const auto blocks = static_cast<double>(watch.blocks);
  const auto print = [&](const char* what, std::uint64_t count) {
    std::printf("%-40s %8zu  %8.4f %%\n", what, static_cast<std::size_t>(count),
                100 * static_cast<double>(count) / blocks);
  };
  print("blocks", watch.blocks);
  print("with sound", watch.soundingBlocks);
  print("silent for a change of the graph", stage.renderCounters().silentBlocks);
  print("late through the program", watch.lateByProgram);
  print("late through a plug-in", watch.lateByPlugin);
  print("late through the machine", watch.lateByMachine);
  print("with a file's frames not read in time", stage.renderCounters().underrunBlocks);
  const double blockMs = GigStage::blockFrames * 1e3 / GigStage::sampleRate;
  std::printf("the longest took %.2f of a block, of the program's own time\n",
              static_cast<double>(watch.longestOfProgram) * 1e-6 / blockMs);
  auto times = stage.switchTimes();
  std::sort(times.begin(), times.end());
  std::printf("%zu song changes, in blocks: median %.2f, 99 of 100 within %.2f, all within %.2f\n", times.size(),
              times[times.size() / 2] / blockMs, times[times.size() * 99 / 100] / blockMs, times.back() / blockMs);
}

void play(std::size_t switches) {
  setenv("LV2_PATH", VREL_ZOO_PATH, 1);
  std::string name = (std::filesystem::temp_directory_path() / "vrel-gig-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no folder for the setlist");
  }
  const std::filesystem::path folder = name;
  {
    GigStage stage(folder / "copies", GigStage::StateWaits::asOnADevice);
    const auto show = gigShow(stage.open(folder), switches);
    stage.perform(GigStage::stepsOf(show.midi), [](std::size_t) {});
    report(stage);
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vrel

int main(int count, char** arguments) {
  try {
    vrel::play(vrel::switchesOf({arguments + 1, arguments + count}));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "gig_bench: %s\n", error.what());
    return 1;
  }
  return 0;
}

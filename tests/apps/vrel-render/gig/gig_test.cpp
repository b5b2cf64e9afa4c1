// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "apps/vrel-render/gig/gig_show.h"
#include "apps/vrel-render/gig/gig_stage.h"
#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "console/edit_history.h"
#include "document/setlist_coding.h"
#include "system/plugins/sandbox/processes.h"

// A gig, from the opened setlist to the saved one, with 100 song switches, or VREL_GIG_SWITCHES. A sanitizer build runs
// half of them, and does not compare its memory, since the sanitizer keeps freed memory. Whether it was in time is
// measured in bench/gig.

namespace vrel {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

std::size_t switchCount() {
  const char* const wanted = std::getenv("VREL_GIG_SWITCHES");  // NOLINT(concurrency-mt-unsafe)
  const std::size_t count = wanted != nullptr ? std::stoul(wanted) : 100;
  return std::max(isSanitized ? count / 2 : count, 2 * gigSongs + 5);
}

/// The system resources that the program holds.
struct Holding {
  std::size_t descriptors = 0;
  std::size_t processes = 0;
  std::size_t sharedMappings = 0;
  std::size_t kilobytesInUse = 0;  // allocated
  std::size_t kilobytes = 0;       // resident
  std::size_t kilobytesOfPlugins = 0;
  std::size_t undoSteps = 0;
};

std::size_t residentKilobytes(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// Memory allocated and not freed, in all of the allocator's arenas.
std::size_t allocatedKilobytes() {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const file = open_memstream(&text, &size);
  malloc_info(0, file);
  std::fclose(file);
  const std::string report(text, size);
  std::free(text);  // NOLINT(cppcoreguidelines-no-malloc): the stream's
  // The totals follow those of the arenas.
  const auto total = [&report](const std::string& element) {
    const std::string mark = "size=\"";
    const std::size_t place = report.find(mark, report.rfind(element));
    return std::stoull(report.substr(place + mark.size()));
  };
  const auto ofArenas =
      total("<system type=\"current\"") - total("<total type=\"fast\"") - total("<total type=\"rest\"");
  return (ofArenas + total("<total type=\"mmap\"")) / 1024;
}

Holding holding() {
  malloc_trim(0);
  Holding now{.descriptors = sandbox::descriptorCount(),
              .sharedMappings = sandbox::sharedMappingCount(),
              .kilobytesInUse = isSanitized ? 0 : allocatedKilobytes(),
              .kilobytes = residentKilobytes(getpid())};
  for (const pid_t child : sandbox::descendantsOf(getpid())) {
    ++now.processes;
    now.kilobytesOfPlugins += residentKilobytes(child);
  }
  return now;
}

void report(std::size_t switches, const Holding& now) {
  std::printf(
      "%5zu switches: %zu descriptors, %zu processes, %zu shared mappings, %zu kB allocated, %zu kB resident, plug-ins "
      "%zu kB, %zu undo steps\n",
      switches, now.descriptors, now.processes, now.sharedMappings, now.kilobytesInUse, now.kilobytes,
      now.kilobytesOfPlugins, now.undoSteps);
}

class Gig : public ShowTest {
 protected:
  static void SetUpTestSuite() {
    setenv("LV2_PATH", VREL_ZOO_PATH, 1);  // NOLINT(concurrency-mt-unsafe): no other threads yet
  }

  [[nodiscard]] SetlistFile opened(GigStage& stage) const {
    auto setlist = stage.open(at(""));
    std::set<std::optional<std::string>> states;
    for (const auto& song : setlist.songs) {
      states.insert(song.channels[2].pluginStateBase64);
    }
    EXPECT_EQ(states.size(), gigSongs - 1) << "the keeper that was not played keeps its plug-in's earlier state";
    return setlist;
  }

  /// One of the many events of a panic.
  static bool isOfPanic(const nlohmann::json& event) {
    return event.at("kind") == "midi" && event.at("status") == 0xB0 && event.at("data1") == 123;
  }

  void expectSaved(GigShow& show, const std::string& name) const {
    const auto saved = readSetlist(read(name));
    ASSERT_TRUE(saved.ok());
    EXPECT_TRUE(takeUnpredictable(show, saved.value()));
    // Compared as texts: each load assigns new ids.
    EXPECT_EQ(nlohmann::json::diff(nlohmann::json::parse(encodeSetlist(show.expected).value()),
                                   nlohmann::json::parse(read(name))),
              nlohmann::json::array());
  }
};

/// Each switch keeps a little memory for half a minute, its timeouts; and each edit what undoing it takes, up to the
/// bound of the history.
void expectNothingGrew(const Holding& first, const Holding& last, std::size_t switches) {
  EXPECT_EQ(last.descriptors, first.descriptors);
  EXPECT_EQ(last.processes, first.processes);
  EXPECT_EQ(last.sharedMappings, first.sharedMappings);
  if (!isSanitized) {
    constexpr std::size_t kilobytesOfAStep = 18;  // 17 to 18 were measured
    const std::size_t ofSteps = kilobytesOfAStep * (std::max(last.undoSteps, first.undoSteps) - first.undoSteps);
    EXPECT_LE(last.undoSteps, EditHistory::mostSteps);
    EXPECT_LE(last.kilobytesInUse, first.kilobytesInUse + std::min<std::size_t>(100 + switches, 1024) + ofSteps);
    EXPECT_LE(last.kilobytes, first.kilobytes + first.kilobytes / 5) << "the allocator keeps some of what was freed";
    EXPECT_LE(last.kilobytesOfPlugins, first.kilobytesOfPlugins + first.kilobytesOfPlugins / 20);
  }
}

void expectDeeds(const GigEvents& meant, const GigEvents& done) {
  EXPECT_GT(std::min({meant.tracks, meant.clips, meant.panics}), 0U);
  EXPECT_EQ(done.tracks, meant.tracks);
  EXPECT_EQ(done.clips, meant.clips);
  EXPECT_EQ(done.panics, meant.panics);
}

/// What must not happen however busy the machine is.
void expectNoFault(const GigStage& stage) {
  const auto& blocks = stage.renderCounters();
  EXPECT_EQ(blocks.nonFiniteBlocks, 0U);
  EXPECT_EQ(blocks.refusedConnections, 0U);
  EXPECT_EQ(blocks.refusedNodes, 0U);
  EXPECT_EQ(blocks.unreadFrames, 0U);
  const auto& plugins = stage.pluginCounters();
  EXPECT_EQ(plugins.deaths, 0U);
  EXPECT_EQ(plugins.silencedBlocks, 0U);
  EXPECT_EQ(stage.lines(), std::vector<std::string>());
}

TEST_F(Gig, DoesNotGrowAndLeavesTheSetlistAsItWas) {
  GigStage stage(at("copies"), GigStage::StateWaits::untilDone);
  auto show = gigShow(opened(stage), switchCount());
  std::vector<Holding> rounds;  // always at the first song, which begins a round
  stage.perform(GigStage::stepsOf(show.midi), [&](std::size_t switches) {
    EXPECT_EQ(stage.sandboxedInstruments(), gigInstruments);
    if (switches % 20 == 0) {
      EXPECT_TRUE(stage.save(at("saved.vrel")));
    }
    if (stage.state().selectedSongIndex.get() == 0U) {
      stage.settle();
      rounds.push_back(holding());
      rounds.back().undoSteps = stage.undoSteps();
      report(switches, rounds.back());
    }
  });
  EXPECT_TRUE(stage.save(at("saved.vrel")));
  ASSERT_GE(rounds.size(), 3U);
  expectNothingGrew(rounds[1], rounds.back(), show.switches - gigSongs);
  EXPECT_GT(stage.watch().soundingBlocks, 0U);
  expectDeeds(show.events, stage.events());
  expectNoFault(stage);
  expectSaved(show, "saved.vrel");
}

TEST_F(Gig, RendersToTheSameSetlist) {
  auto show = gigShow(
      [this] {
        GigStage stage(at("copies"), GigStage::StateWaits::untilDone);
        return opened(stage);
      }(),
      switchCount());
  const auto untouched = playedState(show.expected);
  const auto run = renderOnZoo({at("opened.vrel"), write("gig.mid", show.midi), "--save", at("saved.vrel"), "--tail",
                                "0", "--events", at("events.jsonl")});
  ASSERT_EQ(run.exitCode, 0) << run.output << run.errors;
  EXPECT_NE(run.output.find("Problems: none"), std::string::npos) << run.output;
  expectSaved(show, "saved.vrel");
  std::map<std::string, std::size_t> kinds;
  for (const auto& event : events("events.jsonl")) {
    ++kinds[event.at("kind").get<std::string>()];
    kinds["panic"] += isOfPanic(event) ? 1 : 0;
    kinds["clip start"] += event.at("kind") == "clip" && event.at("opacity") == 1 ? 1 : 0;
  }
  EXPECT_EQ(kinds["switch"], show.switches + 1);
  EXPECT_EQ(kinds["panic"], show.events.panics * gigInstruments);
  EXPECT_EQ(kinds["clip start"], show.events.clips);
  EXPECT_GT(kinds["control"], show.switches);
  EXPECT_GT(kinds["clip"], 0U);
  EXPECT_GT(kinds["dirty"], show.switches);
  EXPECT_NE(playedState(readSetlist(read("saved.vrel")).value()), untouched) << "it was played";
}

}  // namespace
}  // namespace vrel

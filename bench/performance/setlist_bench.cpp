// SPDX-License-Identifier: GPL-3.0-or-later
// How long the main queue is held up while a setlist of 40 songs is saved and opened, with 16 instruments in guests on
// stage: with all work on the main thread, and with encoding and files beside it. Both alternate, so that other load
// affects them alike.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "audio/bench_graph.h"
#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "document/plugin_path.h"
#include "document/setlist_coding.h"
#include "engine/audio_engine.h"
#include "engine/plugin_state.h"
#include "performance/plugin_casts.h"
#include "performance/song_switch.h"
#include "simulation/recording_console.h"
#include "simulation/scripted_desktop.h"
#include "support/session_on.h"
#include "system/audio/paced_null_device.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/background_thread.h"
#include "system/dispatch/main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/dispatch/system_clock.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::bench {
namespace {

using audio::bench::median;
using Clock = std::chrono::steady_clock;

constexpr std::size_t stripCount = 16;

double millisecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// How late the main queue is at most, asked every half millisecond.
class TurnWatch {
 public:
  explicit TurnWatch(system::MainLoop& loop) : loop_(loop) { tick(); }

  void begin() { longest_ = 0; }
  [[nodiscard]] double longestMilliseconds() const { return longest_; }

 private:
  static constexpr double interval = 0.0005;

  void tick() {
    loop_.asyncAfter(interval, [this, begin = Clock::now()] {
      longest_ = std::max(longest_, millisecondsSince(begin) - 1000 * interval);
      tick();
    });
  }

  system::MainLoop& loop_;
  double longest_ = 0;
};

class SetlistStage {
 public:
  explicit SetlistStage(std::size_t songs) {
    loop.runPending();
    session.files.placeDirectory(session.state.recentFilesPath.parent_path());
    session.state.scannedPlugins.set(cast_.instruments);
    SongConfig song;
    for (const auto& instrument : cast_.instruments) {
      song.channels.emplace_back().pluginPath = pluginKey(instrument);
    }
    session.setSongs({song});
    apply();
    apply();
    song = session.state.songs.get().front();
    session.setSongs(std::vector<SongConfig>(songs, song));
    std::filesystem::create_directories(folder_);
    if (!setlists(true).writeSetlist(file)) {
      throw std::runtime_error("the setlist cannot be saved");
    }
    setlists(true).loadSetlist(file);  // no two songs share their states any more
    settle();
  }
  ~SetlistStage() { std::filesystem::remove_all(folder_); }
  SetlistStage(const SetlistStage&) = delete;
  SetlistStage& operator=(const SetlistStage&) = delete;

  SetlistFiles& setlists(bool isBeside) { return isBeside ? beside_ : alone_; }
  void settle() {
    loop.runUntil([this] { return !session.state.songSwitchInProgress.get(); });
    loop.runPending();
  }
  [[nodiscard]] const std::vector<std::string>& problems() const { return console_.lines; }

  system::MainLoop loop;

 private:
  void apply() {
    session.songSwitch.applySong(0);
    settle();
  }

  Cast cast_ = lv2Cast(stripCount, true)(loop);
  std::shared_ptr<audio::RenderCounters> counters_ = std::make_shared<audio::RenderCounters>();
  std::shared_ptr<audio::PacedNullDevice> device_ = std::make_shared<audio::PacedNullDevice>(
      audio::bench::sampleRate, audio::bench::blockFrames, [](auto /*left*/, auto /*right*/) {});
  audio::RenderNodeFactory nodes_{device_, counters_};
  system::SerialQueueFactory queues_;
  system::SystemClock clock_;
  system::LibplistSerialization propertyLists_;
  simulation::RecordingConsole console_;
  std::shared_ptr<AudioEngine> engine_ =
      AudioEngine::make({nodes_, *cast_.units, loop, queues_, clock_, propertyLists_, console_});
  const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "vrel_setlist_bench";

 public:
  SessionOn session{*engine_, loop, clock_, console_};
  const std::filesystem::path file = folder_ / "gig.vrel";

 private:
  system::FileCalls calls_;
  system::PosixFileManager files_{calls_};
  simulation::ScriptedDesktop desktop_;
  SetlistCopies copies_{files_, console_, folder_ / "copies"};
  system::BackgroundThread background_{loop};
  SetlistFiles alone_{{session.state, *engine_, session.songSwitch, files_, desktop_, console_, copies_}};
  SetlistFiles beside_{
      {session.state, *engine_, session.songSwitch, files_, desktop_, console_, copies_, &background_}};
};

/// What the unsaved edits are kept from, and what a copy of all states in it would cost.
std::pair<double, double> millisecondsOfCopies(SetlistStage& stage) {
  const auto& songs = stage.session.state.songs.get();
  auto begin = Clock::now();
  const auto shared = stage.session.songSwitch.songsAsPlayed(StateRead::lastKnown);
  const double sharing = millisecondsSince(begin);
  begin = Clock::now();
  std::vector<std::string> states;
  for (const auto& song : songs) {
    for (const auto& channel : song.channels) {
      states.push_back(channel.pluginStateBase64.value_or(SharedText()).text());
    }
  }
  benchmark::DoNotOptimize(states.data());
  return {sharing, millisecondsSince(begin)};
}

struct Held {
  std::vector<double> turns;   // the longest of each, milliseconds
  std::vector<double> wholes;  // milliseconds

  void report(benchmark::State& state, const std::string& name) const {
    state.counters[name + "_turn_ms"] = median(turns);
    state.counters[name + "_most_ms"] = *std::max_element(turns.begin(), turns.end());
    state.counters[name + "_whole_ms"] = median(wholes);
  }
};

void saveAndOpen(benchmark::State& state) {
  SetlistStage stage(static_cast<std::size_t>(state.range(0)));
  TurnWatch watch(stage.loop);
  Held saves[2];
  Held opens[2];
  std::vector<double> sharing;
  std::vector<double> copying;
  const auto measure = [&](Held& held, const auto& work) {
    stage.loop.runPending();
    watch.begin();
    const auto begin = Clock::now();
    work();
    held.wholes.push_back(millisecondsSince(begin));
    stage.settle();
    stage.loop.runUntil([due = Clock::now() + std::chrono::milliseconds(5)] { return Clock::now() >= due; });
    held.turns.push_back(watch.longestMilliseconds());
  };
  for ([[maybe_unused]] auto turn : state) {
    for (const bool isBeside : {false, true}) {
      auto& setlists = stage.setlists(isBeside);
      stage.session.state.songNotes.set(stage.session.state.songNotes.get() == "a" ? "b" : "a");
      measure(saves[isBeside ? 1 : 0], [&] { (void)setlists.writeSetlist(stage.file); });
      measure(opens[isBeside ? 1 : 0], [&] { setlists.loadSetlist(stage.file); });
    }
    const auto [shared, copied] = millisecondsOfCopies(stage);
    sharing.push_back(shared);
    copying.push_back(copied);
  }
  if (!stage.problems().empty()) {
    state.SkipWithError(stage.problems().front().c_str());
    return;
  }
  saves[0].report(state, "save_alone");
  saves[1].report(state, "save");
  opens[0].report(state, "open_alone");
  opens[1].report(state, "open");
  state.counters["unsaved_edits_ms"] = median(sharing);
  state.counters["copy_of_states_ms"] = median(copying);
}
BENCHMARK(saveAndOpen)->Arg(40)->Iterations(7)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vrel::bench

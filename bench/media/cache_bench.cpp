// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "engine/audio_engine.h"
#include "simulated_platform.h"
#include "support/session_on.h"
#include "system/media/audio_files.h"

namespace vrel {
namespace {

constexpr std::array formats{"flac", "mp3", "ogg"};

/// Ten minutes of stereo noise in each format, made by the ffmpeg program in a folder that is removed at the end.
class LongTracks {
 public:
  LongTracks() { std::filesystem::create_directories(folder_); }
  ~LongTracks() { std::filesystem::remove_all(folder_); }
  LongTracks(const LongTracks&) = delete;
  LongTracks& operator=(const LongTracks&) = delete;

  [[nodiscard]] std::string path(std::size_t format) const {
    const std::string path = (folder_ / "long.").string() + formats.at(format);
    const std::string command =
        "ffmpeg -loglevel quiet -f lavfi -i anoisesrc=color=pink:amplitude=0.3:sample_rate=48000:duration=600:seed=1 "
        "-ac 2 " +
        path;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before any other thread
    if (!std::filesystem::exists(path) && std::system(command.c_str()) != 0) {
      std::abort();
    }
    return path;
  }

 private:
  const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "vrel-cache-bench";
};

enum class Source { read, streamed, decoded };

/// The main thread's part of a switch to a song with such a track: read into memory (0), streamed for want of a decoded
/// range (1), taken from the cache (2).
void switchToTenMinutes(benchmark::State& state) {
  static const LongTracks tracks;
  const std::string path = tracks.path(static_cast<std::size_t>(state.range(0)));
  const auto source = static_cast<Source>(state.range(1));
  bench::SimulatedPlatform machine;
  system::AudioFiles files;
  EnginePlatform platform = machine.forEngine();
  platform.files = &files;
  platform.decodesAhead = source != Source::read;
  const auto engine = AudioEngine::make(platform);
  machine.mainQueue.runAll();
  SongConfig song;
  song.channels.emplace_back().pluginPath = "internal:playback";
  song.channels[0].playbackFilePath = path;
  SessionOn session(*engine, machine.mainQueue, machine.clock, machine.console);
  session.setSongs({song, SongConfig{}});
  session.songSwitch.applySong(1);
  if (source == Source::decoded) {
    machine.queues.queue("vrel.playback.decoder.1").runAll();
  }
  for ([[maybe_unused]] auto turn : state) {
    session.songSwitch.applySong(0);
    machine.mainQueue.runAll();
    state.counters["in_memory"] = engine->channels().at(0)->playbackBuffer.get() != nullptr ? 1 : 0;
    session.songSwitch.applySong(1);
    machine.mainQueue.runAll();
  }
  state.SetLabel(formats.at(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(switchToTenMinutes)
    ->ArgsProduct({{0, 1, 2},
                   {static_cast<int>(Source::read), static_cast<int>(Source::streamed),
                    static_cast<int>(Source::decoded)}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();

}  // namespace
}  // namespace vrel

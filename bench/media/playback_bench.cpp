// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "engine/audio_engine.h"
#include "simulated_platform.h"
#include "simulation/simulated_audio_files.h"
#include "support/audio/player_stage.h"
#include "system/media/audio_files.h"
#include "system/media/wav_writer.h"

namespace vrel {
namespace {

constexpr std::size_t trackCount = 16;
constexpr std::uint32_t blockFrames = 128;
constexpr std::uint32_t trackFrames = 200000;

/// Sixteen tracks in a temporary folder; the last two have another rate.
class Tracks {
 public:
  Tracks() {
    std::filesystem::create_directories(folder_);
    std::vector<float> left(trackFrames);
    for (std::size_t track = 0; track < trackCount; ++track) {
      for (std::size_t frame = 0; frame < left.size(); ++frame) {
        left[frame] = static_cast<float>((frame * (track + 3)) % 1009) / 20000.0F;
      }
      auto writer = system::WavWriter::create(path(track), rate(track));
      if (!writer || writer.value().write(left, left) || writer.value().close()) {
        std::abort();
      }
    }
  }
  ~Tracks() { std::filesystem::remove_all(folder_); }
  Tracks(const Tracks&) = delete;
  Tracks& operator=(const Tracks&) = delete;

  static int rate(std::size_t track) { return track >= trackCount - 2 ? 44100 : 48000; }
  [[nodiscard]] std::string path(std::size_t track) const {
    return (folder_ / (std::to_string(track) + ".wav")).string();
  }
  [[nodiscard]] std::shared_ptr<AVAudioFile> open(std::size_t track) const {
    system::AudioFiles files;
    auto file = files.openForReading(path(track));
    return file.ok() ? file.value() : nullptr;
  }

 private:
  const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "vrel-playback-bench";
};

/// Processor time of this thread, which does all the work; other load does not count.
double secondsNow() {
  std::timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The minimum: read, convert where rates differ, mix.
class BareLoop {
 public:
  explicit BareLoop(const Tracks& tracks) {
    for (std::size_t track = 0; track < trackCount; ++track) {
      Voice voice;
      voice.file = tracks.open(track);
      voice.chunk = std::make_shared<AVAudioPCMBuffer>(voice.file->processingFormat(), chunkFrames);
      if (Tracks::rate(track) != 48000) {
        voice.converter = files_.makeConverter(Tracks::rate(track), 48000);
      }
      voices_.push_back(std::move(voice));
    }
  }

  void renderBlock() {
    mix_ = {};
    for (auto& voice : voices_) {
      while (voice.filled - voice.taken < blockFrames) {
        readOn(voice);
      }
      for (std::size_t frame = 0; frame < blockFrames; ++frame) {
        mix_[0][frame] += voice.channels[0][voice.taken + frame];
        mix_[1][frame] += voice.channels[1][voice.taken + frame];
      }
      voice.taken += blockFrames;
    }
    benchmark::DoNotOptimize(mix_);
  }

 private:
  static constexpr std::uint32_t chunkFrames = 4096;
  struct Voice {
    std::shared_ptr<AVAudioFile> file;
    std::shared_ptr<AVAudioPCMBuffer> chunk;
    std::unique_ptr<AVAudioConverter> converter;
    std::array<std::vector<float>, 2> channels{std::vector<float>(3 * chunkFrames),
                                               std::vector<float>(3 * chunkFrames)};
    std::size_t filled = 0;
    std::size_t taken = 0;
  };

  void readOn(Voice& voice) {
    if (voice.file->framePosition() == voice.file->length()) {
      voice.file->setFramePosition(0);
    }
    if (voice.file->readIntoBuffer(*voice.chunk, chunkFrames)) {
      std::abort();
    }
    const auto* const* const channels = voice.chunk->floatChannelData();
    const std::size_t rest = voice.filled - voice.taken;
    for (auto& channel : voice.channels) {
      std::copy_n(channel.data() + voice.taken, rest, channel.data());
    }
    voice.taken = 0;
    std::size_t given = voice.chunk->frameLength;
    const std::array<float*, 2> output{voice.channels[0].data() + rest, voice.channels[1].data() + rest};
    if (voice.converter != nullptr) {
      given =
          voice.converter->convert({channels[0], channels[1]}, voice.chunk->frameLength, output, 2 * chunkFrames).given;
    } else {
      std::copy_n(channels[0], given, output[0]);
      std::copy_n(channels[1], given, output[1]);
    }
    voice.filled = rest + given;
  }

  system::AudioFiles files_;
  std::vector<Voice> voices_;
  std::array<std::array<float, blockFrames>, 2> mix_{};
};

/// Sixteen loops at once through players, feeder and graph, alternating with the plain loop.
void sixteenLoops(benchmark::State& state) {
  const Tracks tracks;
  audio::test::OfflinePlayers stage(std::make_shared<system::AudioFiles>(), 48000, blockFrames);
  for (std::size_t track = 0; track < trackCount; ++track) {
    const auto player = stage.addPlayer();
    stage.loop(player, tracks.open(track), 0, trackFrames, 1000000);
    player->play();
  }
  BareLoop bare(tracks);
  const auto renderBlock = [&] {
    stage.factory.playerFeeder().feedBeforeBlock([&] { stage.runQueue(); });
    benchmark::DoNotOptimize(stage.device->renderBlock());
  };
  constexpr int blocksInTurn = 512;
  for (int block = 0; block < blocksInTurn; ++block) {
    renderBlock();
    bare.renderBlock();
  }
  double ours = 0;
  double least = 0;
  for ([[maybe_unused]] auto turn : state) {
    double begin = secondsNow();
    for (int block = 0; block < blocksInTurn; ++block) {
      renderBlock();
    }
    ours += secondsNow() - begin;
    begin = secondsNow();
    for (int block = 0; block < blocksInTurn; ++block) {
      bare.renderBlock();
    }
    least += secondsNow() - begin;
  }
  state.counters["over_bare"] = ours / least;
  state.counters["us_per_block"] = ours * 1e6 / (static_cast<double>(state.iterations()) * blocksInTurn);
  state.counters["underruns"] = static_cast<double>(stage.counters->underrunBlocks.load());
}
BENCHMARK(sixteenLoops)->Unit(benchmark::kMillisecond);

/// A note on the main thread: starts and stops alternating, with the player queue stopped.
void triggerPlayback(benchmark::State& state) {
  bench::SimulatedPlatform machine;
  simulation::SimulatedAudioFiles files;
  files.sounds["/a.wav"] = {48000, {std::vector<float>(48000, 0.5F)}, {}, 0};
  EnginePlatform platform = machine.forEngine();
  platform.files = &files;
  const auto engine = AudioEngine::make(platform);
  machine.mainQueue.runAll();
  const auto channel = engine->addChannel("Track");
  ChannelConfig record;
  record.playbackFilePath = "/a.wav";
  engine->playbackLoader().loadPlaybackInstrument(*channel, record);
  const int opened = files.openCount;
  std::size_t notes = 0;
  for ([[maybe_unused]] auto turn : state) {
    engine->playbackRuns().triggerPlayback(*channel);
    if (++notes % 1024 == 0) {
      state.PauseTiming();
      machine.queues.queue("vrel.playback.player").runAll();
      machine.mainQueue.runAll();
      state.ResumeTiming();
    }
  }
  state.counters["files_opened"] = files.openCount - opened;
}
BENCHMARK(triggerPlayback);

/// The player queue's work for a note: stop, schedule with the first frames read, play. The next block must sound.
void runTask(benchmark::State& state) {
  const Tracks tracks;
  audio::test::OfflinePlayers stage;
  const auto player = stage.addPlayer();
  const auto file = tracks.open(0);
  double silentBlocks = 0;
  for ([[maybe_unused]] auto turn : state) {
    player->stop();
    player->scheduleSegment(file, 1000, 100000, [] {});
    player->play();
    state.PauseTiming();
    silentBlocks += stage.device->renderBlock().left[0] == 0 ? 1 : 0;
    state.ResumeTiming();
  }
  state.counters["silent_blocks"] = silentBlocks;
}
BENCHMARK(runTask)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
// Clips: latency from a note to the picture, and decoding time relative to the ffmpeg program on the same file.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "channel/audio_channel.h"
#include "document/plugin_path.h"
#include "foundation/mutex.h"
#include "simulation/virtual_time.h"
#include "system/media/clip_decoder.h"
#include "system/media/clip_factory.h"
#include "visuals/visual_engine.h"

namespace vrel::system {
namespace {

constexpr int clipCount = 50;

/// Two files of 1080 lines that differ only in their length, made once and removed at the end.
class Files {
 public:
  Files()
      : folder_(std::filesystem::temp_directory_path() / ("vrel_clip_bench_" + std::to_string(std::time(nullptr)))) {
    std::filesystem::create_directories(folder_);
    run("-f lavfi -i testsrc2=size=1920x1080:rate=30:duration=4 -c:v libx264 -preset superfast -pix_fmt yuv420p " +
        shortOne());
    run("-stream_loop 149 -i " + shortOne() + " -c copy " + longOne());
  }
  ~Files() { std::filesystem::remove_all(folder_); }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  [[nodiscard]] std::string shortOne() const { return folder_ / "short.mp4"; }  // 4 seconds
  [[nodiscard]] std::string longOne() const { return folder_ / "long.mp4"; }    // 10 minutes

  static int run(const std::string& arguments) {
    return std::system(("ffmpeg -nostdin -loglevel error -y " + arguments).c_str());
  }

 private:
  std::filesystem::path folder_;
};

const Files& files() {
  static const Files made;
  return made;
}

/// A main queue on virtual time, to which other threads post.
class PostedQueue final : public simulation::CrankedMainQueue {
 public:
  using CrankedMainQueue::CrankedMainQueue;
  void async(Work work) override {
    const MutexLock lock(mutex_);
    posted_.push_back(std::move(work));
  }
  void runPosted() {
    std::vector<Work> posted;
    {
      const MutexLock lock(mutex_);
      posted.swap(posted_);
    }
    for (const auto& work : posted) {
      work();
    }
  }

 private:
  Mutex mutex_;
  std::vector<Work> posted_ VREL_GUARDED_BY(mutex_);
};

/// 50 visual notes on one channel, all prepared, on a stopped clock.
struct Show {
  explicit Show(const std::string& path)
      : channel(std::make_shared<AudioChannel>("Clips", std::weak_ptr<ChannelMixer>())) {
    std::vector<VisualClipMapping> mappings(clipCount);
    for (std::size_t index = 0; index < mappings.size(); ++index) {
      mappings[index].note = static_cast<std::uint8_t>(index);
      mappings[index].filePath = path;
    }
    channel->pluginPath.set(std::string(pathVisual));
    channel->visualClipMappings.set(mappings);
    engine.loadChannel(*channel, nullptr);
    while (engine.pendingLoads() > 0) {
      mainQueue.runPosted();
      std::this_thread::yield();
    }
    for (const auto& [key, player] : engine.playersByChannelAndNote()) {
      while (player->player->copyPicture() == nullptr) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    }
  }

  simulation::VirtualClock clock;
  PostedQueue mainQueue{clock};
  ClipFactory factory{clock};
  VrelVisualEngine engine{&factory, mainQueue};
  std::shared_ptr<AudioChannel> channel;
};

void noteToFirstPicture(benchmark::State& state, const std::string& path) {
  Show show(path);
  std::uint8_t note = 0;
  double worst = 0;
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    show.engine.noteOn(note, *show.channel);
    const auto picture = show.engine.activePlayers.get().back()->player->copyPicture();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    state.SetIterationTime(taken.count());
    worst = std::max(worst, taken.count());
    if (picture == nullptr || picture->seconds() != 0) {
      state.SkipWithError("the note did not show its first picture");
      break;
    }
    show.engine.noteOff(note, *show.channel);
    show.mainQueue.advance(1);
    note = static_cast<std::uint8_t>((note + 1) % clipCount);
  }
  state.counters["worst_ms"] = worst * 1000;
}

void noteOnShortClip(benchmark::State& state) {
  noteToFirstPicture(state, files().shortOne());
}
void noteOnLongClip(benchmark::State& state) {
  noteToFirstPicture(state, files().longOne());
}
BENCHMARK(noteOnShortClip)->UseManualTime()->Iterations(clipCount)->Unit(benchmark::kMicrosecond);
BENCHMARK(noteOnLongClip)->UseManualTime()->Iterations(clipCount)->Unit(benchmark::kMicrosecond);

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double processorSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

// Both read the file from its opening to its end and discard the pictures.
void decodeBesideFfmpeg(benchmark::State& state) {
  const auto path = files().shortOne();
  double own = 0;
  double theirs = 0;
  for (auto _ : state) {
    const double ownBefore = processorSeconds(RUSAGE_SELF);
    std::size_t pictures = 0;
    {
      const auto decoder = ClipDecoder::open(path, nullptr);
      while (decoder.ok() && decoder.value()->next() != nullptr) {
        ++pictures;
      }
    }
    own += processorSeconds(RUSAGE_SELF) - ownBefore;
    const double theirsBefore = processorSeconds(RUSAGE_CHILDREN);
    const int status = Files::run("-i " + path + " -an -f null -");
    theirs += processorSeconds(RUSAGE_CHILDREN) - theirsBefore;
    if (pictures != 120 || status != 0) {
      state.SkipWithError("not all pictures were decoded");
      break;
    }
  }
  state.counters["processor_time_ratio"] = own / theirs;
}
BENCHMARK(decodeBesideFfmpeg)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace vrel::system

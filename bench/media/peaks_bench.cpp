// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "playback/waveform_reader.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/virtual_time.h"
#include "system/media/audio_files.h"

// The peaks of ten minutes of stereo noise, beside what the ffmpeg program takes to decode the same file on one thread;
// and how soon a file of three hours is there, at first and when its peaks are kept.

namespace vrel {
namespace {

constexpr std::array peakFormats{"wav", "flac", "mp3", "ogg"};

/// Made by the ffmpeg program in a folder that is removed at the end.
class PeakTracks {
 public:
  PeakTracks() { std::filesystem::create_directories(folder_); }
  ~PeakTracks() { std::filesystem::remove_all(folder_); }
  PeakTracks(const PeakTracks&) = delete;
  PeakTracks& operator=(const PeakTracks&) = delete;

  [[nodiscard]] std::string path(std::size_t format) const {
    const std::string path = (folder_ / "ten.").string() + peakFormats.at(format);
    if (!std::filesystem::exists(path)) {
      run("ffmpeg -loglevel quiet -f lavfi -i "
          "anoisesrc=color=pink:amplitude=0.3:sample_rate=48000:duration=600:seed=1 -ac 2 " +
          path);
    }
    return path;
  }

  /// Three hours of silence, 48000 frames a second, stereo, 16 bits; takes no room on the disk.
  [[nodiscard]] std::string threeHours() const {
    const std::string path = (folder_ / "three-hours.wav").string();
    if (!std::filesystem::exists(path)) {
      run("ffmpeg -loglevel quiet -f lavfi -i anullsrc=r=48000:cl=stereo -t 0.001 -bitexact " + path);
      constexpr std::uint32_t dataBytes = 3 * 3600 * 48000U * 4;
      std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
      for (const auto& [place, value] : {std::pair(4, dataBytes + 36), std::pair(40, dataBytes)}) {
        file.seekp(place);
        file.write(reinterpret_cast<const char*>(&value), sizeof value);
      }
      file.close();
      std::filesystem::resize_file(path, std::uintmax_t{dataBytes} + 44);
    }
    return path;
  }

  static void run(const std::string& command) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before any other thread
    if (std::system(command.c_str()) != 0) {
      std::abort();
    }
  }

 private:
  const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "vrel-peaks-bench";
};

const PeakTracks& peakTracks() {
  static const PeakTracks tracks;
  return tracks;
}

void readPeaks(WaveformReader& reader, const std::string& path, simulation::CrankedQueueFactory& queues,
               simulation::CrankedMainQueue& mainQueue) {
  bool isComplete = false;
  reader.read(path, [&isComplete](const auto& progress) { isComplete = progress.isComplete; });
  queues.queue("vrel.waveform.scan").runAll();
  mainQueue.runAll();
  if (!isComplete) {
    std::abort();
  }
}

/// Read (0), or taken from the cache (1).
void peaksOfTenMinutes(benchmark::State& state) {
  const std::string path = peakTracks().path(static_cast<std::size_t>(state.range(0)));
  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedFileManager disk;
  system::AudioFiles files;
  WaveformReader reader({&files, queues, mainQueue, &disk, "/cache"});
  if (state.range(1) == 1) {
    readPeaks(reader, path, queues, mainQueue);
  }
  for (auto _ : state) {
    if (state.range(1) == 0) {
      disk.files.clear();
    }
    readPeaks(reader, path, queues, mainQueue);
  }
  state.SetLabel(peakFormats.at(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(peaksOfTenMinutes)->ArgsProduct({{0, 1, 2, 3}, {0, 1}})->Unit(benchmark::kMillisecond);

void threeHoursOpen(benchmark::State& state) {
  const std::string path = peakTracks().threeHours();
  system::AudioFiles files;
  for (auto _ : state) {
    const auto file = files.openForReading(path);
    if (!file || file.value()->length() != std::int64_t{3} * 3600 * 48000) {
      std::abort();
    }
  }
}
BENCHMARK(threeHoursOpen)->Unit(benchmark::kMillisecond);

void threeHoursAreKept(benchmark::State& state) {
  const std::string path = peakTracks().threeHours();
  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedFileManager disk;
  system::AudioFiles files;
  WaveformReader reader({&files, queues, mainQueue, &disk, "/cache"});
  readPeaks(reader, path, queues, mainQueue);
  for (auto _ : state) {
    readPeaks(reader, path, queues, mainQueue);
  }
}
BENCHMARK(threeHoursAreKept)->Unit(benchmark::kMillisecond);

void ffmpegDecodesTenMinutes(benchmark::State& state) {
  const std::string path = peakTracks().path(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    PeakTracks::run("ffmpeg -loglevel quiet -threads 1 -i " + path + " -f null -");
  }
  state.SetLabel(peakFormats.at(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(ffmpegDecodesTenMinutes)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace vrel

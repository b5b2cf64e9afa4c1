// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "platform/dispatch.h"
#include "playback/waveform_peaks.h"

namespace vrel {

class AudioFileFactory;
class AVAudioFile;
class FileManager;

/// Reads what a waveform shows of one sound file, on threads of its own, and reports it on the main queue as it grows.
///
/// Peaks that were read to the end are kept in a folder, under the identity of the sound file (device, inode, size and
/// times), and come from there the next time. A damaged file in it is made again, and one that cannot be written costs
/// the time only.
///
/// Threads: main thread. The end waits for one chunk.
class WaveformReader {
 public:
  struct Collaborators {
    AudioFileFactory* files;  // null where the program reads no sound files
    DispatchQueueFactory& queues;
    MainQueue& mainQueue;
    FileManager* cacheFiles;  // for the reader's thread alone; null to keep nothing
    std::filesystem::path cacheFolder;
  };

  /// What is known of the file by now: first its length, then more and more of its peaks.
  struct Progress {
    Outcome failure;  // the file cannot be opened
    WaveformPeaks peaks;
    bool isComplete = false;
  };
  using Heard = std::function<void(const Progress&)>;

  /// The most frames that `readColumns` reads.
  static constexpr std::int64_t mostDetailFrames = std::int64_t{1} << 18;
  /// The most files that are kept in the folder.
  static constexpr std::size_t mostKept = 400;

  /// All are borrowed.
  explicit WaveformReader(const Collaborators& collaborators);
  ~WaveformReader();
  WaveformReader(const WaveformReader&) = delete;
  WaveformReader& operator=(const WaveformReader&) = delete;

  /// Begins with this file, in place of any other.
  void read(const std::string& path, Heard heard);

  /// Nothing is reported any more.
  void stop();

  /// Columns out of the frames themselves. A later call takes the place of one that has not begun; what cannot be read
  /// is not reported.
  void readColumns(std::int64_t from, std::int64_t frames, std::size_t count,
                   std::function<void(std::vector<WaveformColumn>)> done);

  /// The frame of the zero crossing nearest to this one, within 50 ms.
  void findZeroCrossing(std::int64_t near, std::function<void(std::optional<std::int64_t>)> done);

  /// Whether the file is another one by now, or has gone.
  void findChange(std::function<void(bool hasChanged)> done);

 private:
  struct Job;

  void report(const std::shared_ptr<Job>& job, Progress progress);
  void scan(const std::shared_ptr<Job>& job);
  /// None where it cannot be read to its end, or is dropped.
  [[nodiscard]] std::optional<WaveformPeaks> scan(const std::shared_ptr<Job>& job, AVAudioFile& file);
  [[nodiscard]] std::optional<WaveformPeaks> keptPeaks(const std::string& identity);
  void keep(const WaveformPeaks& peaks, const std::string& identity);
  void makeRoom();
  void detail(std::function<std::function<void()>(Job&)> work);
  [[nodiscard]] bool openForDetail(Job& job);
  [[nodiscard]] std::filesystem::path keptPath(const std::string& identity) const;

  AudioFileFactory* const files_;
  MainQueue& mainQueue_;
  FileManager* const cacheFiles_;
  const std::filesystem::path cacheFolder_;
  std::shared_ptr<Job> job_;
  // Last: the end of a queue waits for the work under way.
  std::unique_ptr<DispatchQueue> scanQueue_;
  std::unique_ptr<DispatchQueue> detailQueue_;
};

}  // namespace vrel

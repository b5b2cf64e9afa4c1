// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "playback/playback_preparation.h"

namespace vrel {

class AudioFileFactory;
class DispatchQueue;
class DispatchQueueFactory;

/// The audio that a setlist plays, decoded ahead on threads of its own, so that a song with long files goes on stage
/// without waiting for them.
///
/// What it holds is bounded and known by the identity of the file and the range: a file that was changed is not
/// taken from here any more. Where the platform knows no identities, nothing is decoded ahead.
///
/// `decodeAhead` and `prepared` on the main thread; neither waits for decoding. The end waits for one chunk.
class PlaybackCache {
 public:
  static constexpr std::uint64_t defaultBytes = std::uint64_t{1} << 30U;

  struct Range {
    std::string path;
    double start = 0;  // seconds, as configured
    double end = 0;

    bool operator==(const Range&) const = default;
  };

  /// The files are borrowed.
  PlaybackCache(AudioFileFactory& files, DispatchQueueFactory& queues, std::uint64_t mostBytes = defaultBytes);
  ~PlaybackCache();
  PlaybackCache(const PlaybackCache&) = delete;
  PlaybackCache& operator=(const PlaybackCache&) = delete;

  /// Decodes these, the first ones first, as far as they fit, and drops everything else.
  void decodeAhead(std::vector<Range> wanted);

  /// The range with all that playing it needs, read from memory; none while it is not decoded.
  [[nodiscard]] std::optional<PreparedPlayback> prepared(const Range& range);

 private:
  struct Entry {
    Range range;
    std::string identity;
    std::int64_t fileFrames = 0;
    std::uint64_t bytes = 0;
    std::optional<PreparedPlayback> playback;  // without its file; none while it is decoded, and for what cannot be
    bool isUnderWay = true;
  };
  using Entries = std::vector<Entry>;

  [[nodiscard]] static bool isOf(const Entry& entry, const Range& range);
  [[nodiscard]] Entries::iterator find(const Range& range) VREL_REQUIRES(mutex_);
  [[nodiscard]] Entries::iterator findUnderWay(const Range& range) VREL_REQUIRES(mutex_);
  [[nodiscard]] std::size_t placeOf(const Entry& entry) const VREL_REQUIRES(mutex_);
  void work();
  [[nodiscard]] std::optional<Range> beginNext();
  [[nodiscard]] Entry decode(const Range& range);
  [[nodiscard]] bool readRange(const Range& range, PreparedPlayback& playback);
  [[nodiscard]] bool reserve(const Range& range, std::uint64_t bytes);
  [[nodiscard]] bool isWanted(const Range& range);
  void end(Entry decoded);

  AudioFileFactory& files_;
  const std::uint64_t mostBytes_;
  std::atomic<bool> isOver_{false};
  Mutex mutex_;
  std::vector<Range> wanted_ VREL_GUARDED_BY(mutex_);
  Entries entries_ VREL_GUARDED_BY(mutex_);
  // Last: the end of a queue waits for the work under way.
  std::vector<std::unique_ptr<DispatchQueue>> queues_;
};

}  // namespace vrel

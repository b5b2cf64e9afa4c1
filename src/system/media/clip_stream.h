// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "system/media/clip_decoder.h"

namespace vrel::system {

/// One clip between the thread that shows it and the thread that decodes it.
///
/// Its first pictures are decoded ahead and kept: at most `keptPictures`, and no more after `keptBytes`, but at
/// least one. That is what a prepared clip takes in memory, besides the container's index; its codec is released.
/// Once started, decoding goes on behind those, at most `aheadPictures` pictures before they are due. A clip with no
/// more pictures than are kept is never decoded again.
///
/// The next pass begins where the last picture ends. Pictures that come too late are shown late; the clip
/// holds its last one until then.
///
/// Threads: `picture` on any, by any number of takers, each at its own rate; the rest of what shows the clip on one
/// thread; `step` and `request` on any, one at a time. Whoever shows the clip waits for a few assignments at most.
class ClipStream {
 public:
  static constexpr std::size_t keptPictures = 8;
  static constexpr std::size_t keptBytes = std::size_t{24} << 20;
  static constexpr std::size_t aheadPictures = 16;  // with kept ones to come and recent ones
  /// How far apart the instants may be that takers ask for at one time: a taker of a slow screen asks for what will be
  /// due when its next picture shows.
  static constexpr double takersApart = 0.05;  // seconds

  enum class Request { nothing, preparing, suspending, decoding };

  /// `isOver` interrupts reading; it outlives the stream's last `step`.
  ClipStream(std::string path, const std::atomic<bool>& isOver);

  // For what shows the clip. Times are the media clock's, in seconds.
  void rewind();
  void play(double now);
  void pause(double now);
  /// What is due at an instant, which lies at most `takersApart` before the latest that was asked for.
  [[nodiscard]] ClipPicturePointer picture(double instant);
  void setForwardBuffer(double seconds);
  void setLooping(bool loops);

  // For the thread that decodes it.
  /// The most useful next step.
  [[nodiscard]] Request request() const;
  /// Opens the file, decodes one picture, begins another pass or releases the codec.
  void step();

  /// The first pictures are ready, or it is known that there are none.
  [[nodiscard]] bool isPrepared() const;
  /// What the kept pictures take: bytes.
  [[nodiscard]] std::size_t keptByteCount() const;

 private:
  struct Timed {
    double seconds;  // from the start of the first pass
    ClipPicturePointer picture;
  };

  void prepare();
  void keep(ClipPicturePointer picture);
  void endPreparation(bool isWholeClip);
  void decode();
  void endPass();
  void followFromStart();
  void queueKept(double passStart) VREL_REQUIRES(mutex_);
  [[nodiscard]] double positionAt(double now) VREL_REQUIRES(mutex_);
  [[nodiscard]] ClipPicturePointer pictureOfWholeClip(double position) VREL_REQUIRES(mutex_);

  const std::string path_;
  const std::atomic<bool>& isOver_;

  // Used by `step` only.
  std::unique_ptr<ClipDecoder> decoder_;
  double passStart_ = 0;

  mutable Mutex mutex_;
  std::vector<ClipPicturePointer> kept_ VREL_GUARDED_BY(mutex_);
  std::size_t keptBytes_ VREL_GUARDED_BY(mutex_) = 0;
  bool isPrepared_ VREL_GUARDED_BY(mutex_) = false;
  bool isWhole_ VREL_GUARDED_BY(mutex_) = false;            // all pictures are kept
  double passSeconds_ VREL_GUARDED_BY(mutex_) = 0;          // of a whole clip
  bool isAwake_ VREL_GUARDED_BY(mutex_) = false;            // the codec is there
  std::uint64_t start_ VREL_GUARDED_BY(mutex_) = 0;         // counts rewinds
  std::uint64_t decodedStart_ VREL_GUARDED_BY(mutex_) = 0;  // the one that decoding follows
  std::size_t skipped_ VREL_GUARDED_BY(mutex_) = 0;         // kept pictures that decoding has yet to pass by
  std::deque<Timed> ahead_ VREL_GUARDED_BY(mutex_);
  std::deque<Timed> recent_ VREL_GUARDED_BY(mutex_);  // due at the latest instant, and a little before
  bool isPlaying_ VREL_GUARDED_BY(mutex_) = false;
  bool loops_ VREL_GUARDED_BY(mutex_) = true;
  bool hasEnded_ VREL_GUARDED_BY(mutex_) = false;
  double forwardBuffer_ VREL_GUARDED_BY(mutex_) = 0.25;      // seconds
  double position_ VREL_GUARDED_BY(mutex_) = 0;              // while paused
  std::optional<double> startedAt_ VREL_GUARDED_BY(mutex_);  // media time of position 0, from the first picture on
};

}  // namespace vrel::system

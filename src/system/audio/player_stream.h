// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/thread_roles.h"
#include "platform/audio_buffer.h"
#include "platform/audio_converter.h"
#include "system/audio/playback_fifo.h"
#include "system/audio/render_counters.h"

namespace vrel {
class AVAudioFile;
}  // namespace vrel

namespace vrel::audio {

/// What a player is to play, and the way of its frames from the disk to the block.
///
/// Scenario: a segment is scheduled, and its first frames are read at once, by the caller; `play` makes them
/// sound from the next block on; the feeder reads the rest ahead of the block. Each run fills a fifo of its
/// own, so that a stop and a new run need not wait for the block under way.
///
/// A segment is consumed when the audio thread has taken its last frame, with what the conversion holds of it. Its
/// completion handler is called then, or at a stop, without a lock held.
///
/// A segment that is scheduled while the stream is repeating is read again and again. At the end of each pass the audio
/// thread goes on into the next one as long as the stream is repeating then, and the handler is called for the pass
/// that ended; the segment is then awaited: scheduled again, it is the one that sounds already.
///
/// Threads: schedule, play and prepare on the player queue; `stop` there or on the main thread; `feed` and
/// `finish` on the feeder's; `setSampleRate` on the main thread; fifos are taken and left on the audio thread.
/// `io_` is held while frames are read and is never taken by `stop` or the audio thread; `state_` is held for moments.
class PlayerStream {
 public:
  static constexpr std::uint32_t lookahead = 4096;  // device frames in which a conversion must be finished

  struct Segment {
    std::shared_ptr<AVAudioFile> file;         // either this
    std::shared_ptr<AVAudioPCMBuffer> buffer;  // or this
    std::int64_t start = 0;                    // frame
    std::int64_t frameCount = 0;
    bool loops = false;
    std::function<void()> completionHandler;

    std::int64_t done = 0;     // frames that have been read
    std::uint64_t endsAt = 0;  // the fifo's frame behind its last, once all are read
    bool repeats = false;
    bool isAwaited = false;        // its handler was called for a pass, and it sounds on
    std::uint64_t passesDone = 0;  // for which the handler was called
    [[nodiscard]] bool isRead() const { return done >= frameCount; }
    [[nodiscard]] AVAudioFormat format() const;
  };

  /// Without converters every file sounds at the device's rate.
  PlayerStream(std::shared_ptr<AudioConverterFactory> converters, std::shared_ptr<RenderCounters> counters);
  PlayerStream(const PlayerStream&) = delete;
  PlayerStream& operator=(const PlayerStream&) = delete;

  void schedule(Segment segment);
  void play();
  void stop();
  void prepare();
  [[nodiscard]] bool isPlaying() const;

  /// Whether the next pass follows by itself. Any thread.
  void setRepeating(bool isRepeating) { isRepeating_.store(isRepeating); }
  [[nodiscard]] bool isRepeating() const { return isRepeating_.load(); }
  /// Whether a pass for which the handler was called is followed by another one, which sounds.
  [[nodiscard]] bool hasContinued() const;

  void setSampleRate(double sampleRate) { sampleRate_.store(sampleRate); }

  /// Reads the next frames if there is room for them, and calls the handlers of consumed segments. False when there
  /// was nothing to do.
  bool feed();

  /// Whether it has to be fed again without a wake.
  [[nodiscard]] bool isActive();

  /// Gives what lags behind in the conversion when nothing follows in time: no more than `frames` are left.
  bool finish(std::uint32_t frames);

  /// The fifo that sounds, kept from being filled again until it is left; null for silence.
  [[nodiscard]] PlaybackFifo* acquireFifo() noexcept VREL_AUDIO_THREAD;
  void releaseFifo() noexcept VREL_AUDIO_THREAD { entered_.store(nullptr, std::memory_order_release); }

 private:
  using Handlers = std::vector<std::function<void()>>;
  using Rates = std::array<double, 2>;  // in, out

  void append(Segment segment) VREL_REQUIRES(io_, state_);
  void takeFreeFifo() VREL_REQUIRES(io_, state_);
  [[nodiscard]] bool wantsHead();
  [[nodiscard]] bool readSome() VREL_REQUIRES(io_);
  void readFile(const Segment& segment, AVAudioPCMBuffer& to, std::uint32_t frames);
  void readAside(const Segment& segment, std::uint32_t frames) VREL_REQUIRES(io_);
  [[nodiscard]] bool converts(const Rates& rates) const;
  void moveToFifo(std::uint32_t frames, const Rates& rates, bool isStraight) VREL_REQUIRES(io_, state_);
  void convertAndWrite(std::uint32_t frames) VREL_REQUIRES(io_, state_);
  [[nodiscard]] Segment* nextUnread() VREL_REQUIRES(state_);
  void noteCompletion() VREL_REQUIRES(io_, state_);
  [[nodiscard]] bool isAwaiting(const Segment& segment) const VREL_REQUIRES(state_);
  [[nodiscard]] bool isReadToItsEnd(const Segment& segment) const VREL_REQUIRES(state_);
  [[nodiscard]] Handlers takeConsumed() VREL_REQUIRES(state_);
  [[nodiscard]] std::uint64_t endOfPass() const VREL_REQUIRES(io_, state_);
  [[nodiscard]] bool mayRest() const;
  void noteNextLook() VREL_REQUIRES(io_, state_);

  const std::shared_ptr<AudioConverterFactory> converters_;
  const std::shared_ptr<RenderCounters> counters_;
  std::atomic<double> sampleRate_{0};
  std::atomic<bool> isRepeating_{false};

  Mutex io_;  // before state_
  std::shared_ptr<AVAudioPCMBuffer> scratch_ VREL_GUARDED_BY(io_);
  std::array<const float*, 2> read_ VREL_GUARDED_BY(io_){};  // what was read last but not straight into the fifo
  std::array<std::vector<float>, 2> silence_ VREL_GUARDED_BY(io_);
  std::unique_ptr<AVAudioConverter> converter_ VREL_GUARDED_BY(io_);
  Rates converterRates_ VREL_GUARDED_BY(io_){};  // equal for none
  std::uint64_t lastSerial_ VREL_GUARDED_BY(io_) = 0;

  std::uint64_t convertedFrom_ VREL_GUARDED_BY(io_) = 0;    // the fifo's frame at which the conversion began
  std::uint64_t convertedFrames_ VREL_GUARDED_BY(io_) = 0;  // that went into it

  mutable Mutex state_;
  std::deque<Segment> segments_ VREL_GUARDED_BY(state_);  // consumed ones are gone
  std::uint64_t generation_ VREL_GUARDED_BY(state_) = 0;
  std::vector<std::unique_ptr<PlaybackFifo>> fifos_ VREL_GUARDED_BY(state_);
  PlaybackFifo* filling_ VREL_GUARDED_BY(state_) = nullptr;
  bool isPlaying_ VREL_GUARDED_BY(state_) = false;
  bool isFinished_ VREL_GUARDED_BY(state_) = false;  // nothing lags behind in the converter

  // Until so many frames of this fifo have been taken there is nothing to do; null to look at once.
  std::atomic<const PlaybackFifo*> resting_{nullptr};
  std::atomic<std::uint64_t> nextLook_{0};

  std::atomic<PlaybackFifo*> sounding_{nullptr};
  std::atomic<PlaybackFifo*> entered_{nullptr};
};

}  // namespace vrel::audio

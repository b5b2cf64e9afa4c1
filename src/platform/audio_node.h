// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/audio_buffer.h"

namespace vrel {

class AVAudioFile;

/// One node of the audio graph. Nodes are shared between the channel that uses them and the graph
/// they are attached to. All operations: main thread.
class AVAudioNode {
 public:
  /// Receives the samples that passed the node. Called on a tap thread, never on the audio thread, and
  /// not before `installTap` has returned; no longer called once `removeTap` has returned.
  using TapBlock = std::function<void(const AVAudioPCMBuffer&)>;

  virtual ~AVAudioNode() = default;

  /// The format of the stream into or out of the node; a channel count of 0 where nothing is
  /// connected and the node has no format of its own.
  [[nodiscard]] virtual AVAudioFormat inputFormat(int bus) const = 0;
  [[nodiscard]] virtual AVAudioFormat outputFormat(int bus) const = 0;

  /// Hands every `bufferSize` frames that leave the node to `block`. With no format the node's own
  /// is used: on a mixer that is what came in, before its output level and before a mono input is
  /// copied to both channels. One tap per node; a second replaces the first. May be called while audio runs.
  virtual void installTap(int bus, std::uint32_t bufferSize, std::optional<AVAudioFormat> format, TapBlock block) = 0;
  virtual void removeTap(int bus) = 0;
};

/// The input gain of a source at a mixer.
class AVAudioMixing {
 public:
  virtual ~AVAudioMixing() = default;
  virtual void setVolume(float linearGain) = 0;
  [[nodiscard]] virtual float volume() const = 0;
};

/// Sums its inputs to stereo. A mono input goes to both channels.
class AVAudioMixerNode : public AVAudioNode {
 public:
  /// Linear gain of the output. Reads back as set; the node ramps to it.
  virtual void setOutputVolume(float linearGain) = 0;
  [[nodiscard]] virtual float outputVolume() const = 0;
};

/// The end of the graph: the output device.
class AVAudioOutputNode : public AVAudioNode {};

/// The strip's reverb. The dry signal passes at unity gain; the wet signal is added.
class AVAudioUnitReverb : public AVAudioNode {
 public:
  /// Preset 12, a large hall, is the one in use; any other number gives the same hall.
  virtual void loadFactoryPreset(int preset) = 0;

  /// Percent; 0 is dry. Any value is stored and read back; rendering limits it to 0 to 100.
  virtual void setWetDryMix(float percent) = 0;
  [[nodiscard]] virtual float wetDryMix() const = 0;
};

enum class AVAudioPlayerNodeBufferOptions : std::uint32_t { none = 0, loops = 1 };

/// Plays segments of audio files and buffers, one after the other, in the order in which they were scheduled.
///
/// Its own operations may be called from any one thread at a time and may wait for the disk; `stop` never
/// waits, and may be called from another thread.
class AVAudioPlayerNode : public AVAudioNode, public AVAudioMixing {
 public:
  /// Called once, on any thread: when the last frame of what was scheduled has been played, or when the node is
  /// stopped. Must only hand on, and never wait.
  using CompletionHandler = std::function<void()>;

  /// Forgets what is scheduled, and is silent from the next block on, but for a ramp of 64 frames at most.
  virtual void stop() = 0;

  /// Renders what is scheduled from the next block on.
  virtual void play() = 0;

  /// Whether `play` was called after the last `stop`. Any thread.
  [[nodiscard]] virtual bool isPlaying() const = 0;

  /// Announces that a segment is scheduled again by its completion handler, for as long as this holds at its end: the
  /// next pass then follows without a gap, before the handler is called. Set before the segment is scheduled. Any
  /// thread.
  virtual void setRepeating(bool isRepeating) = 0;

  /// Whether the pass for which a completion handler was called last is followed by another one already. Any thread.
  [[nodiscard]] virtual bool hasContinued() const = 0;

  /// Makes ready for a run of at least this many frames, so that the run itself need not.
  virtual void prepareWithFrameCount(std::uint32_t frameCount) = 0;

  /// Schedules `frameCount` frames of a file from `startingFrame` on. Frames that cannot be read are silent.
  virtual void scheduleSegment(const std::shared_ptr<AVAudioFile>& file, std::int64_t startingFrame,
                               std::uint32_t frameCount, CompletionHandler completionHandler) = 0;

  /// Schedules a buffer, once or, with `loops`, repeatedly until the node is stopped.
  virtual void scheduleBuffer(const std::shared_ptr<AVAudioPCMBuffer>& buffer, AVAudioPlayerNodeBufferOptions options,
                              CompletionHandler completionHandler) = 0;
};

}  // namespace vrel

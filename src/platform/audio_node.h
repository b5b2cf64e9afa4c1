// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/audio_buffer.h"

namespace vrel {

/// One node of the audio graph. Nodes are shared between the channel that uses them and the graph
/// they are attached to. All operations are for the main thread.
class AVAudioNode {
 public:
  /// Gets the samples that passed the node. Called on a tap thread, never on the audio thread, and
  /// not before `installTap` has returned; not called any more once `removeTap` has returned.
  using TapBlock = std::function<void(const AVAudioPCMBuffer&)>;

  virtual ~AVAudioNode() = default;

  /// The format of the stream into or out of the node; a channel count of 0 where nothing is
  /// connected and the node has no format of its own.
  [[nodiscard]] virtual AVAudioFormat inputFormat(int bus) const = 0;
  [[nodiscard]] virtual AVAudioFormat outputFormat(int bus) const = 0;

  /// Hands every `bufferSize` frames that leave the node to `block`. With no format the node's own
  /// is used: on a mixer that is what came in, before its output level and before a mono input is
  /// spread to two sides. One tap per node; a second replaces the first. May be called while audio runs.
  virtual void installTap(int bus, std::uint32_t bufferSize, std::optional<AVAudioFormat> format, TapBlock block) = 0;
  virtual void removeTap(int bus) = 0;
};

/// What a source offers that has a level of its own on its way into a mixer.
class AVAudioMixing {
 public:
  virtual ~AVAudioMixing() = default;
  virtual void setVolume(float linearGain) = 0;
  [[nodiscard]] virtual float volume() const = 0;
};

/// Sums its inputs to stereo. A mono input goes to both sides.
class AVAudioMixerNode : public AVAudioNode {
 public:
  /// Linear factor on the output. What is set here is read back; the node itself ramps to it.
  virtual void setOutputVolume(float linearGain) = 0;
  [[nodiscard]] virtual float outputVolume() const = 0;
};

/// The end of the graph: the device.
class AVAudioOutputNode : public AVAudioNode {};

/// The strip's reverb. The dry path is unity; the wet part is added to it.
class AVAudioUnitReverb : public AVAudioNode {
 public:
  /// Preset 12, a large hall, is the one in use; any other number gives the same hall.
  virtual void loadFactoryPreset(int preset) = 0;

  /// Percent; 0 is dry. Any value is stored and read back; what sounds is limited to 0 to 100.
  virtual void setWetDryMix(float percent) = 0;
  [[nodiscard]] virtual float wetDryMix() const = 0;
};

/// Plays an audio file. Main thread, except where an operation says otherwise.
class AVAudioPlayerNode : public AVAudioNode, public AVAudioMixing {
 public:
  virtual void stop() = 0;
};

}  // namespace vrel

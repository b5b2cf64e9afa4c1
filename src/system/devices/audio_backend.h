// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "system/audio/output_device.h"

namespace vrel::system {

class JackMidiInlet;

/// A device as a backend lists it. `name` is stable from run to run and, within the backend, unique.
struct AudioDeviceDescription {
  std::string name;
  std::string title;  // for people
  std::uint32_t outputChannels = 0;
  bool isDefaultOutput = false;
};

/// An open output, closed by its destructor. One thread at a time, but for what is marked.
class OutputStream {
 public:
  virtual ~OutputStream() = default;

  /// Frames per second, and of a block.
  [[nodiscard]] virtual double sampleRate() const = 0;
  [[nodiscard]] virtual std::uint32_t blockFrames() const = 0;

  /// Changes the size of the blocks of an open stream; false when it has to be reopened for that.
  [[nodiscard]] virtual bool changeBlockFrames(std::uint32_t frames) = 0;

  /// Begins to ask for blocks, on a thread of the backend.
  [[nodiscard]] virtual Outcome start(audio::BlockRenderer& renderer) = 0;

  /// Once it has returned, no block is asked for. Returns also when the device is lost.
  virtual void stop() = 0;

  /// Why no more blocks will come, once that is so. Any thread.
  [[nodiscard]] virtual std::optional<std::string> lossReason() const = 0;

  /// Blocks that came too late and were heard as gaps. Any thread.
  [[nodiscard]] virtual std::uint64_t underruns() const = 0;

  /// The name of the device that the backend would choose now, where that can be asked while sound is played. Asked
  /// once a second, from one thread, any; a sound server may hold it up.
  [[nodiscard]] virtual std::optional<std::string> systemDefault() { return std::nullopt; }
};

/// One way to the machine's audio devices. One thread at a time. It outlives its streams.
class AudioBackend {
 public:
  virtual ~AudioBackend() = default;

  /// What the UIDs of its devices begin with.
  [[nodiscard]] virtual std::string uidPrefix() const = 0;

  /// Whether all its devices are behind one server, so that none of them answers while it hangs.
  [[nodiscard]] virtual bool isServer() const { return true; }

  /// The devices of this moment, inputs too; none when there is nothing behind this way.
  [[nodiscard]] virtual std::vector<AudioDeviceDescription> devices() = 0;

  /// Whether the list may differ from the last one, for whoever asks again and again while sound is played.
  [[nodiscard]] virtual bool mayHaveChanged() const { return true; }

  /// Opens a device for stereo output, with blocks of `frames` where it lets itself be asked.
  [[nodiscard]] virtual Result<std::unique_ptr<OutputStream>> open(const std::string& deviceName,
                                                                   std::optional<std::uint32_t> frames) = 0;
};

/// The name of the output that the list marks as the default, or else of the first one.
[[nodiscard]] std::optional<std::string> defaultOutput(const std::vector<AudioDeviceDescription>& devices);

using AudioBackends = std::vector<std::unique_ptr<AudioBackend>>;

/// JACK, ALSA and PulseAudio, in this order. None of them is started. Without a name, JACK's server is the one that
/// is usual for the user. With an inlet, a JACK client that plays takes MIDI in.
[[nodiscard]] AudioBackends makeAudioBackends(const std::string& jackServerName = {},
                                              std::shared_ptr<JackMidiInlet> inlet = nullptr);

}  // namespace vrel::system

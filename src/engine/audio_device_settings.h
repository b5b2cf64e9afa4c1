// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "platform/audio_hardware.h"

namespace vrel {

class AVAudioEngine;
class ConsoleOutput;
class GraphMutator;

/// An output device that can be chosen. `id` holds for the running system; what is saved is `uid`.
struct AudioOutputDevice {
  AudioObjectID id = 0;
  std::string uid;
  std::string name;

  bool operator==(const AudioOutputDevice&) const = default;
};

/// Lists the output devices and brings the two audio settings to the hardware. Main thread.
///
/// It has a stop and start of its own and is not for use inside a graph mutation.
class AudioDeviceSettings {
 public:
  AudioDeviceSettings(AudioHardware& hardware, AVAudioEngine& engine, GraphMutator& mutator, ConsoleOutput& console)
      : hardware_(hardware), engine_(engine), mutator_(mutator), console_(console) {}

  /// All devices that have an output, a UID and a name, sorted by name; empty when they cannot be listed.
  [[nodiscard]] std::vector<AudioOutputDevice> availableOutputDevices();

  /// Plays on the device with this UID, or on the system's default when it is absent or not connected, with
  /// blocks of `frameSize`. A running engine is restarted; a stopped one stays stopped. A refusal is logged
  /// and the next step is still tried.
  void applyAudioSettings(std::uint32_t frameSize, const std::optional<std::string>& deviceUID,
                          const std::function<void()>& prepareOutputGraph);

  /// Restarts a running engine for a device of another sample rate.
  void followDevice(const std::function<void()>& prepareOutputGraph);

 private:
  void restart(const std::function<void()>& prepareOutputGraph);
  [[nodiscard]] std::optional<AudioOutputDevice> describe(AudioObjectID device);
  [[nodiscard]] std::optional<AudioOutputDevice> choose(const std::optional<std::string>& deviceUID);

  AudioHardware& hardware_;
  AVAudioEngine& engine_;
  GraphMutator& mutator_;
  ConsoleOutput& console_;
};

}  // namespace vrel

/// All three fields count.
template <>
struct std::hash<vrel::AudioOutputDevice> {
  std::size_t operator()(const vrel::AudioOutputDevice& device) const noexcept {
    const std::hash<std::string> hashText;
    constexpr std::size_t spread = 31;
    return (device.id * spread + hashText(device.uid)) * spread + hashText(device.name);
  }
};

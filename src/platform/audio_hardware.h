// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel {

/// Identifies a device while the system runs; 0 is none. A setting stores the device's UID.
using AudioObjectID = std::uint32_t;

/// 0 is success.
using OSStatus = std::int32_t;

/// The system's audio devices and the output unit of the engine. Main thread.
class AudioHardware {
 public:
  virtual ~AudioHardware() = default;

  /// All devices, inputs too, in the system's order.
  [[nodiscard]] virtual Result<std::vector<AudioObjectID>> devices() = 0;

  /// The channels of each of the device's output streams.
  [[nodiscard]] virtual Result<std::vector<std::uint32_t>> outputStreamChannels(AudioObjectID device) = 0;

  /// The stable unique id, and the display name.
  [[nodiscard]] virtual Result<std::string> deviceUID(AudioObjectID device) = 0;
  [[nodiscard]] virtual Result<std::string> deviceName(AudioObjectID device) = 0;

  [[nodiscard]] virtual Result<AudioObjectID> defaultOutputDevice() = 0;

  /// Frames per block, for the device as a whole.
  [[nodiscard]] virtual OSStatus setBufferFrameSize(AudioObjectID device, std::uint32_t frames) = 0;

  /// The device that the engine's output plays on. Called on a stopped engine; used by its next start.
  [[nodiscard]] virtual OSStatus setCurrentOutputDevice(AudioObjectID device) = 0;

  /// The device that the performer has chosen, there or not, or none for the system's default. Where devices come and
  /// go, the output moves to it when it appears, or follows the default.
  virtual void preferOutputDevice(const std::optional<std::string>& /*deviceUID*/) {}
};

}  // namespace vrel

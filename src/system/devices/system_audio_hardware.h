// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/audio_hardware.h"
#include "system/devices/audio_backend.h"

namespace vrel::system {

/// What the output should play on. Without a device it is the default, without frames the device's own size.
struct OutputChoice {
  std::optional<std::string> deviceUID;
  std::optional<std::uint32_t> frames;
};

/// The machine's audio devices: those of the first backend that has one with outputs.
///
/// A UID is the backend's name and the device's: "jack:system". An id is given to a UID when it is first
/// seen and stays its own for the run. `devices` lists them again; the other questions are answered from its last list.
/// What is set is kept here, and taken over by the output (SystemAudioOutput) at its next `prepare` or start.
/// Main thread.
class SystemAudioHardware final : public AudioHardware {
 public:
  explicit SystemAudioHardware(AudioBackends backends) : backends_(std::move(backends)) {}

  // Statuses other than 0.
  static constexpr OSStatus badObject = 0x216F626A;         // '!obj': no such device, or one without outputs
  static constexpr OSStatus illegalOperation = 0x6E6F7065;  // 'nope': a size that no device has
  static constexpr std::uint32_t mostFrames = 8192;

  [[nodiscard]] Result<std::vector<AudioObjectID>> devices() override;
  [[nodiscard]] Result<std::vector<std::uint32_t>> outputStreamChannels(AudioObjectID device) override;
  [[nodiscard]] Result<std::string> deviceUID(AudioObjectID device) override;
  [[nodiscard]] Result<std::string> deviceName(AudioObjectID device) override;
  [[nodiscard]] Result<AudioObjectID> defaultOutputDevice() override;
  [[nodiscard]] OSStatus setBufferFrameSize(AudioObjectID device, std::uint32_t frames) override;
  [[nodiscard]] OSStatus setCurrentOutputDevice(AudioObjectID device) override;

  [[nodiscard]] OutputChoice choice() const;

  struct Opened {
    std::unique_ptr<OutputStream> stream;
    std::string deviceUID;
    std::string deviceName;
  };

  /// Lists the devices again and opens what was chosen.
  [[nodiscard]] Result<Opened> open(const OutputChoice& choice);

 private:
  struct Device {
    AudioBackend* backend;
    AudioDeviceDescription description;
    std::string uid;
    AudioObjectID id;
  };

  void look();
  void lookOnce();
  [[nodiscard]] const Device* find(AudioObjectID id);
  [[nodiscard]] const Device* findDefault() const;
  [[nodiscard]] const Device* findByUID(const std::string& uid) const;

  const AudioBackends backends_;
  bool hasLooked_ = false;
  std::vector<Device> devices_;                  // of the last look
  std::map<std::string, AudioObjectID> ids_;     // of all UIDs ever seen
  std::map<std::string, std::uint32_t> frames_;  // asked for, by UID
  std::optional<std::string> currentUID_;
};

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "platform/audio_hardware.h"
#include "system/devices/audio_backend.h"

namespace vrel::system {

/// What the output should play on; without a device it is the default.
struct OutputChoice {
  std::optional<std::string> deviceUID;
  std::uint64_t revision = 0;  // grows whenever something is set
};

/// The machine's audio devices: those of the first backend that has one with outputs.
///
/// A UID is the backend's name and the device's: "jack:system". An id is given to a UID when it is first
/// seen and stays its own for the run. `devices` lists them again; the other questions are answered from its last list.
/// What is set is kept here, and taken over by the output (SystemAudioOutput) at its next `prepare` or start.
///
/// Main thread; `open`, `lookFor` and what is set, any thread. A look asks sound servers and may take its time; what is
/// set never waits for one.
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
  void preferOutputDevice(const std::optional<std::string>& deviceUID) override;

  [[nodiscard]] OutputChoice choice() const;

  /// What was asked for with `setBufferFrameSize`.
  [[nodiscard]] std::optional<std::uint32_t> blockFrames(const std::string& deviceUID) const;

  struct Opened {
    std::unique_ptr<OutputStream> stream;
    std::string deviceUID;
    std::string deviceName;
  };

  /// Lists the devices again and opens what was chosen.
  [[nodiscard]] Result<Opened> open(const OutputChoice& choice);

  /// What is played on, or was before it was lost; no UID when nothing ever was.
  struct Present {
    std::string deviceUID;
    OutputStream* stream = nullptr;  // null when lost
    bool isHung = false;             // asks for no blocks, and is not to be asked itself
  };

  /// Asks the server behind this device nothing while `life` does not end, since it hangs: neither lists nor opens wait
  /// for it, and the devices of the next backend are listed. Without one it is asked again. Any thread; never waits.
  void avoid(const std::string& deviceUID, const std::weak_ptr<const void>& life);

  /// Whether the server behind this device is avoided. Any thread; never waits.
  [[nodiscard]] bool isAvoided(const std::string& deviceUID) const;

  /// Opens what should be played on in the place of `present`: the preferred device; without one, the default of the
  /// same backend. What was lost is opened again when it is back. Nothing when there is nothing better; in the place of
  /// what hangs, only the preferred device.
  ///
  /// Another backend is never taken in the place of a lost one: it may hold the very card that the sound server which
  /// comes back needs.
  [[nodiscard]] std::optional<Opened> lookFor(const Present& present);

  /// The name for people of what `lookFor` opens next, empty when any device will do.
  [[nodiscard]] std::string awaitedName(const std::string& presentUID) const;

 private:
  struct Device {
    AudioBackend* backend;
    AudioDeviceDescription description;
    std::string uid;
    AudioObjectID id;
  };

  void look() VREL_REQUIRES(lookMutex_);
  void lookOnce() VREL_REQUIRES(lookMutex_);
  [[nodiscard]] std::vector<Device> list(AudioBackend& backend) VREL_REQUIRES(lookMutex_);
  [[nodiscard]] const Device* find(AudioObjectID id) VREL_REQUIRES(lookMutex_);
  [[nodiscard]] const Device* findDefault() const VREL_REQUIRES(lookMutex_);
  [[nodiscard]] const Device* findByUID(const std::string& uid) const VREL_REQUIRES(lookMutex_);
  [[nodiscard]] AudioBackend* backendOf(const std::string& uid) const;
  [[nodiscard]] bool isAvoided(const AudioBackend& backend) const;
  [[nodiscard]] std::vector<AudioDeviceDescription> ask(AudioBackend& backend) const VREL_REQUIRES(lookMutex_);
  [[nodiscard]] Result<Opened> open(const Device& device) const VREL_REQUIRES(lookMutex_);
  [[nodiscard]] std::optional<Opened> openWhenThere(AudioBackend& backend, const std::string& uid)
      VREL_REQUIRES(lookMutex_);
  [[nodiscard]] std::optional<Opened> openDefault(AudioBackend* backend) VREL_REQUIRES(lookMutex_);

  [[nodiscard]] std::optional<std::string> preferred() const;

  Mutex lookMutex_;  // held while the backends are asked
  const AudioBackends backends_;
  bool hasLooked_ VREL_GUARDED_BY(lookMutex_) = false;
  std::vector<Device> devices_ VREL_GUARDED_BY(lookMutex_);               // of the last look
  std::map<std::string, AudioObjectID> ids_ VREL_GUARDED_BY(lookMutex_);  // of all UIDs ever seen

  mutable Mutex settingsMutex_;                                                  // held for moments
  std::map<std::string, std::string> names_ VREL_GUARDED_BY(settingsMutex_);     // of all UIDs ever seen
  std::map<std::string, std::uint32_t> frames_ VREL_GUARDED_BY(settingsMutex_);  // asked for, by UID
  std::optional<std::string> currentUID_ VREL_GUARDED_BY(settingsMutex_);
  std::optional<std::string> preferredUID_ VREL_GUARDED_BY(settingsMutex_);
  std::uint64_t revision_ VREL_GUARDED_BY(settingsMutex_) = 0;
  // Servers that hang, until what is still open on them has ended.
  std::map<const AudioBackend*, std::weak_ptr<const void>> hung_ VREL_GUARDED_BY(settingsMutex_);
};

}  // namespace vrel::system

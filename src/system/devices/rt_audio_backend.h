// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <RtAudio.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "system/devices/audio_backend.h"

namespace vrel::system {

struct RtAudioLibrary;

/// The devices that RtAudio finds on one of its ways.
class RtAudioBackend final : public AudioBackend {
 public:
  explicit RtAudioBackend(RtAudio::Api api);

  [[nodiscard]] std::string uidPrefix() const override;
  [[nodiscard]] bool isServer() const override;
  [[nodiscard]] std::vector<AudioDeviceDescription> devices() override;
  /// For ALSA, whether a device has come or gone.
  [[nodiscard]] bool mayHaveChanged() const override;
  [[nodiscard]] Result<std::unique_ptr<OutputStream>> open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> frames) override;

 private:
  const RtAudio::Api api_;
  // One for the list and the last stream: only so does RtAudio still know of a device that is in use.
  std::shared_ptr<RtAudioLibrary> library_;
  std::int64_t listedAt_ = -1;  // when ALSA's devices had changed last, at the last list
};

}  // namespace vrel::system

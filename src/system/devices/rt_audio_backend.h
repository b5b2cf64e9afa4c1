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

/// The devices that RtAudio finds on one of its ways. One stream at a time.
class RtAudioBackend final : public AudioBackend {
 public:
  explicit RtAudioBackend(RtAudio::Api api);

  [[nodiscard]] std::string uidPrefix() const override;
  [[nodiscard]] std::vector<AudioDeviceDescription> devices() override;
  [[nodiscard]] Result<std::unique_ptr<OutputStream>> open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> frames) override;

 private:
  const RtAudio::Api api_;
  // One for the list and the stream: only so does RtAudio still know of a device that is in use.
  std::shared_ptr<RtAudioLibrary> library_;
};

}  // namespace vrel::system

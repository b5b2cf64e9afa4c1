// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "system/devices/audio_backend.h"

namespace vrel::system {

/// The devices of a JACK server: each client with physical ports is one, as "system" is.
///
/// It speaks to JACK itself and not through RtAudio, which writes to the terminal when the server dies, closes
/// the stream on a thread of its own while it may be in use, falls silent when anyone changes the
/// server's block size, and cannot change it.
class JackAudioBackend final : public AudioBackend {
 public:
  /// With an inlet, what is opened has a MIDI port.
  explicit JackAudioBackend(std::string serverName, std::shared_ptr<JackMidiInlet> inlet = nullptr)
      : serverName_(std::move(serverName)), inlet_(std::move(inlet)) {}

  [[nodiscard]] std::string uidPrefix() const override { return "jack"; }
  [[nodiscard]] std::vector<AudioDeviceDescription> devices() override;
  [[nodiscard]] Result<std::unique_ptr<OutputStream>> open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> frames) override;

 private:
  const std::string serverName_;
  const std::shared_ptr<JackMidiInlet> inlet_;
  std::shared_ptr<std::vector<AudioDeviceDescription>> listed_;  // shared with a list that a server holds up
};

}  // namespace vrel::system

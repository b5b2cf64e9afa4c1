// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <RtAudio.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "system/devices/audio_backend.h"

namespace vrel::system {

/// RtAudio on one of its ways. Once it is stuck, nobody waits for it any more, and it is not called again.
struct RtAudioLibrary {
  explicit RtAudioLibrary(RtAudio::Api api) : audio(api) { audio.showWarnings(false); }

  RtAudio audio;
  std::timed_mutex calls;  // for lists, and for opening and ending a stream
  std::atomic<bool> isStuck{false};
};

/// The devices of this moment; none when it hangs, which it is marked for.
[[nodiscard]] std::vector<AudioDeviceDescription> listDevices(const std::shared_ptr<RtAudioLibrary>& library);

/// An output that RtAudio plays.
///
/// A sound server that hangs keeps RtAudio's calls for as long as it likes. Those that open and end a stream are made
/// on a thread of their own, and left behind with all they need when they take too long.
class RtAudioStream final : public OutputStream {
 public:
  /// `leastBuffered` in seconds of sound.
  RtAudioStream(std::shared_ptr<RtAudioLibrary> library, double leastBuffered);
  ~RtAudioStream() override;
  RtAudioStream(const RtAudioStream&) = delete;
  RtAudioStream& operator=(const RtAudioStream&) = delete;

  /// Once; with blocks of `frames` where the device lets itself be asked. After a failure the library is either stuck
  /// or half open, and must not be used again.
  [[nodiscard]] Outcome open(const std::string& deviceName, std::optional<std::uint32_t> frames);

  [[nodiscard]] double sampleRate() const override;
  [[nodiscard]] std::uint32_t blockFrames() const override;
  [[nodiscard]] bool changeBlockFrames(std::uint32_t frames) override { return frames == blockFrames(); }
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override;
  void stop() override;
  [[nodiscard]] std::optional<std::string> lossReason() const override;
  [[nodiscard]] std::uint64_t underruns() const override;
  [[nodiscard]] std::optional<std::string> systemDefault() override;

 private:
  struct Session;

  std::shared_ptr<Session> session_;
};

}  // namespace vrel::system

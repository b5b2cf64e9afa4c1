// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/devices/jack_access.h"

namespace vrel::system::test {

/// Records what the system's playback ports receive.
class Recorder {
 public:
  Recorder(const std::string& serverName, std::size_t mostFrames);

  /// Frames recorded so far.
  [[nodiscard]] std::size_t recorded() const { return recorded_.load(std::memory_order_acquire); }
  [[nodiscard]] const std::vector<float>& channel(std::size_t index) const { return channels_.at(index); }

 private:
  static int process(jack_nframes_t frames, void* recorder);

  std::array<std::vector<float>, 2> channels_;
  std::atomic<std::size_t> recorded_{0};
  std::array<jack_port_t*, 2> ports_{};
  Client client_;  // last: its thread uses the above
};

/// Another program with MIDI outputs. It must end before its server does.
class MidiPeer {
 public:
  MidiPeer(const std::string& serverName, const std::string& clientName);

  using Message = std::vector<std::uint8_t>;

  void addPort(const std::string& name);
  void removePort();

  /// Sends through the last added port, several messages per period, and returns when JACK has taken all.
  void send(const std::vector<Message>& messages);

  std::size_t mostInPeriod = 7;  // messages; for when none are being sent

  /// Whether something is connected to the last added port.
  [[nodiscard]] bool isLinked() const;

  /// Waits a few periods: a new connection takes effect only in a later one.
  void passBlocks() const;

 private:
  static int process(jack_nframes_t frames, void* peer);

  std::atomic<jack_port_t*> port_{nullptr};
  std::atomic<const std::vector<Message>*> pending_{nullptr};
  std::size_t sent_ = 0;
  std::atomic<std::uint32_t> blocks_{0};
  Client client_;
};

}  // namespace vrel::system::test

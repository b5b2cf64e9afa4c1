// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "support/devices/jack_access.h"

namespace vrel::system::test {

/// Plays a note to several hosts at once and measures when each of them sounds, in frames of JACK's clock.
///
/// Keys and ears are separate clients, so that no cycle in JACK's graph adds latency: in each period JACK runs the
/// keys, then the hosts, then the ears.
class NoteProbe {
 public:
  static constexpr std::size_t mostHosts = 2;

  explicit NoteProbe(const std::string& serverName, std::size_t hosts = mostHosts);
  NoteProbe(const NoteProbe&) = delete;
  NoteProbe& operator=(const NoteProbe&) = delete;

  /// Connects the host of this index: the keys to its MIDI input, unless connected, and its output to an ear. False
  /// while the host has no such ports.
  [[nodiscard]] bool link(std::size_t host, const std::string& midiClient, const std::string& audioClient);

  /// Frames from a note to the first sample of each host; none where a host was silent for a second. The note falls
  /// anywhere in a block. Returns when all hosts are silent again.
  using Latencies = std::array<std::optional<std::uint32_t>, mostHosts>;
  [[nodiscard]] Latencies play(std::uint8_t key);

  [[nodiscard]] std::uint32_t blockFrames() const { return jack_get_buffer_size(ears_.get()); }

 private:
  struct Ear {
    jack_port_t* port = nullptr;
    std::atomic<bool> hasHeard{false};
    std::atomic<std::uint32_t> heardAt{0};       // written before `hasHeard`
    std::atomic<std::uint32_t> silentFrames{0};  // since the last sound
  };

  static int playKeys(jack_nframes_t frames, void* probe);
  static int listen(jack_nframes_t frames, void* probe);
  [[nodiscard]] bool isSilent() const;
  void send(std::array<std::uint8_t, 3> message);

  Client keys_;
  Client ears_;
  jack_port_t* keysPort_ = nullptr;
  std::array<Ear, mostHosts> all_;
  std::span<Ear> ear_;  // of the hosts that there are
  std::array<std::uint8_t, 3> message_{};
  std::uint32_t offset_ = 0;            // of the message in its block
  std::atomic<bool> isPending_{false};  // the message may be taken
  std::atomic<std::uint32_t> sentAt_{0};
  std::uint32_t random_ = 1;
};

}  // namespace vrel::system::test

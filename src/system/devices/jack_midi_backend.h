// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "system/devices/jack_client.h"
#include "system/devices/midi_backend.h"
#include "system/devices/packet_ring.h"

namespace vrel::system {

/// The MIDI ports of a JACK server. All are linked to one port of one client, where JACK merges them in order of
/// time; others may be linked to it by hand.
///
/// It speaks to JACK itself: RtMidi would need a client of the server for each source, and allocates on
/// JACK's audio thread.
///
/// Way of a packet: JACK's thread puts it in a ring and wakes our thread, which calls the listener. The same thread
/// notices ports that come and go, from JACK's own notices, and tries twice a second for a server.
class JackMidiBackend final : public MidiBackend {
 public:
  explicit JackMidiBackend(std::string serverName);
  ~JackMidiBackend() override;
  JackMidiBackend(const JackMidiBackend&) = delete;
  JackMidiBackend& operator=(const JackMidiBackend&) = delete;

  void begin(const std::string& clientName, const std::string& portName, Listener listener) override;
  void end() override;
  [[nodiscard]] std::vector<MidiSource> sources() override;
  [[nodiscard]] Outcome connect(const std::string& key) override;

  /// Packets that were lost because nobody took them. Any thread.
  [[nodiscard]] std::uint64_t dropped() const { return ring_.dropped(); }

 private:
  void serve();
  void sleepUntilWoken();
  [[nodiscard]] bool noticeChange();
  void openClient();
  [[nodiscard]] std::vector<MidiSource> listSources() const;
  [[nodiscard]] bool hasLostLink() const;

  // Called by JACK, from its threads.
  static int process(jack_nframes_t frames, void* backend);
  static void notePorts(jack_port_id_t port, int isRegistered, void* backend);
  static void wake(void* backend);

  const std::string serverName_;
  std::string clientName_;
  std::string portName_;
  Listener listener_;

  PacketRing ring_;
  sem_t wake_{};
  std::atomic<bool> isEnding_{false};
  std::atomic<bool> havePortsChanged_{false};
  std::atomic<jack_port_t*> port_{nullptr};

  std::mutex mutex_;                    // one question to the server at a time
  std::vector<MidiSource> known_;       // guarded by mutex_
  std::set<std::string> linked_;        // ports we were asked to read; guarded by mutex_
  std::unique_ptr<JackClient> client_;  // guarded by mutex_; null without a server
  std::thread thread_;
};

}  // namespace vrel::system

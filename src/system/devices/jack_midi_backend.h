// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/byte_fifo.h"
#include "foundation/mutex.h"
#include "system/devices/jack_client.h"
#include "system/devices/midi_backend.h"

namespace vrel::system {

/// The MIDI ports of a JACK server. All are linked to one port of one client, where JACK merges them in order of
/// time; others may be linked to it by hand.
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

  [[nodiscard]] std::uint64_t dropped() const override { return packets_.dropped(); }

 private:
  void serve();
  void sleepUntilWoken();
  [[nodiscard]] bool noticeChange();
  void openClient() VREL_REQUIRES(mutex_);
  [[nodiscard]] std::vector<MidiSource> listSources() const VREL_REQUIRES(mutex_);
  [[nodiscard]] bool hasLostLink() const VREL_REQUIRES(mutex_);

  // Called by JACK, from its threads.
  static int process(jack_nframes_t frames, void* backend);
  static void notePorts(jack_port_id_t port, int isRegistered, void* backend);
  static void wake(void* backend);

  const std::string serverName_;
  std::string clientName_;
  std::string portName_;
  Listener listener_;

  ByteFifo packets_;
  sem_t wake_{};
  std::atomic<bool> isEnding_{false};
  std::atomic<bool> havePortsChanged_{false};
  std::atomic<jack_port_t*> port_{nullptr};

  Mutex mutex_;  // one question to the server at a time
  std::vector<MidiSource> known_ VREL_GUARDED_BY(mutex_);
  std::set<std::string> linked_ VREL_GUARDED_BY(mutex_);        // ports we were asked to read
  std::unique_ptr<JackClient> client_ VREL_GUARDED_BY(mutex_);  // null without a server
  std::thread thread_;
};

}  // namespace vrel::system

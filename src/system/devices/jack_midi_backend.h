// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/mutex.h"
#include "system/audio/packet_lane.h"
#include "system/devices/jack_client.h"
#include "system/devices/jack_midi_inlet.h"
#include "system/devices/midi_backend.h"

namespace vrel::system {

/// The MIDI ports of a JACK server. All are linked to one port, where JACK merges them in order of time: that of the
/// client that plays (JackMidiInlet), so that notes sound in the period that brings them, or, while sound is played
/// elsewhere, one of this client, which brings nothing otherwise: what is linked to both by hand is heard once.
///
/// When another client plays, the sources are linked to its port too; both ports change over at the beginning of one
/// period, and the former one is left when that is past. So nothing is lost, heard twice or heard in another order.
///
/// Path of a packet: JACK's thread puts it in a FIFO and wakes our thread, which calls the listener. The same thread
/// notices ports that come and go, from JACK's own notices, links the sources again when another client plays, and
/// tries twice a second for a server. It alone asks the server, which may hang: the main thread waits for its answer
/// for half a second at most, goes on without one, and is notified when it comes.
class JackMidiBackend final : public MidiBackend {
 public:
  /// Without an inlet all sources are linked to this client.
  explicit JackMidiBackend(std::string serverName, std::shared_ptr<JackMidiInlet> inlet = nullptr);
  ~JackMidiBackend() override;
  JackMidiBackend(const JackMidiBackend&) = delete;
  JackMidiBackend& operator=(const JackMidiBackend&) = delete;

  void begin(const std::string& clientName, const std::string& portName, Listener listener) override;
  void end() override;
  [[nodiscard]] std::vector<MidiSource> sources() override;
  [[nodiscard]] Outcome connect(const std::string& key) override;

  [[nodiscard]] std::uint64_t dropped() const override { return inlet_->dropped(); }

 private:
  /// Has `question` run by the reader; false where that does not get to it in time, but later or never.
  [[nodiscard]] bool ask(std::function<void()> question);

  // The reader's.
  void serve();
  /// Whether somebody has not waited for an answer.
  [[nodiscard]] bool answer();
  void passOn(audio::PlayedPacket& packet);
  [[nodiscard]] bool noticeChange();
  void openClient();
  [[nodiscard]] std::vector<MidiSource> listSources() const;
  [[nodiscard]] bool hasLostLink() const;
  void passOn(JackMidiPort& port, audio::PlayedPacket& packet);

  using Clock = std::chrono::steady_clock;

  /// The links from the sources.
  struct Links {
    std::set<std::string> sources;  // ports we were asked to read
    std::string entry;              // the port that they are linked to
    std::string former;             // and the one that is left when the change is past; empty while there is none
    jack_nframes_t changesAt = 0;
    Clock::time_point changesBy{};
  };
  /// False when one of the sources cannot be linked.
  [[nodiscard]] bool moveLinks(jack_client_t* client);
  [[nodiscard]] bool followPlayingClient();

  // Called by JACK, from its threads.
  static int process(jack_nframes_t frames, void* backend);
  static void notePorts(jack_port_id_t port, int isRegistered, void* backend);
  static void wake(void* backend);

  const std::string serverName_;
  const std::shared_ptr<JackMidiInlet> inlet_;
  std::string clientName_;
  std::string portName_;
  Listener listener_;

  audio::PacketLane packets_;
  std::atomic<bool> isEnding_{false};
  std::atomic<bool> havePortsChanged_{false};
  std::atomic<jack_port_t*> port_{nullptr};
  std::atomic<jack_client_t*> library_{nullptr};  // for the process callback

  // The reader's; nobody else's while there is one.
  bool isChanging_ = false;  // another port becomes the entry
  std::vector<MidiSource> known_;
  Links links_;
  std::unique_ptr<JackClient> client_;  // null without a server

  std::atomic<bool> isHeldUp_{false};  // a question was not answered in time
  Mutex mutex_;
  std::vector<std::function<void()>> questions_ VREL_GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>
#include <semaphore.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/thread_roles.h"
#include "system/audio/device_event.h"
#include "system/audio/owed_messages.h"
#include "system/audio/packet_lane.h"

namespace vrel::system {

class JackMidiInlet;

/// The MIDI port of a JACK client that plays: its block gets the messages of the period at their frames, and the reader
/// gets them all afterwards.
///
/// Threads: `read` and `handOn` in the client's process callback, `pop` on the reader's thread, the rest on the thread
/// that controls the client.
class JackMidiPort {
 public:
  JackMidiPort(JackMidiInlet& inlet, std::uint16_t number);

  /// Makes the port on an inactive client; false when JACK refuses.
  [[nodiscard]] bool registerAt(jack_client_t* client, const char* name);

  /// Whether sources may be linked to it from now on, which the reader does.
  void setPlaying(bool isPlaying);

  /// Returns when they are linked elsewhere, at the latest after `longestChange` and as long as the reader may take to
  /// begin it; so nothing is lost that is played while its client ends.
  void waitUntilLeft() const;

  /// Its client brings nothing more.
  void close();

  /// What of this period's messages the renderer may route, and is to mark; valid until `handOn`.
  [[nodiscard]] std::span<audio::DeviceEvent> read(jack_nframes_t frames) noexcept VREL_AUDIO_THREAD;

  /// Gives the period's messages to the reader, with the marks.
  void handOn() noexcept VREL_AUDIO_THREAD;

  /// Moves the next message into `packet`; false when there is none.
  [[nodiscard]] bool pop(audio::PlayedPacket& packet) { return lane_.pop(packet); }

  [[nodiscard]] std::uint16_t number() const { return number_; }
  [[nodiscard]] bool isPlaying() const { return isPlaying_; }
  [[nodiscard]] bool isClosed() const { return isClosed_; }
  /// As JACK knows it.
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  static constexpr std::size_t fifoBytes = std::size_t{1} << 20U;

  JackMidiInlet& inlet_;
  const std::uint16_t number_;
  std::string name_;
  jack_client_t* client_ = nullptr;
  jack_port_t* port_ = nullptr;
  jack_nframes_t rate_ = 0;                // frames per second
  std::atomic<jack_nframes_t> period_{0};  // frames; of the last block
  std::atomic<bool> isPlaying_{false};
  std::atomic<bool> isClosed_{false};
  audio::PacketLane lane_;
  void* buffer_ = nullptr;  // the process callback's
};

/// The port that takes in what is played. While there are two, the sources are linked to both: what comes in periods
/// that begin before a frame of the server's time belongs to the former, the rest to the next one.
struct JackMidiEntry {
  std::uint16_t former = 0;
  std::uint16_t next = 0;
  jack_nframes_t fromFrame = 0;
};
static_assert(std::atomic<JackMidiEntry>::is_always_lock_free, "the audio thread takes no lock");

/// How many periods after the links are made the next port takes over: no period that begins then is without them.
inline constexpr jack_nframes_t periodsToChange = 3;

/// How long two ports are both linked at most, for periods of so many frames.
[[nodiscard]] std::chrono::milliseconds longestChange(jack_nframes_t period, jack_nframes_t framesPerSecond);

/// Where the messages of a JACK server's sources come in: the ports of the clients that play, and what wakes their one
/// reader, the JackMidiBackend.
///
/// Any thread; shared by the audio and the MIDI backend, outlives the ports.
class JackMidiInlet {
 public:
  JackMidiInlet();
  ~JackMidiInlet();
  JackMidiInlet(const JackMidiInlet&) = delete;
  JackMidiInlet& operator=(const JackMidiInlet&) = delete;

  /// The port of a client to be. It stays until it is closed and the reader has read it.
  [[nodiscard]] std::shared_ptr<JackMidiPort> makePort();

  /// The reader's own port; all others have numbers above.
  static constexpr std::uint16_t ownPort = 0;

  void setEntry(JackMidiEntry entry) { entry_ = entry; }
  [[nodiscard]] JackMidiEntry entry() const { return entry_; }
  [[nodiscard]] bool isEntered(std::uint16_t port) const { return entry().former == port || entry().next == port; }
  /// Whether a port takes in what comes in a period that begins at this time. Also from a process callback.
  [[nodiscard]] bool takesIn(std::uint16_t port, jack_nframes_t periodBegin) const noexcept;

  /// Those that there are, the one that began to play last at the end.
  [[nodiscard]] std::vector<std::shared_ptr<JackMidiPort>> ports();
  void remove(const JackMidiPort& port);

  /// Whether another port may be the one to link to since the last call.
  [[nodiscard]] bool takeChanged() { return hasChanged_.exchange(false); }

  /// While nobody reads, the ports bring nothing.
  void setRead(bool isRead) { isRead_ = isRead; }
  [[nodiscard]] bool isRead() const { return isRead_.load(std::memory_order_relaxed); }

  /// Wakes the reader. Also from a process callback.
  void wake() noexcept { sem_post(&wake_); }
  /// Returns when it was woken, or after so many nanoseconds.
  void sleep(long nanoseconds);

  /// What the main thread has to route of all that the server's sources send.
  [[nodiscard]] const std::shared_ptr<audio::OwedMessages>& owed() const { return owed_; }

  void countDropped() noexcept { dropped_.fetch_add(1, std::memory_order_relaxed); }
  /// Messages that the ports dropped since the reader did not take them.
  [[nodiscard]] std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

 private:
  friend class JackMidiPort;
  void noteChange(const JackMidiPort& port, bool isPlaying);

  sem_t wake_{};
  const std::shared_ptr<audio::OwedMessages> owed_ = std::make_shared<audio::OwedMessages>();
  std::atomic<bool> isRead_{false};
  std::atomic<bool> hasChanged_{false};
  std::atomic<JackMidiEntry> entry_{JackMidiEntry()};
  std::atomic<std::uint64_t> dropped_{0};
  Mutex mutex_;
  std::vector<std::shared_ptr<JackMidiPort>> ports_ VREL_GUARDED_BY(mutex_);
  std::uint16_t lastNumber_ VREL_GUARDED_BY(mutex_) = ownPort;
};

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// ALSA's sequencer as a test plays it: the library's calls that would reach the kernel are in played_sequencer.cpp.

#include <alsa/asoundlib.h>
#include <sys/eventfd.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vrel::system::test {

using Address = std::pair<int, int>;

inline constexpr int ownClient = 128;

// The queue's clock began so much later than the machine's.
inline constexpr std::int64_t queueBegin = 5'000'000'000;

inline std::int64_t queueNow() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count() - queueBegin;
}

inline constexpr Address announcements{SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE};

/// What the library says is all from the one that is set.
class PlayedSequencer {
 public:
  struct Port {
    Address address;
    std::string clientName;
    std::string name;
  };

  void addPort(const Port& port) {
    const std::lock_guard lock(mutex);
    ports.push_back(port);
    announce(SND_SEQ_EVENT_PORT_START, port.address);
  }
  void removePort(Address address) {
    const std::lock_guard lock(mutex);
    std::erase_if(ports, [&](const Port& port) { return port.address == address; });
    links.erase(address);
    announce(SND_SEQ_EVENT_PORT_EXIT, address);
  }
  /// The port goes and comes back before anyone looks.
  void replug(const Port& port) {
    const std::lock_guard lock(mutex);
    links.erase(port.address);
    announce(SND_SEQ_EVENT_PORT_EXIT, port.address);
    announce(SND_SEQ_EVENT_PORT_START, port.address);
  }
  /// A note, which arrives when the port is linked; stamped with the queue's time, if any.
  void play(Address address, unsigned char note, std::optional<std::int64_t> time = {}) {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_NOTEON;
    event.data.note.note = note;
    event.data.note.velocity = 100;
    if (time) {
      event.flags = SND_SEQ_TIME_STAMP_REAL;
      event.time.time = {static_cast<unsigned>(*time / 1'000'000'000), static_cast<unsigned>(*time % 1'000'000'000)};
    }
    send(address, event);
  }
  void release(Address address, unsigned char note) {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_NOTEOFF;
    event.data.note.note = note;
    send(address, event);
  }
  void control(Address address, unsigned controller, int value) {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_CONTROLLER;
    event.data.control.param = controller;
    event.data.control.value = value;
    send(address, event);
  }
  void loseEvents() {
    const std::lock_guard lock(mutex);
    events.clear();
    links.clear();
    isOverrun = true;
    ::eventfd_write(descriptor, 1);
  }
  [[nodiscard]] bool isLinked(Address address) {
    const std::lock_guard lock(mutex);
    return links.contains(address);
  }

  void send(Address address, snd_seq_event_t event) {
    const std::lock_guard lock(mutex);
    if (links.contains(address)) {
      event.source.client = static_cast<unsigned char>(address.first);
      event.source.port = static_cast<unsigned char>(address.second);
      post(event);
    }
  }

  void post(const snd_seq_event_t& event) {
    if (isOpen) {
      events.push_back(event);
      ::eventfd_write(descriptor, 1);
    }
  }

  std::mutex mutex;  // guards what follows
  bool isThere = true;
  bool isOpen = false;
  bool isOverrun = false;
  bool isStamping = false;
  std::size_t eventsKept = 200;
  snd_seq_real_time_t queueTime{};
  int descriptor = -1;
  std::vector<Port> ports;
  std::set<Address> links;
  std::deque<snd_seq_event_t> events;
  snd_seq_event_t current{};

 private:
  void announce(snd_seq_event_type_t type, Address address) {
    if (links.contains(announcements)) {
      snd_seq_event_t event{};
      event.type = type;
      event.data.addr.client = static_cast<unsigned char>(address.first);
      event.data.addr.port = static_cast<unsigned char>(address.second);
      post(event);
    }
  }
};

inline PlayedSequencer* played = nullptr;

}  // namespace vrel::system::test

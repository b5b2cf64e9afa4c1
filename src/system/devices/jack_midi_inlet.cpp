// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_midi_inlet.h"

#include <jack/midiport.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <thread>

namespace vrel::system {

std::chrono::milliseconds longestChange(jack_nframes_t period, jack_nframes_t framesPerSecond) {
  constexpr std::chrono::milliseconds toLink{200};
  constexpr jack_nframes_t periods = periodsToChange + 2;  // until the last of the former's has passed
  constexpr std::uint64_t millisecondsPerSecond = 1000;
  const auto milliseconds = framesPerSecond == 0 ? 0 : millisecondsPerSecond * period * periods / framesPerSecond;
  return toLink + std::chrono::milliseconds(milliseconds);
}

JackMidiPort::JackMidiPort(JackMidiInlet& inlet, std::uint16_t number)
    : inlet_(inlet), number_(number), lane_(fifoBytes, inlet.owed()) {}

bool JackMidiPort::registerAt(jack_client_t* client, const char* name) {
  client_ = client;
  port_ = jack_port_register(client, name, JACK_DEFAULT_MIDI_TYPE, JackPortIsInput | JackPortIsTerminal, 0);
  if (port_ != nullptr) {
    name_ = jack_port_name(port_);
    rate_ = jack_get_sample_rate(client);
  }
  return port_ != nullptr;
}

void JackMidiPort::setPlaying(bool isPlaying) {
  isPlaying_ = isPlaying;
  inlet_.noteChange(*this, isPlaying);
}

void JackMidiPort::waitUntilLeft() const {
  constexpr std::chrono::milliseconds toBegin{200};
  const auto end = std::chrono::steady_clock::now() + toBegin + longestChange(period_, rate_);
  while (inlet_.isRead() && inlet_.isEntered(number_) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void JackMidiPort::close() {
  isClosed_ = true;
  if (inlet_.isRead()) {
    inlet_.wake();
  } else {
    inlet_.remove(*this);
  }
}

std::span<audio::DeviceEvent> JackMidiPort::read(jack_nframes_t frames) noexcept {
  period_.store(frames, std::memory_order_relaxed);
  const bool isTakenIn = inlet_.isRead() && inlet_.takesIn(number_, jack_last_frame_time(client_));
  buffer_ = isTakenIn ? jack_port_get_buffer(port_, frames) : nullptr;
  if (buffer_ == nullptr) {
    return {};
  }
  lane_.beginBlock();
  jack_midi_event_t event{};
  for (std::uint32_t index = 0; jack_midi_event_get(&event, buffer_, index) == 0; ++index) {
    lane_.add(event.time, {event.buffer, event.size});
  }
  return lane_.events();
}

void JackMidiPort::handOn() noexcept {
  if (buffer_ == nullptr) {
    return;
  }
  jack_midi_event_t event{};
  std::uint32_t index = 0;
  for (; jack_midi_event_get(&event, buffer_, index) == 0; ++index) {
    if (!lane_.handOn({event.buffer, event.size})) {
      inlet_.countDropped();
    }
  }
  if (index > 0) {
    inlet_.wake();
  }
}

JackMidiInlet::JackMidiInlet() {
  sem_init(&wake_, 0, 0);
}

JackMidiInlet::~JackMidiInlet() {
  sem_destroy(&wake_);
}

std::shared_ptr<JackMidiPort> JackMidiInlet::makePort() {
  const MutexLock lock(mutex_);
  lastNumber_ = std::max<std::uint16_t>(lastNumber_ + 1, ownPort + 1);  // from the beginning again after the last one
  auto port = std::make_shared<JackMidiPort>(*this, lastNumber_);
  ports_.push_back(port);
  return port;
}

bool JackMidiInlet::takesIn(std::uint16_t port, jack_nframes_t periodBegin) const noexcept {
  const JackMidiEntry entry = entry_;
  const bool isBefore = static_cast<std::int32_t>(periodBegin - entry.fromFrame) < 0;
  return port == (isBefore ? entry.former : entry.next);
}

std::vector<std::shared_ptr<JackMidiPort>> JackMidiInlet::ports() {
  const MutexLock lock(mutex_);
  return ports_;
}

void JackMidiInlet::remove(const JackMidiPort& port) {
  const MutexLock lock(mutex_);
  std::erase_if(ports_, [&port](const auto& each) { return each.get() == &port; });
}

void JackMidiInlet::noteChange(const JackMidiPort& port, bool isPlaying) {
  if (isPlaying) {
    const MutexLock lock(mutex_);
    std::stable_partition(ports_.begin(), ports_.end(), [&port](const auto& each) { return each.get() != &port; });
  }
  hasChanged_ = true;
  wake();
}

void JackMidiInlet::sleep(long nanoseconds) {
  constexpr long second = 1'000'000'000;
  timespec until{};
  clock_gettime(CLOCK_MONOTONIC, &until);
  until.tv_nsec += nanoseconds;
  until.tv_sec += until.tv_nsec / second;
  until.tv_nsec %= second;
  while (sem_clockwait(&wake_, CLOCK_MONOTONIC, &until) != 0 && errno == EINTR) {
  }
}

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices/note_probe.h"

#include <jack/midiport.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <thread>

#include "support/devices/child_process.h"

namespace vrel::system::test {
namespace {

constexpr float silence = 1e-9F;
constexpr std::uint32_t silentLongEnough = 4800;  // frames

std::string firstPort(jack_client_t* client, const std::string& owner, const char* type, unsigned long flags) {
  struct Free {
    void operator()(const char** names) const { jack_free(static_cast<void*>(names)); }
  };
  const std::unique_ptr<const char*[], Free> names(jack_get_ports(client, ("^" + owner + ":").c_str(), type, flags));
  return names ? names[0] : "";
}

bool connect(jack_client_t* client, const std::string& from, const std::string& to) {
  const auto* const source = jack_port_by_name(client, from.c_str());
  const auto* const destination = jack_port_by_name(client, to.c_str());
  if (source == nullptr || destination == nullptr) {
    return false;
  }
  return jack_port_connected_to(source, to.c_str()) != 0 || jack_connect(client, from.c_str(), to.c_str()) == 0;
}

}  // namespace

NoteProbe::NoteProbe(const std::string& serverName, std::size_t hosts)
    : keys_(joinServer("keys", serverName)), ears_(joinServer("ears", serverName)), ear_(std::span(all_).first(hosts)) {
  if (!keys_ || !ears_) {
    throw std::runtime_error("cannot open JACK clients");
  }
  keysPort_ = jack_port_register(keys_.get(), "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  for (std::size_t host = 0; host < ear_.size(); ++host) {
    ear_[host].port = jack_port_register(ears_.get(), ("in_" + std::to_string(host)).c_str(), JACK_DEFAULT_AUDIO_TYPE,
                                         JackPortIsInput, 0);
  }
  jack_set_process_callback(keys_.get(), playKeys, this);
  jack_set_process_callback(ears_.get(), listen, this);
  if (jack_activate(keys_.get()) != 0 || jack_activate(ears_.get()) != 0) {
    throw std::runtime_error("cannot activate the JACK clients");
  }
}

bool NoteProbe::link(std::size_t host, const std::string& midiClient, const std::string& audioClient) {
  auto* const client = ears_.get();
  return connect(client, "keys:out", firstPort(client, midiClient, JACK_DEFAULT_MIDI_TYPE, JackPortIsInput)) &&
         connect(client, firstPort(client, audioClient, JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput),
                 jack_port_name(ear_[host].port));
}

NoteProbe::Latencies NoteProbe::play(std::uint8_t key) {
  constexpr std::uint8_t noteOn = 0x90;
  constexpr std::uint8_t noteOff = 0x80;
  constexpr std::uint8_t velocity = 100;
  if (!eventually([this] { return isSilent(); })) {
    throw std::runtime_error("the hosts did not become silent");
  }
  for (auto& ear : ear_) {
    ear.hasHeard = false;
  }
  send({noteOn, key, velocity});
  const std::uint32_t sentAt = sentAt_;
  static_cast<void>(eventually(
      [this] { return std::all_of(ear_.begin(), ear_.end(), [](const Ear& ear) { return ear.hasHeard.load(); }); },
      std::chrono::seconds(1)));
  Latencies latencies;
  for (std::size_t host = 0; host < ear_.size(); ++host) {
    if (ear_[host].hasHeard) {
      latencies[host] = ear_[host].heardAt - sentAt;  // the clock may wrap around
    }
  }
  send({noteOff, key, 0});
  return latencies;
}

bool NoteProbe::isSilent() const {
  return std::all_of(ear_.begin(), ear_.end(), [](const Ear& ear) { return ear.silentFrames > silentLongEnough; });
}

void NoteProbe::send(std::array<std::uint8_t, 3> message) {
  // Pseudo-random positions in block and wall time, the same in every run.
  random_ = random_ * 1664525 + 1013904223;
  offset_ = (random_ >> 8U) % blockFrames();
  std::this_thread::sleep_for(std::chrono::microseconds(random_ >> 18U));
  message_ = message;
  isPending_ = true;
  if (!eventually([this] { return !isPending_; })) {
    throw std::runtime_error("the JACK process callback does not run");
  }
}

int NoteProbe::playKeys(jack_nframes_t frames, void* probe) {
  auto& self = *static_cast<NoteProbe*>(probe);
  void* const buffer = jack_port_get_buffer(self.keysPort_, frames);
  jack_midi_clear_buffer(buffer);
  if (self.isPending_) {
    jack_midi_event_write(buffer, self.offset_, self.message_.data(), self.message_.size());
    self.sentAt_ = jack_last_frame_time(self.keys_.get()) + self.offset_;
    self.isPending_ = false;
  }
  return 0;
}

int NoteProbe::listen(jack_nframes_t frames, void* probe) {
  auto& self = *static_cast<NoteProbe*>(probe);
  const auto now = jack_last_frame_time(self.ears_.get());
  for (auto& ear : self.ear_) {
    const auto* const samples = static_cast<const float*>(jack_port_get_buffer(ear.port, frames));
    const auto* const first =
        std::find_if(samples, samples + frames, [](float sample) { return std::abs(sample) > silence; });
    if (first == samples + frames) {
      ear.silentFrames += frames;
      continue;
    }
    ear.silentFrames = 0;
    if (!ear.hasHeard) {
      ear.heardAt = now + static_cast<std::uint32_t>(first - samples);
      ear.hasHeard = true;
    }
  }
  return 0;
}

}  // namespace vrel::system::test

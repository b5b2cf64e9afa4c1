// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_midi_backend.h"

#include <jack/midiport.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <span>
#include <string_view>

#include "foundation/thread_roles.h"

namespace vrel::system {
namespace {

constexpr const char* midiType = JACK_DEFAULT_MIDI_TYPE;
constexpr std::size_t fifoBytes = std::size_t{1} << 18U;
constexpr long retryNanoseconds = 500'000'000;
constexpr std::string_view jackKeyPrefix = "jack:";

/// What the port is called by those who know it: bridges of hardware give it a second name.
std::string readableName(jack_client_t* client, const std::string& portName) {
  const auto* const port = jack_port_by_name(client, portName.c_str());
  if (port == nullptr || (static_cast<unsigned>(jack_port_flags(port)) & JackPortIsPhysical) == 0) {
    return portName;
  }
  const auto size = static_cast<std::size_t>(jack_port_name_size());
  std::string first(size, '\0');
  std::string second(size, '\0');
  std::array<char*, 2> aliases = {first.data(), second.data()};
  if (jack_port_get_aliases(port, aliases.data()) < 1 || first.front() == '\0') {
    return portName;
  }
  first.resize(first.find('\0'));
  return first;
}

/// Whether the port shows one of ALSA's.
bool isBridge(jack_client_t* client, const std::string& portName) {
  const auto owner = jackPortOwner(portName);
  const auto* const port = jack_port_by_name(client, portName.c_str());
  const bool isPhysical = port != nullptr && (static_cast<unsigned>(jack_port_flags(port)) & JackPortIsPhysical) != 0;
  return isPhysical || owner.starts_with("a2j") || owner == "Midi-Bridge";
}

}  // namespace

JackMidiBackend::JackMidiBackend(std::string serverName) : serverName_(std::move(serverName)), packets_(fifoBytes) {
  sem_init(&wake_, 0, 0);
}

JackMidiBackend::~JackMidiBackend() {
  JackMidiBackend::end();
  sem_destroy(&wake_);
}

void JackMidiBackend::begin(const std::string& clientName, const std::string& portName, Listener listener) {
  clientName_ = clientName;
  portName_ = portName;
  listener_ = std::move(listener);
  isEnding_ = false;
  {
    // Now, so that whoever asks next finds the sources.
    const MutexLock lock(mutex_);
    openClient();
  }
  thread_ = std::thread([this] { serve(); });
}

void JackMidiBackend::end() {
  isEnding_ = true;
  sem_post(&wake_);
  if (thread_.joinable()) {
    thread_.join();
  }
  const MutexLock lock(mutex_);
  client_.reset();
  known_.clear();
  linked_.clear();
}

std::vector<MidiSource> JackMidiBackend::sources() {
  const MutexLock lock(mutex_);
  return listSources();
}

Outcome JackMidiBackend::connect(const std::string& key) {
  const MutexLock lock(mutex_);
  const auto name = key.starts_with(jackKeyPrefix) ? key.substr(jackKeyPrefix.size()) : std::string();
  int status = -1;
  if (client_ && !name.empty()) {
    client_->use([&](jack_client_t* client) { status = jack_connect(client, name.c_str(), jack_port_name(port_)); });
  }
  if (status != 0 && status != EEXIST) {
    return Error{"JACK refused to connect " + key};
  }
  linked_.insert(name);
  return {};
}

void JackMidiBackend::serve() {
  std::vector<std::uint8_t> packet;
  while (true) {
    sleepUntilWoken();
    if (isEnding_) {
      return;
    }
    while (packets_.pop(packet)) {
      listener_.packet(packet);
    }
    if (noticeChange()) {
      listener_.setupChanged();
    }
  }
}

void JackMidiBackend::sleepUntilWoken() {
  constexpr long second = 1'000'000'000;
  timespec until{};
  clock_gettime(CLOCK_MONOTONIC, &until);
  until.tv_nsec += retryNanoseconds;
  until.tv_sec += until.tv_nsec / second;
  until.tv_nsec %= second;
  while (sem_clockwait(&wake_, CLOCK_MONOTONIC, &until) != 0 && errno == EINTR) {
  }
}

bool JackMidiBackend::noticeChange() {
  const MutexLock lock(mutex_);
  const bool wasServerLost = client_ && client_->isServerGone();
  if (wasServerLost) {
    client_.reset();
    linked_.clear();
  }
  bool isServerNew = false;
  if (!client_) {
    openClient();
    isServerNew = client_ != nullptr;
  }
  if (!havePortsChanged_.exchange(false) && !wasServerLost && !isServerNew) {
    return false;
  }
  auto sources = listSources();
  const bool differs = sources != known_ || hasLostLink();
  known_ = std::move(sources);
  std::erase_if(linked_, [this](const std::string& name) VREL_REQUIRES(mutex_) {
    return std::none_of(known_.begin(), known_.end(),
                        [&](const auto& source) { return source.key == std::string(jackKeyPrefix) + name; });
  });
  return differs || isServerNew || wasServerLost;
}

void JackMidiBackend::openClient() {
  auto client = JackClient::open(clientName_, serverName_, {.process = process, .serverGone = wake, .owner = this});
  if (!client) {
    return;
  }
  bool isRegistered = false;
  client->use([&](jack_client_t* library) {
    port_ = jack_port_register(library, portName_.c_str(), midiType, JackPortIsInput | JackPortIsTerminal, 0);
    isRegistered = port_ != nullptr && jack_set_port_registration_callback(library, notePorts, this) == 0;
  });
  if (isRegistered && client->activate()) {
    client_ = std::move(client);
    known_ = listSources();
  }
}

std::vector<MidiSource> JackMidiBackend::listSources() const {
  std::vector<MidiSource> sources;
  if (!client_) {
    return sources;
  }
  client_->use([&](jack_client_t* client) {
    const std::string own = jack_get_client_name(client);
    for (const auto& name : jackPorts(client, midiType, JackPortIsOutput)) {
      if (jackPortOwner(name) != own) {
        sources.push_back({.key = std::string(jackKeyPrefix) + name,
                           .name = readableName(client, name),
                           .isBridged = isBridge(client, name)});
      }
    }
  });
  return sources;
}

bool JackMidiBackend::hasLostLink() const {
  bool isLost = false;
  const auto linked = linked_;  // the analysis does not see that the lambda runs here
  if (client_) {
    // A port that went and came again under its name, before anyone looked, is not linked any more.
    client_->use([&](jack_client_t*) {
      isLost = std::any_of(linked.begin(), linked.end(), [this](const std::string& name) {
        return jack_port_connected_to(port_, name.c_str()) == 0;
      });
    });
  }
  return isLost;
}

int JackMidiBackend::process(jack_nframes_t frames, void* backend) {
  const AudioThreadScope audioThread;
  auto& self = *static_cast<JackMidiBackend*>(backend);
  void* const buffer = jack_port_get_buffer(self.port_, frames);
  const auto count = jack_midi_get_event_count(buffer);
  jack_midi_event_t event{};
  for (std::uint32_t index = 0; index < count; ++index) {
    if (jack_midi_event_get(&event, buffer, index) == 0) {
      static_cast<void>(self.packets_.push({event.buffer, event.size}));
    }
  }
  if (count > 0) {
    sem_post(&self.wake_);
  }
  return 0;
}

void JackMidiBackend::notePorts(jack_port_id_t /*port*/, int /*isRegistered*/, void* backend) {
  auto& self = *static_cast<JackMidiBackend*>(backend);
  self.havePortsChanged_ = true;
  sem_post(&self.wake_);
}

void JackMidiBackend::wake(void* backend) {
  sem_post(&static_cast<JackMidiBackend*>(backend)->wake_);
}

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_midi_backend.h"

#include <jack/midiport.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <future>
#include <span>
#include <string_view>

#include "foundation/thread_roles.h"

namespace vrel::system {
namespace {

constexpr const char* midiType = JACK_DEFAULT_MIDI_TYPE;
constexpr std::size_t fifoBytes = std::size_t{1} << 18U;
constexpr long retryNanoseconds = 500'000'000;
constexpr long changingNanoseconds = 2'000'000;
constexpr std::chrono::milliseconds longestAnswer{500};
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

/// Whether one port leads into another, whoever they belong to.
bool isLinked(jack_client_t* client, const std::string& from, const std::string& to) {
  struct Free {
    void operator()(const char** names) const { jack_free(static_cast<void*>(names)); }
  };
  const auto* const source = jack_port_by_name(client, from.c_str());
  const std::unique_ptr<const char*[], Free> names(source != nullptr ? jack_port_get_all_connections(client, source)
                                                                     : nullptr);
  for (std::size_t index = 0; names && names[index] != nullptr; ++index) {
    if (names[index] == to) {
      return true;
    }
  }
  return false;
}

}  // namespace

JackMidiBackend::JackMidiBackend(std::string serverName, std::shared_ptr<JackMidiInlet> inlet)
    : serverName_(std::move(serverName)),
      inlet_(inlet ? std::move(inlet) : std::make_shared<JackMidiInlet>()),
      packets_(fifoBytes, inlet_->owed()) {}

JackMidiBackend::~JackMidiBackend() {
  JackMidiBackend::end();
}

void JackMidiBackend::begin(const std::string& clientName, const std::string& portName, Listener listener) {
  clientName_ = clientName;
  portName_ = portName;
  listener_ = std::move(listener);
  isEnding_ = false;
  inlet_->setRead(true);
  thread_ = std::thread([this] { serve(); });
  static_cast<void>(ask([] {}));  // behind the open, so that whoever asks next finds the sources
}

void JackMidiBackend::end() {
  isEnding_ = true;
  inlet_->setRead(false);
  inlet_->wake();
  if (thread_.joinable()) {
    thread_.join();
  }
  client_.reset();
  known_.clear();
  links_ = {};
  const MutexLock lock(mutex_);
  questions_.clear();
}

bool JackMidiBackend::ask(std::function<void()> question) {
  if (!thread_.joinable()) {
    return false;
  }
  const auto answered = std::make_shared<std::promise<void>>();
  const auto isAnswered = answered->get_future();
  {
    const MutexLock lock(mutex_);
    questions_.push_back([question = std::move(question), answered] {
      question();
      answered->set_value();
    });
  }
  inlet_->wake();
  const auto limit = isHeldUp_ ? std::chrono::milliseconds(0) : longestAnswer;
  if (isAnswered.wait_for(limit) == std::future_status::ready) {
    return true;
  }
  isHeldUp_ = true;
  return false;
}

bool JackMidiBackend::answer() {
  std::vector<std::function<void()>> questions;
  {
    const MutexLock lock(mutex_);
    questions.swap(questions_);
  }
  for (const auto& question : questions) {
    question();
  }
  return isHeldUp_.exchange(false);
}

std::vector<MidiSource> JackMidiBackend::sources() {
  const auto found = std::make_shared<std::vector<MidiSource>>();
  const bool isKnown = ask([this, found] { *found = listSources(); });
  return isKnown ? *found : std::vector<MidiSource>();
}

Outcome JackMidiBackend::connect(const std::string& key) {
  const auto name = key.starts_with(jackKeyPrefix) ? key.substr(jackKeyPrefix.size()) : std::string();
  const auto status = std::make_shared<int>(-1);
  const bool isKnown = ask([this, name, status] {
    if (client_ && !name.empty()) {
      client_->use([&](jack_client_t* client) { *status = jack_connect(client, name.c_str(), links_.entry.c_str()); });
    }
    if (*status == 0 || *status == EEXIST) {
      links_.sources.insert(name);
    }
  });
  if (!isKnown) {
    return Error{"JACK does not answer"};
  }
  return *status == 0 || *status == EEXIST ? Outcome() : Error{"JACK refused to connect " + key};
}

void JackMidiBackend::serve() {
  openClient();
  audio::PlayedPacket packet;
  while (true) {
    inlet_->sleep(isChanging_ ? changingNanoseconds : retryNanoseconds);
    if (isEnding_) {
      return;
    }
    const bool wasHeldUp = answer();
    passOn(packet);
    if (noticeChange() || wasHeldUp) {
      listener_.setupChanged();
    }
  }
}

// The ports in the order in which the sources were linked to them: what the former ones have brought is older.
void JackMidiBackend::passOn(audio::PlayedPacket& packet) {
  const std::uint16_t entry = inlet_->entry().next;
  std::shared_ptr<JackMidiPort> last;
  for (const auto& port : inlet_->ports()) {
    if (port->number() == entry) {
      last = port;
    } else {
      passOn(*port, packet);
    }
  }
  const auto passOnOwn = [&] {
    while (packets_.pop(packet)) {
      listener_.packet(packet);
    }
  };
  if (entry != JackMidiInlet::ownPort) {
    passOnOwn();
  }
  if (isChanging_) {
    return;  // the former port may still bring something
  }
  if (last) {
    passOn(*last, packet);
  } else if (entry == JackMidiInlet::ownPort) {
    passOnOwn();
  }
}

void JackMidiBackend::passOn(JackMidiPort& port, audio::PlayedPacket& packet) {
  const bool isClosed = port.isClosed();
  while (port.pop(packet)) {
    listener_.packet(packet);
  }
  if (isClosed) {
    inlet_->remove(port);
  }
}

bool JackMidiBackend::followPlayingClient() {
  bool isWhole = true;
  client_->use([&](jack_client_t* client) { isWhole = moveLinks(client); });
  isChanging_ = !links_.former.empty();
  return isWhole;
}

bool JackMidiBackend::moveLinks(jack_client_t* client) {
  Links& links = links_;
  const jack_nframes_t period = jack_get_buffer_size(client);
  const jack_nframes_t now = jack_frame_time(client);
  if (!links.former.empty()) {
    const bool isPast = static_cast<std::int32_t>(now - links.changesAt - period) >= 0;
    if (!isPast && Clock::now() < links.changesBy) {
      return true;
    }
    for (const auto& source : links.sources) {
      jack_disconnect(client, source.c_str(), links.former.c_str());
    }
    links.former.clear();
    const auto number = inlet_->entry().next;
    inlet_->setEntry({number, number, 0});
  }
  std::string next = jack_port_name(port_);
  std::uint16_t number = JackMidiInlet::ownPort;
  for (const auto& port : inlet_->ports()) {
    if (port->isPlaying() && jack_port_by_name(client, port->name().c_str()) != nullptr) {
      next = port->name();
      number = port->number();
    }
  }
  const bool isOfSameName = next == links.entry;  // a client that ended too fast may have left its name to the next one
  if (isOfSameName && number == inlet_->entry().next) {
    return true;
  }
  bool isWhole = true;
  bool isFormerLinked = false;
  for (const auto& source : links.sources) {
    isFormerLinked = isFormerLinked || (!isOfSameName && isLinked(client, source, links.entry));
    const int status = jack_connect(client, source.c_str(), next.c_str());
    isWhole = isWhole && (status == 0 || status == EEXIST);
  }
  if (isFormerLinked) {
    // No period that begins then is without the new links.
    links.changesAt = jack_frame_time(client) + periodsToChange * period;
    links.changesBy = Clock::now() + longestChange(period, jack_get_sample_rate(client));  // where its time jumps
    links.former = links.entry;
    inlet_->setEntry({inlet_->entry().next, number, links.changesAt});
  } else {
    inlet_->setEntry({number, number, 0});
  }
  links.entry = next;
  return isWhole;
}

bool JackMidiBackend::noticeChange() {
  const bool wasServerLost = client_ && client_->isServerGone();
  if (wasServerLost) {
    client_.reset();
    links_ = {};
    isChanging_ = false;
  }
  bool isServerNew = false;
  if (!client_) {
    openClient();
    isServerNew = client_ != nullptr;
  }
  const bool havePortsChanged = havePortsChanged_.exchange(false);
  const bool mayMove = inlet_->takeChanged() || havePortsChanged || isChanging_;
  const bool isWhole = !client_ || !mayMove || followPlayingClient();
  if (isWhole && !havePortsChanged && !wasServerLost && !isServerNew) {
    return false;
  }
  auto sources = listSources();
  const bool differs = !isWhole || sources != known_ || hasLostLink();
  known_ = std::move(sources);
  std::erase_if(links_.sources, [this](const std::string& name) {
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
    library_ = library;
    port_ = jack_port_register(library, portName_.c_str(), midiType, JackPortIsInput | JackPortIsTerminal, 0);
    isRegistered = port_ != nullptr && jack_set_port_registration_callback(library, notePorts, this) == 0;
  });
  if (isRegistered && client->activate()) {
    client_ = std::move(client);
    static_cast<void>(followPlayingClient());
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
  if (client_) {
    // A port that went and came again under its name, before anyone looked, is not linked any more.
    client_->use([&](jack_client_t* client) {
      isLost = std::any_of(links_.sources.begin(), links_.sources.end(),
                           [&](const std::string& name) { return !isLinked(client, name, links_.entry); });
    });
  }
  return isLost;
}

int JackMidiBackend::process(jack_nframes_t frames, void* backend) {
  const AudioThreadScope audioThread;
  auto& self = *static_cast<JackMidiBackend*>(backend);
  if (!self.inlet_->takesIn(JackMidiInlet::ownPort, jack_last_frame_time(self.library_))) {
    return 0;  // what is linked here by hand is linked to the entry too
  }
  void* const buffer = jack_port_get_buffer(self.port_, frames);
  const auto count = jack_midi_get_event_count(buffer);
  jack_midi_event_t event{};
  for (std::uint32_t index = 0; index < count; ++index) {
    if (jack_midi_event_get(&event, buffer, index) == 0 && !self.packets_.handOn({event.buffer, event.size})) {
      self.inlet_->countDropped();
    }
  }
  if (count > 0) {
    self.inlet_->wake();
  }
  return 0;
}

void JackMidiBackend::notePorts(jack_port_id_t /*port*/, int /*isRegistered*/, void* backend) {
  auto& self = *static_cast<JackMidiBackend*>(backend);
  self.havePortsChanged_ = true;
  self.inlet_->wake();
}

void JackMidiBackend::wake(void* backend) {
  static_cast<JackMidiBackend*>(backend)->inlet_->wake();
}

}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/alsa_midi_backend.h"

#include <alsa/asoundlib.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "system/audio/timed_events.h"
#include "system/devices/alsa_silence.h"
#include "system/devices/sequencer_clock.h"

namespace vrel::system {
namespace {

constexpr int retryMilliseconds = 500;
constexpr std::size_t mostEventsWaiting = 2000;  // in the sequencer; more than that it refuses

// Above those who render blocks, since what is read too late for its block comes late; the work is short.
constexpr int readerPriority = 75;

/// Without the right to it things go on as they are.
void hurryReader() {
  sched_param parameters{};
  parameters.sched_priority = readerPriority;
  pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters);
}

std::int64_t nowNanoseconds() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Close {
  void operator()(snd_seq_t* sequencer) const { snd_seq_close(sequencer); }
  void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
  void operator()(snd_seq_client_info_t* info) const { snd_seq_client_info_free(info); }
  void operator()(snd_seq_port_info_t* info) const { snd_seq_port_info_free(info); }
  void operator()(snd_seq_queue_status_t* status) const { snd_seq_queue_status_free(status); }
};

template <typename Handle>
using Owned = std::unique_ptr<Handle, Close>;

Owned<snd_seq_client_info_t> makeClientInfo() {
  snd_seq_client_info_t* info = nullptr;
  snd_seq_client_info_malloc(&info);
  return Owned<snd_seq_client_info_t>(info);
}

Owned<snd_seq_port_info_t> makePortInfo() {
  snd_seq_port_info_t* info = nullptr;
  snd_seq_port_info_malloc(&info);
  return Owned<snd_seq_port_info_t>(info);
}

Owned<snd_seq_queue_status_t> makeQueueStatus() {
  snd_seq_queue_status_t* status = nullptr;
  snd_seq_queue_status_malloc(&status);
  return Owned<snd_seq_queue_status_t>(status);
}

/// Whether others may read what the port sends, as they may of a keyboard.
bool isSource(const snd_seq_port_info_t* port) {
  constexpr unsigned readable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
  constexpr unsigned musical = SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_SYNTH | SND_SEQ_PORT_TYPE_APPLICATION;
  const unsigned capability = snd_seq_port_info_get_capability(port);
  return (capability & readable) == readable && (capability & SND_SEQ_PORT_CAP_NO_EXPORT) == 0 &&
         (snd_seq_port_info_get_type(port) & musical) != 0;
}

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

/// "Keystation:Port 1", or what there is of it.
std::string displayName(const std::string& client, const std::string& port) {
  return client.empty() || port.empty() ? client + port : client + ":" + port;
}

}  // namespace

/// The library's client, with its port.
class AlsaMidiBackend::Sequencer {
 public:
  /// Null where there is none.
  static std::unique_ptr<Sequencer> open(const std::string& clientName, const std::string& portName) {
    snd_seq_t* handle = nullptr;
    if (snd_seq_open(&handle, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) != 0) {
      return nullptr;
    }
    auto sequencer = std::make_unique<Sequencer>(handle);
    snd_seq_set_client_name(handle, clientName.c_str());
    snd_seq_set_client_pool_input(handle, mostEventsWaiting);
    sequencer->startQueue();
    sequencer->makePort(portName);
    snd_midi_event_t* decoder = nullptr;
    const bool isReady = sequencer->port_ >= 0 && snd_midi_event_new(longestMessage, &decoder) == 0;
    sequencer->decoder_.reset(decoder);
    if (!isReady || !sequencer->connect({SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE})) {
      return nullptr;
    }
    snd_midi_event_no_status(decoder, 1);
    return sequencer;
  }

  explicit Sequencer(snd_seq_t* handle) : handle_(handle) {}

  [[nodiscard]] int client() const { return snd_seq_client_id(handle_.get()); }

  void eachSource(const std::function<void(const Address&, const std::string& name)>& visit) const {
    const auto client = makeClientInfo();
    const auto port = makePortInfo();
    snd_seq_client_info_set_client(client.get(), -1);
    while (snd_seq_query_next_client(handle_.get(), client.get()) == 0) {
      const int id = snd_seq_client_info_get_client(client.get());
      if (id == SND_SEQ_CLIENT_SYSTEM || id == this->client()) {
        continue;
      }
      snd_seq_port_info_set_client(port.get(), id);
      snd_seq_port_info_set_port(port.get(), -1);
      while (snd_seq_query_next_port(handle_.get(), port.get()) == 0) {
        if (isSource(port.get())) {
          visit({id, snd_seq_port_info_get_port(port.get())},
                displayName(textOf(snd_seq_client_info_get_name(client.get())),
                            textOf(snd_seq_port_info_get_name(port.get()))));
        }
      }
    }
  }

  [[nodiscard]] bool connect(const Address& source) const {
    const int status = snd_seq_connect_from(handle_.get(), port_, source.client, source.port);
    return status == 0 || status == -EBUSY;  // linked already
  }

  void disconnect(const Address& source) const {
    snd_seq_disconnect_from(handle_.get(), port_, source.client, source.port);
  }

  [[nodiscard]] std::vector<pollfd> descriptors() const {
    const int count = snd_seq_poll_descriptors_count(handle_.get(), POLLIN);
    std::vector<pollfd> descriptors(static_cast<std::size_t>(count));
    snd_seq_poll_descriptors(handle_.get(), descriptors.data(), static_cast<unsigned>(count), POLLIN);
    return descriptors;
  }

  /// The next event; null when there is none for now. Adds to `overruns` whenever some were lost.
  [[nodiscard]] const snd_seq_event_t* nextEvent(std::uint64_t& overruns) const {
    snd_seq_event_t* event = nullptr;
    int status = snd_seq_event_input(handle_.get(), &event);
    while (status == -ENOSPC) {
      ++overruns;
      status = snd_seq_event_input(handle_.get(), &event);
    }
    return status >= 0 ? event : nullptr;
  }

  /// When the event was played, nanoseconds of the monotonic clock.
  [[nodiscard]] std::int64_t timeOf(const snd_seq_event_t& event) const {
    constexpr std::int64_t second = 1'000'000'000;
    const bool isStamped = (event.flags & SND_SEQ_TIME_STAMP_MASK) == SND_SEQ_TIME_STAMP_REAL && clock_.isKnown();
    const auto& time = event.time.time;
    return isStamped ? clock_.monotonic(time.tv_sec * second + time.tv_nsec) : nowNanoseconds();
  }

  /// Compares the queue's time with the monotonic clock.
  void followClock() {
    constexpr std::int64_t second = 1'000'000'000;
    const std::int64_t before = nowNanoseconds();
    if (queue_ >= 0 && snd_seq_get_queue_status(handle_.get(), queue_, status_.get()) == 0) {
      const std::int64_t after = nowNanoseconds();
      const auto* const time = snd_seq_queue_status_get_real_time(status_.get());
      clock_.observe(before, time->tv_sec * second + time->tv_nsec, after);
    }
  }

  /// The bytes of an event, none for what is not MIDI.
  [[nodiscard]] std::vector<std::uint8_t> bytesOf(const snd_seq_event_t& event) const {
    if (event.type == SND_SEQ_EVENT_SYSEX) {
      const auto* const first = static_cast<const std::uint8_t*>(event.data.ext.ptr);
      return {first, first + event.data.ext.len};
    }
    std::vector<std::uint8_t> bytes(longestMessage);
    const long length = snd_midi_event_decode(decoder_.get(), bytes.data(), longestMessage, &event);
    bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return bytes;
  }

 private:
  static constexpr std::size_t longestMessage = 16;  // a parameter number with its value

  // Its time is stamped on what comes in. Without one messages have the time at which they are read.
  void startQueue() {
    queue_ = snd_seq_alloc_queue(handle_.get());
    if (queue_ >= 0) {
      snd_seq_control_queue(handle_.get(), queue_, SND_SEQ_EVENT_START, 0, nullptr);
      snd_seq_drain_output(handle_.get());
      followClock();
    }
  }

  void makePort(const std::string& name) {
    const auto info = makePortInfo();
    snd_seq_port_info_set_name(info.get(), name.c_str());
    snd_seq_port_info_set_capability(info.get(), SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE);
    snd_seq_port_info_set_type(info.get(), SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    snd_seq_port_info_set_midi_channels(info.get(), 16);
    if (queue_ >= 0) {
      snd_seq_port_info_set_timestamping(info.get(), 1);
      snd_seq_port_info_set_timestamp_real(info.get(), 1);
      snd_seq_port_info_set_timestamp_queue(info.get(), queue_);
    }
    port_ = snd_seq_create_port(handle_.get(), info.get()) == 0 ? snd_seq_port_info_get_port(info.get()) : -1;
  }

  Owned<snd_seq_t> handle_;
  Owned<snd_seq_queue_status_t> status_ = makeQueueStatus();
  SequencerClock clock_;
  int queue_ = -1;
  Owned<snd_midi_event_t> decoder_;
  int port_ = -1;
};

AlsaMidiBackend::AlsaMidiBackend(std::shared_ptr<audio::TimedEvents> timed) : timed_(std::move(timed)) {}

AlsaMidiBackend::~AlsaMidiBackend() {
  AlsaMidiBackend::end();
}

void AlsaMidiBackend::begin(const std::string& clientName, const std::string& portName, Listener listener) {
  silenceAlsa();
  clientName_ = clientName;
  portName_ = portName;
  listener_ = std::move(listener);
  isEnding_ = false;
  wakeDescriptor_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  {
    // Now, so that whoever asks next finds the sources.
    const MutexLock lock(mutex_);
    static_cast<void>(open());
  }
  thread_ = std::thread([this] { serve(); });
}

void AlsaMidiBackend::end() {
  isEnding_ = true;
  if (wakeDescriptor_ >= 0) {
    static_cast<void>(::eventfd_write(wakeDescriptor_, 1));
  }
  if (thread_.joinable()) {
    thread_.join();
  }
  if (wakeDescriptor_ >= 0) {
    ::close(std::exchange(wakeDescriptor_, -1));
  }
  const MutexLock lock(mutex_);
  sequencer_.reset();
  linked_.clear();
}

bool AlsaMidiBackend::open() {
  sequencer_ = Sequencer::open(clientName_, portName_);
  return sequencer_ != nullptr;
}

std::string AlsaMidiBackend::keyOf(const Address& address) const {
  const auto found = appearances_.find(address);
  const unsigned appearance = found == appearances_.end() ? 0 : found->second;
  return "alsa:" + std::to_string(address.client) + ":" + std::to_string(address.port) + "#" +
         std::to_string(appearance);
}

std::vector<MidiSource> AlsaMidiBackend::sources() {
  const MutexLock lock(mutex_);
  std::vector<MidiSource> sources;
  if (sequencer_) {
    sequencer_->eachSource([&](const Address& address, const std::string& name)
                               VREL_REQUIRES(mutex_) { sources.push_back({.key = keyOf(address), .name = name}); });
  }
  return sources;
}

Outcome AlsaMidiBackend::connect(const std::string& key) {
  const MutexLock lock(mutex_);
  std::optional<Address> address;
  if (sequencer_) {
    sequencer_->eachSource([&](const Address& each, const std::string&) VREL_REQUIRES(mutex_) {
      if (keyOf(each) == key) {
        address = each;
      }
    });
  }
  if (!address) {
    return Error{"no such source: " + key};
  }
  if (const auto linked = linked_.find(*address); linked != linked_.end() && linked->second == key) {
    return {};
  }
  if (!sequencer_->connect(*address)) {
    return Error{"no link to " + key};
  }
  linked_.insert_or_assign(*address, key);
  return {};
}

void AlsaMidiBackend::disconnect() {
  const MutexLock lock(mutex_);
  for (const auto& [address, key] : linked_) {
    sequencer_->disconnect(address);  // there is one: without it nothing is linked
  }
  linked_.clear();
  held_ = {};  // what is held is released by the way that is read from now on
}

void AlsaMidiBackend::serve() {
  hurryReader();
  while (!isEnding_) {
    const bool isWhole = wait();
    if (isEnding_) {
      return;
    }
    const auto news = isWhole ? read() : abandon();
    for (const auto& packet : news.packets) {
      listener_.packet(packet);
    }
    if (news.isSetupChanged) {
      listener_.setupChanged();
    }
  }
}

bool AlsaMidiBackend::wait() {
  std::vector<pollfd> descriptors;
  {
    const MutexLock lock(mutex_);
    if (sequencer_) {
      descriptors = sequencer_->descriptors();
    }
  }
  const int timeout = descriptors.empty() ? retryMilliseconds : -1;
  descriptors.push_back({.fd = wakeDescriptor_, .events = POLLIN, .revents = 0});
  ::poll(descriptors.data(), descriptors.size(), timeout);
  return std::none_of(descriptors.begin(), descriptors.end(),
                      [](const pollfd& each) { return (each.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0; });
}

AlsaMidiBackend::News AlsaMidiBackend::abandon() {
  const MutexLock lock(mutex_);
  News news{.packets = {}, .isSetupChanged = true};
  sequencer_.reset();
  linked_.clear();
  release(news);
  return news;
}

AlsaMidiBackend::News AlsaMidiBackend::read() {
  const MutexLock lock(mutex_);
  News news;
  if (!sequencer_) {
    news.isSetupChanged = open();
    return news;
  }
  std::uint64_t overruns = 0;
  std::uint64_t overrunsBefore = 0;
  const auto releaseBehindLoss = [&]() VREL_REQUIRES(mutex_) {
    if (std::exchange(overrunsBefore, overruns) != overruns) {
      release(news);
    }
  };
  sequencer_->followClock();
  while (const auto* const event = sequencer_->nextEvent(overruns)) {
    releaseBehindLoss();
    switch (event->type) {
      case SND_SEQ_EVENT_PORT_START:
      case SND_SEQ_EVENT_PORT_EXIT:
      case SND_SEQ_EVENT_PORT_CHANGE:
        noteAnnouncement(event->type, {event->data.addr.client, event->data.addr.port}, news);
        break;
      default:
        if (auto bytes = sequencer_->bytesOf(*event); !bytes.empty()) {
          if (bytes.size() == 3) {
            held_.follow({bytes[0], bytes[1], bytes[2]});
          }
          news.packets.push_back(giveToBlocks(std::move(bytes), sequencer_->timeOf(*event)));
        }
    }
  }
  releaseBehindLoss();
  if (overruns > 0) {
    overruns_ += overruns;
    // An announcement may be among what was lost: all are linked again.
    linked_.clear();
    news.isSetupChanged = true;
  }
  return news;
}

audio::PlayedPacket AlsaMidiBackend::giveToBlocks(std::vector<std::uint8_t> bytes, std::int64_t time) const {
  audio::PlayedPacket packet{.bytes = std::move(bytes)};
  if (timed_ != nullptr && packet.bytes.size() >= 2) {
    const auto& played = packet.bytes;
    packet.areInstrumentsServed =
        timed_->push(time, {played[0], played[1], played.size() > 2 ? played[2] : std::uint8_t{0}});
    packet.untilRouted = packet.areInstrumentsServed ? nullptr : timed_->owe();
  }
  return packet;
}

void AlsaMidiBackend::release(News& news) {
  for (const MidiMessage message : held_.takeReleases()) {
    news.packets.push_back(giveToBlocks({message.status, message.data1, message.data2}, nowNanoseconds()));
  }
}

std::uint64_t AlsaMidiBackend::dropped() const {
  return overruns_ + (timed_ != nullptr ? timed_->overruns() : 0);
}

void AlsaMidiBackend::noteAnnouncement(int type, const Address& address, News& news) {
  if (address.client == sequencer_->client()) {
    return;
  }
  news.isSetupChanged = true;
  if (type == SND_SEQ_EVENT_PORT_START) {
    ++appearances_[address];
  }
  if (type != SND_SEQ_EVENT_PORT_CHANGE) {
    linked_.erase(address);
  }
}

}  // namespace vrel::system

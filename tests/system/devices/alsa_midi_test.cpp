// SPDX-License-Identifier: GPL-3.0-or-later
// ALSA's sequencer as a test plays it: the library's calls that would reach the kernel are defined here.

#include <alsa/asoundlib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/devices/child_process.h"
#include "system/audio/timed_events.h"
#include "system/devices/alsa_midi_backend.h"
#include "system/devices/sequencer_clock.h"

namespace vrel::system::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Address = std::pair<int, int>;
using Message = std::vector<std::uint8_t>;

constexpr int ownClient = 128;

// The queue's clock began so much later than the machine's.
constexpr std::int64_t queueBegin = 5'000'000'000;

std::int64_t queueNow() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count() - queueBegin;
}
constexpr Address announcements{SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE};

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
    const std::lock_guard lock(mutex);
    if (links.contains(address)) {
      snd_seq_event_t event{};
      event.type = SND_SEQ_EVENT_NOTEON;
      event.source.client = static_cast<unsigned char>(address.first);
      event.source.port = static_cast<unsigned char>(address.second);
      event.data.note.note = note;
      event.data.note.velocity = 100;
      if (time) {
        event.flags = SND_SEQ_TIME_STAMP_REAL;
        event.time.time = {static_cast<unsigned>(*time / 1'000'000'000), static_cast<unsigned>(*time % 1'000'000'000)};
      }
      post(event);
    }
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

PlayedSequencer* played = nullptr;

/// A backend on a sequencer of the test's; every change connects all sources, as the program does.
class AlsaMidi : public testing::Test {
 protected:
  AlsaMidi() {
    sequencer.descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    played = &sequencer;
  }
  ~AlsaMidi() override {
    backend.end();
    ::close(sequencer.descriptor);
    played = nullptr;
  }

  void begin() {
    const auto receive = [this](const audio::PlayedPacket& packet) {
      const std::lock_guard lock(mutex);
      messages.push_back(packet.bytes);
      served.push_back(packet.areInstrumentsServed);
    };
    backend.begin("Client", "Port", {.packet = receive, .setupChanged = [this] { ++changes; }});
    connectAll();
  }

  void connectAll() {
    for (const auto& source : backend.sources()) {
      static_cast<void>(backend.connect(source.key));
    }
  }

  [[nodiscard]] bool eventuallyChanged(int seen) {
    const bool isChanged = eventually([&] { return changes > seen; });
    connectAll();
    return isChanged;
  }

  [[nodiscard]] bool eventuallyHears(Address address, unsigned char note) {
    sequencer.play(address, note);
    return eventually([&] {
      const std::lock_guard lock(mutex);
      return !messages.empty() && messages.back() == Message{0x90, note, 100};
    });
  }

  [[nodiscard]] std::vector<std::string> names() {
    std::vector<std::string> result;
    for (const auto& source : backend.sources()) {
      result.push_back(source.name);
    }
    return result;
  }

  PlayedSequencer sequencer;
  std::mutex mutex;
  std::vector<Message> messages;  // guarded by mutex
  std::vector<bool> served;       // guarded by mutex
  std::atomic<int> changes{0};
  std::shared_ptr<audio::TimedEvents> timed = std::make_shared<audio::TimedEvents>();
  AlsaMidiBackend backend{timed};
};

const PlayedSequencer::Port keys{{20, 0}, "Keys", "Port 1"};
const PlayedSequencer::Port pedals{{24, 1}, "Pedals", "Port 2"};

TEST_F(AlsaMidi, AllSourcesAreReadThroughOnePort) {
  sequencer.addPort(keys);
  sequencer.addPort(pedals);
  begin();
  EXPECT_THAT(names(), ElementsAre("Keys:Port 1", "Pedals:Port 2"));
  EXPECT_TRUE(eventuallyHears(keys.address, 60));
  EXPECT_TRUE(eventuallyHears(pedals.address, 62));
}

TEST_F(AlsaMidi, ASourceThatGoesAndComesBackBetweenTwoLooksIsANewOneAndIsHeard) {
  sequencer.addPort(keys);
  begin();
  const auto before = backend.sources().front().key;
  ASSERT_TRUE(eventuallyHears(keys.address, 60));
  const int seen = changes;
  sequencer.replug(keys);
  ASSERT_TRUE(eventuallyChanged(seen));
  EXPECT_THAT(names(), ElementsAre("Keys:Port 1"));
  EXPECT_NE(backend.sources().front().key, before);
  EXPECT_TRUE(backend.connect(before)) << "it is not there any more";
  EXPECT_TRUE(eventuallyHears(keys.address, 61));
}

TEST_F(AlsaMidi, ASourceWithoutANameDoesNotShiftTheOthers) {
  sequencer.addPort({{20, 0}, "", ""});
  sequencer.addPort(pedals);
  begin();
  EXPECT_THAT(names(), ElementsAre("", "Pedals:Port 2"));
  const auto sources = backend.sources();
  EXPECT_NE(sources[0].key, sources[1].key);
  EXPECT_TRUE(sequencer.isLinked({20, 0}));
  EXPECT_TRUE(sequencer.isLinked(pedals.address));
  EXPECT_TRUE(eventuallyHears(pedals.address, 62));
}

TEST_F(AlsaMidi, TwoSourcesOfOneNameAreTwo) {
  sequencer.addPort(keys);
  sequencer.addPort({{21, 0}, "Keys", "Port 1"});
  begin();
  const auto sources = backend.sources();
  ASSERT_EQ(sources.size(), 2U);
  EXPECT_NE(sources[0].key, sources[1].key);
  EXPECT_TRUE(eventuallyHears({20, 0}, 60));
  EXPECT_TRUE(eventuallyHears({21, 0}, 61));
}

TEST_F(AlsaMidi, SourcesThatComeAndGoAreAnnounced) {
  begin();
  EXPECT_THAT(names(), IsEmpty());
  int seen = changes;
  sequencer.addPort(keys);
  ASSERT_TRUE(eventuallyChanged(seen));
  EXPECT_TRUE(eventuallyHears(keys.address, 60));
  seen = changes;
  sequencer.removePort(keys.address);
  ASSERT_TRUE(eventuallyChanged(seen));
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(AlsaMidi, LostAnnouncementsAreMadeUpForByLinkingAll) {
  sequencer.addPort(keys);
  begin();
  const int seen = changes;
  sequencer.loseEvents();
  ASSERT_TRUE(eventuallyChanged(seen));
  EXPECT_TRUE(eventuallyHears(keys.address, 60));
}

TEST_F(AlsaMidi, AnOverrunIsCounted) {
  sequencer.addPort(keys);
  begin();
  EXPECT_EQ(backend.dropped(), 0U);
  for (const std::uint64_t overruns : {1U, 2U}) {
    const int seen = changes;
    sequencer.loseEvents();
    ASSERT_TRUE(eventuallyChanged(seen));
    EXPECT_EQ(backend.dropped(), overruns);
  }
}

TEST_F(AlsaMidi, ASequencerThatComesLaterIsFound) {
  sequencer.isThere = false;
  begin();
  EXPECT_THAT(names(), IsEmpty());
  {
    const std::lock_guard lock(sequencer.mutex);
    sequencer.isThere = true;
  }
  sequencer.addPort(keys);
  ASSERT_TRUE(eventuallyChanged(0));
  EXPECT_TRUE(eventuallyHears(keys.address, 60));
}

TEST_F(AlsaMidi, WhatIsPlayedComesToItsBlockByTheTimeThatTheSequencerHasStampedOnIt) {
  sequencer.addPort(keys);
  begin();
  EXPECT_TRUE(sequencer.isStamping);
  ASSERT_TRUE(eventuallyHears(keys.address, 59)) << "no block takes it";
  {
    const AudioThreadScope block;
    timed->setTaken(true);
  }
  const std::int64_t playedAt = queueNow();
  sequencer.play(keys.address, 60, playedAt);
  sequencer.play(keys.address, 61, playedAt + 1'000'000);
  ASSERT_TRUE(eventuallyHears(keys.address, 62));
  EXPECT_EQ(served, (std::vector<bool>{false, true, true, true}));
  const AudioThreadScope block;
  const auto due = timed->take(static_cast<std::uint64_t>(playedAt + queueBegin + 1'666'667), 128, 48000);
  ASSERT_GE(due.size(), 2U);
  EXPECT_EQ(due[0].message, (MidiMessage{0x90, 60, 100}));
  EXPECT_NEAR(due[0].frame, 48, 1) << "a block later, less the 80 frames since";
  EXPECT_EQ(due[1].message, (MidiMessage{0x90, 61, 100}));
  EXPECT_EQ(due[1].frame, due[0].frame + 48);
}

TEST(SequencerClock, QuestionsThatWereHeldUpMoveNothing) {
  SequencerClock clock;
  clock.observe(1000, 0, 3000);
  for (int question = 1; question <= 1000; ++question) {
    const std::int64_t now = question * 1'000'000;
    const bool isHeldUp = question % 3 == 0;
    clock.observe(now + 1000, now, now + (isHeldUp ? 900'000 : 3000));
  }
  EXPECT_NEAR(static_cast<double>(clock.monotonic(0)), 2000, 100);
}

TEST(SequencerClock, ADriftIsFollowedAndAJumpTakenOver) {
  SequencerClock clock;
  std::int64_t queue = 0;
  std::int64_t now = 0;
  for (int question = 0; question < 10000; ++question, now += 1'000'000, queue += 1'000'100) {
    clock.observe(now, queue, now + 2000);
    EXPECT_LT(std::abs(clock.monotonic(queue) - now), 20'000) << "a frame";
  }
  now += 1'000'000'000;
  clock.observe(now, queue, now + 2000);
  EXPECT_EQ(clock.monotonic(queue), now + 1000);
}

TEST_F(AlsaMidi, AfterTheEndNothingIsCalled) {
  sequencer.addPort(keys);
  begin();
  backend.end();
  const int seen = changes;
  sequencer.play(keys.address, 60);
  sequencer.removePort(keys.address);
  EXPECT_EQ(changes, seen);
  EXPECT_THAT(messages, IsEmpty());
  EXPECT_FALSE(sequencer.isOpen);
}

}  // namespace
}  // namespace vrel::system::test

using vrel::system::test::ownClient;
using vrel::system::test::played;
using vrel::system::test::PlayedSequencer;

// The library's calls that reach the kernel.
extern "C" {

int snd_seq_open(snd_seq_t** handle, const char* /*name*/, int /*streams*/, int /*mode*/) {
  const std::lock_guard lock(played->mutex);
  if (!played->isThere) {
    return -ENOENT;
  }
  played->isOpen = true;
  *handle = reinterpret_cast<snd_seq_t*>(played);
  return 0;
}

int snd_seq_close(snd_seq_t* /*handle*/) {
  const std::lock_guard lock(played->mutex);
  played->isOpen = false;
  played->links.clear();
  return 0;
}

int snd_seq_set_client_name(snd_seq_t* /*handle*/, const char* /*name*/) {
  return 0;
}

int snd_seq_client_id(snd_seq_t* /*handle*/) {
  return ownClient;
}

int snd_seq_create_port(snd_seq_t* /*handle*/, snd_seq_port_info_t* info) {
  played->isStamping = snd_seq_port_info_get_timestamping(info) != 0 && snd_seq_port_info_get_timestamp_real(info) != 0;
  snd_seq_port_info_set_port(info, 0);
  return 0;
}

int snd_seq_alloc_queue(snd_seq_t* /*handle*/) {
  return 0;
}

int snd_seq_control_queue(snd_seq_t* /*handle*/, int /*queue*/, int /*type*/, int /*value*/,
                          snd_seq_event_t* /*event*/) {
  return 0;
}

int snd_seq_drain_output(snd_seq_t* /*handle*/) {
  return 0;
}

int snd_seq_get_queue_status(snd_seq_t* /*handle*/, int /*queue*/, snd_seq_queue_status_t* /*status*/) {
  const std::int64_t now = vrel::system::test::queueNow();
  const std::lock_guard lock(played->mutex);
  played->queueTime = {static_cast<unsigned>(now / 1'000'000'000), static_cast<unsigned>(now % 1'000'000'000)};
  return 0;
}

const snd_seq_real_time_t* snd_seq_queue_status_get_real_time(const snd_seq_queue_status_t* /*status*/) {
  return &played->queueTime;
}

int snd_seq_query_next_client(snd_seq_t* /*handle*/, snd_seq_client_info_t* info) {
  const std::lock_guard lock(played->mutex);
  const int last = snd_seq_client_info_get_client(info);
  const PlayedSequencer::Port* next = nullptr;
  for (const auto& port : played->ports) {
    if (port.address.first > last && (next == nullptr || port.address.first < next->address.first)) {
      next = &port;
    }
  }
  if (next == nullptr) {
    return -ENOENT;
  }
  snd_seq_client_info_set_client(info, next->address.first);
  snd_seq_client_info_set_name(info, next->clientName.c_str());
  return 0;
}

int snd_seq_query_next_port(snd_seq_t* /*handle*/, snd_seq_port_info_t* info) {
  const std::lock_guard lock(played->mutex);
  const int client = snd_seq_port_info_get_client(info);
  constexpr int beforeTheFirst = 255;  // a port is one byte
  const int port = snd_seq_port_info_get_port(info);
  const int last = port == beforeTheFirst ? -1 : port;
  for (const auto& each : played->ports) {
    if (each.address.first == client && each.address.second > last) {
      snd_seq_port_info_set_port(info, each.address.second);
      snd_seq_port_info_set_name(info, each.name.c_str());
      snd_seq_port_info_set_capability(info, SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ);
      snd_seq_port_info_set_type(info, SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_HARDWARE);
      return 0;
    }
  }
  return -ENOENT;
}

int snd_seq_connect_from(snd_seq_t* /*handle*/, int /*port*/, int client, int port) {
  const std::lock_guard lock(played->mutex);
  return played->links.insert({client, port}).second ? 0 : -EBUSY;
}

int snd_seq_poll_descriptors_count(snd_seq_t* /*handle*/, short /*events*/) {
  return 1;
}

int snd_seq_poll_descriptors(snd_seq_t* /*handle*/, pollfd* descriptors, unsigned /*space*/, short events) {
  descriptors[0] = {.fd = played->descriptor, .events = events, .revents = 0};
  return 1;
}

int snd_seq_event_input(snd_seq_t* /*handle*/, snd_seq_event_t** event) {
  const std::lock_guard lock(played->mutex);
  eventfd_t count = 0;
  ::eventfd_read(played->descriptor, &count);
  if (std::exchange(played->isOverrun, false)) {
    return -ENOSPC;
  }
  if (played->events.empty()) {
    return -EAGAIN;
  }
  played->current = played->events.front();
  played->events.pop_front();
  *event = &played->current;
  return 1;
}

}  // extern "C"

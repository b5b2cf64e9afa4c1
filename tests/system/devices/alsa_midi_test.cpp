// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/devices/child_process.h"
#include "system/audio/timed_events.h"
#include "system/devices/alsa_midi_backend.h"
#include "system/devices/played_sequencer.h"
#include "system/devices/sequencer_clock.h"

namespace vrel::system::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Message = std::vector<std::uint8_t>;

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

TEST_F(AlsaMidi, WhatIsDisconnectedIsHeardAgainOnceItIsConnected) {
  sequencer.addPort(keys);
  begin();
  ASSERT_TRUE(eventuallyHears(keys.address, 60));
  backend.disconnect();
  EXPECT_FALSE(sequencer.isLinked(keys.address));
  connectAll();
  EXPECT_TRUE(eventuallyHears(keys.address, 62));
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

TEST_F(AlsaMidi, WhatIsHeldWhenEventsAreLostIsReleasedSinceItsReleaseMayBeAmongThem) {
  sequencer.addPort(keys);
  begin();
  sequencer.control(keys.address, 64, 127);
  sequencer.control(keys.address, 11, 70);
  sequencer.play(keys.address, 60);
  sequencer.play(keys.address, 62);
  sequencer.release(keys.address, 62);
  ASSERT_TRUE(eventuallyHears(keys.address, 64));
  const auto releasesOf = [this](const auto& lose) {
    const std::size_t before = messages.size();
    const int seen = changes;
    lose();
    EXPECT_TRUE(eventuallyChanged(seen));
    const std::lock_guard lock(mutex);
    return std::vector<Message>(messages.begin() + static_cast<std::ptrdiff_t>(before), messages.end());
  };
  const auto lose = [this] { sequencer.loseEvents(); };
  EXPECT_THAT(releasesOf(lose),
              ElementsAre(Message{0xB0, 64, 0}, Message{0x80, 60, 0}, Message{0x80, 64, 0}, Message{0xB0, 123, 0}));
  EXPECT_THAT(releasesOf(lose), IsEmpty()) << "nothing is held any more";
  ASSERT_TRUE(eventuallyHears(keys.address, 65));
  EXPECT_THAT(releasesOf(lose), ElementsAre(Message{0x80, 65, 0}, Message{0xB0, 123, 0}));
}

TEST_F(AlsaMidi, ASequencerKeepsAsManyMessagesAsItCan) {
  begin();
  EXPECT_EQ(sequencer.eventsKept, 2000U);
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

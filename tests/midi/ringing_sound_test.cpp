// SPDX-License-Identifier: GPL-3.0-or-later

// What is heard when a song rings beside the next one: in the real graph, to the sample.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

#include "engine/audio_engine.h"
#include "engine/ringing_strips.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"
#include "support/audio/live_device.h"
#include "support/audio/measure.h"
#include "support/audio/recording_instrument.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_node_factory.h"
#include "system/plugins/instrument_events.h"

namespace vrel {
namespace {

constexpr double ringRate = 48000;
constexpr std::uint32_t ringBlock = 128;
constexpr std::size_t left = 0;
constexpr std::size_t right = 1;

/// A tone on one channel while a key is down, which dies within half a second after its release.
class ToneProcessor final : public audio::NodeProcessor {
 public:
  ToneProcessor(std::size_t channel, double hertz)
      : channel_(channel), step_(2 * std::numbers::pi * hertz / ringRate) {}

  void prepare(double /*sampleRate*/) VREL_NOT_AUDIO_THREAD override {}
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t /*count*/) const override { return 2; }
  void process(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    for (std::uint32_t frame = 0; frame < block.frameCount; ++frame) {
      takeEvents(frame);
      level_ = isHeld_ ? level_ : level_ * 0.999;
      level_ = level_ < 1e-9 ? 0 : level_;
      block.output.channels[channel_][frame] = static_cast<float>(level_ * std::sin(phase_));
      phase_ += step_;
    }
    events_.endBlock();
  }

  void send(const MidiMessage& message) { (void)events_.send({{message.status, message.data1, message.data2}}); }

 private:
  void takeEvents(std::uint32_t frame) noexcept VREL_AUDIO_THREAD {
    for (const MidiRecord* record = events_.front(); record != nullptr && record->frame <= frame;
         record = events_.front()) {
      const auto status = static_cast<std::uint8_t>(record->bytes[0] & 0xF0);
      if (status == 0x90 || status == 0x80) {
        isHeld_ = status == 0x90;
        level_ = isHeld_ ? 0.25 : level_;
      }
      events_.pop();
    }
  }

  const std::size_t channel_;
  const double step_;
  std::atomic<std::uint64_t> dropped_{0};
  InstrumentEvents events_{dropped_};
  bool isHeld_ = false;
  double level_ = 0;
  double phase_ = 0;
};

class ToneInstrument final : public audio::GraphNodeOf<AVAudioUnitMIDIInstrument> {
 public:
  ToneInstrument(std::size_t channel, double hertz) : processor_(std::make_shared<ToneProcessor>(channel, hertz)) {}

  [[nodiscard]] AUAudioUnit& auAudioUnit() override { return core_; }
  void reset() override {}
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) override {
    processor_->send({status, data1, data2});
  }
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1) override { processor_->send({status, data1, 0}); }
  void setVolume(float /*linearGain*/) override {}
  [[nodiscard]] float volume() const override { return 1; }
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return processor_; }

 private:
  simulation::ScriptedUnitCore core_;
  std::shared_ptr<ToneProcessor> processor_;
};

/// An engine with the real graph on this device.
template <typename Device>
struct RingMachine {
  explicit RingMachine(std::shared_ptr<Device> theDevice) : device(std::move(theDevice)) { mainQueue.runAll(); }

  std::shared_ptr<AudioChannel> addStrip(const std::shared_ptr<AVAudioNode>& instrument) {
    auto channel = engine->addChannel("strip");
    engine->instruments().installInstrumentNode(*channel, instrument, "aucd:1635085685:10:20", "tone", std::nullopt);
    return channel;
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  std::shared_ptr<Device> device;
  std::shared_ptr<audio::RenderCounters> counters = std::make_shared<audio::RenderCounters>();
  audio::RenderNodeFactory nodes{device, counters};
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console});
};

/// A song that plays a held key on the left; the song behind it plays one on the right.
struct RingShow : RingMachine<audio::OfflineDevice> {
  RingShow() : RingMachine(std::make_shared<audio::OfflineDevice>(ringRate, ringBlock)) {
    first = addStrip(std::make_shared<ToneInstrument>(left, 220));
    engine->routeMIDI(0x90, 60, 100);
    play(0.2);
  }

  void play(double seconds) {
    for (double done = 0; done < seconds; done += ringBlock / ringRate) {
      mainQueue.advance(ringBlock / ringRate);
      const auto block = device->renderBlock();
      sound[left].insert(sound[left].end(), block.left.begin(), block.left.end());
      sound[right].insert(sound[right].end(), block.right.begin(), block.right.end());
    }
  }

  /// To the next song, in which a key is pressed at once.
  void goOn(double secondsToRing) {
    switchFrame = sound[left].size();
    engine->removeAllChannels(secondsToRing);
    second = addStrip(std::make_shared<ToneInstrument>(right, 330));
    engine->routeMIDI(0x90, 64, 100);
  }

  [[nodiscard]] std::size_t frames() const { return sound[left].size(); }
  [[nodiscard]] std::span<const float> heard(std::size_t channel, std::size_t from, double seconds) const {
    return std::span(sound.at(channel)).subspan(from, static_cast<std::size_t>(seconds * ringRate));
  }
  /// Of the song that went, from some time after the switch on.
  [[nodiscard]] double levelAfter(double seconds) const {
    return audio::test::peak(heard(left, switchFrame + static_cast<std::size_t>(seconds * ringRate), 0.05));
  }
  /// Of the song that went, around some time after the switch.
  void expectNoClick(double seconds) const {
    constexpr double around = 0.2;
    const auto from = switchFrame + static_cast<std::size_t>((seconds - around) * ringRate);
    const auto samples = heard(left, from, 2 * around);
    EXPECT_LE(audio::test::splatterDecibels({samples.begin(), samples.end()}, ringRate, fullLevel()), -50);
  }
  [[nodiscard]] double fullLevel() const { return audio::test::peak(heard(left, 4800, 0.05)); }

  std::shared_ptr<AudioChannel> first;
  std::shared_ptr<AudioChannel> second;
  std::size_t switchFrame = 0;
  std::array<std::vector<float>, 2> sound;
};

TEST(RingingSound, TheSongThatGoesSoundsOnToTheSampleUntilItFadesAndEndsInTime) {
  RingShow ringing;
  RingShow staying;
  ringing.goOn(2);
  ringing.play(2.5);
  staying.play(2.5);
  const auto fade = ringing.switchFrame + static_cast<std::size_t>(1.49 * ringRate);
  for (std::size_t frame = 0; frame < fade; ++frame) {
    ASSERT_EQ(ringing.sound[left][frame], staying.sound[left][frame]) << frame;
  }
  EXPECT_NEAR(ringing.levelAfter(1.75), 0.5 * ringing.fullLevel(), 0.03 * ringing.fullLevel());
  EXPECT_GT(ringing.levelAfter(1.9), 0);
  EXPECT_EQ(ringing.levelAfter(2.01), 0);
  EXPECT_TRUE(ringing.engine->ringingChannels().empty());
  ringing.expectNoClick(1.5);
  ringing.expectNoClick(2);
  EXPECT_EQ(ringing.counters->silentBlocks.load(), 0U);
}

TEST(RingingSound, TheNextSongIsTheSameToTheSample) {
  RingShow ringing;
  RingShow cut;
  ringing.goOn(2);
  cut.goOn(0);
  ringing.play(2.5);
  cut.play(2.5);
  EXPECT_GT(ringing.levelAfter(1), 0);
  EXPECT_EQ(cut.levelAfter(0.02), 0) << "without the setting it ends at once";
  EXPECT_GT(audio::test::peak(ringing.heard(right, ringing.switchFrame + 4800, 0.1)), 0);
  EXPECT_EQ(ringing.sound[right], cut.sound[right]);
}

TEST(RingingSound, AKeyThatIsReleasedInTheNextSongDiesAwayAndTheStripGoes) {
  RingShow show;
  show.goOn(20);
  show.play(1);
  EXPECT_GT(show.levelAfter(0.9), 0.9 * show.fullLevel());
  show.engine->routeMIDI(0x80, 60, 0);
  show.play(1);
  EXPECT_LT(show.levelAfter(1.1), 0.1 * show.fullLevel());
  EXPECT_GT(show.levelAfter(1.02), 0) << "in its own time";
  EXPECT_EQ(show.engine->ringingChannels().size(), 1U);
  show.play(2);
  EXPECT_TRUE(show.engine->ringingChannels().empty()) << "long before the time is over";
}

TEST(RingingSound, TheReverbOfTheStripRingsWithIt) {
  RingShow ringing;
  RingShow cut;
  for (auto* const show : {&ringing, &cut}) {
    show->first->reverb.set(1);
    show->play(0.5);
    show->engine->routeMIDI(0x80, 60, 0);
    show->goOn(show == &ringing ? 10 : 0);
    show->play(1.5);
  }
  EXPECT_GT(ringing.levelAfter(1), 1e-4) << "longer than the instrument";
  EXPECT_EQ(cut.levelAfter(0.02), 0);
}

TEST(RingingSound, TheSwitchBehindItAndAPanicEndItWithoutAClick) {
  for (const bool isPanic : {false, true}) {
    RingShow show;
    show.goOn(10);
    show.play(0.5);
    if (isPanic) {
      show.engine->panic();
    } else {
      show.engine->removeAllChannels();
    }
    show.play(0.5);
    EXPECT_GT(show.levelAfter(0.4), 0.9 * show.fullLevel());
    EXPECT_EQ(show.levelAfter(0.51), 0);
    EXPECT_TRUE(show.engine->ringingChannels().empty());
    show.expectNoClick(0.5);
  }
}

TEST(RingingSound, OnADeviceTheReleaseComesAtItsFrameAndAPressOnlyToTheNextSong) {
  using audio::test::RecordingInstrument;
  RingMachine machine(std::make_shared<audio::test::LiveDevice>());
  const auto old = std::make_shared<RecordingInstrument>();
  const auto next = std::make_shared<RecordingInstrument>();
  machine.addStrip(old);
  machine.device->play(2);
  machine.engine->removeAllChannels(5);
  machine.device->play(1);
  machine.addStrip(next);
  std::array<audio::DeviceEvent, 4> events{
      {{3, {0x90, 62, 100}}, {40, {0xB0, 64, 127}}, {77, {0x80, 60, 0}}, {90, {0xB0, 64, 0}}}};
  const auto begin = std::uint64_t{3} * audio::test::LiveDevice::frames;
  machine.device->playWith(events);
  using Taken = std::vector<audio::test::TakenEvent>;
  EXPECT_EQ(old->taken(), (Taken{{begin + 77, {0x80, 60, 0}}, {begin + 90, {0xB0, 64, 0}}}));
  EXPECT_EQ(next->taken().size(), 4U);
  EXPECT_TRUE(std::ranges::all_of(events, [](const auto& event) { return event.isRouted; }));
  EXPECT_EQ(machine.counters->silentBlocks.load(), 0U);
}

}  // namespace
}  // namespace vrel

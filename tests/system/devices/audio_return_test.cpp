// SPDX-License-Identifier: GPL-3.0-or-later
// Devices that come and go by themselves, as a test scripts them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>

#include "support/audio/test_nodes.h"
#include "support/devices/child_process.h"
#include "system/audio/render_engine.h"
#include "system/audio/soft_edges.h"
#include "system/devices/output_stage.h"
#include "system/devices/scripted_outputs.h"

namespace vrel::system::test {
namespace {

using testing::ElementsAre;

// In which the watch looks for a device several times.
constexpr auto longSilence = std::chrono::seconds(2);

// A sine of 440 Hz at full level steps by 0.058; a fade over 256 frames adds 0.006.
constexpr float clickStep = 0.07F;

float largestStep(const std::vector<float>& samples) {
  float largest = 0;
  float before = 0;
  for (const float sample : samples) {
    largest = std::max(largest, std::abs(sample - before));
    before = sample;
  }
  return largest;
}

bool sounds(const std::vector<float>& samples) {
  return std::any_of(samples.begin(), samples.end(), [](float sample) { return sample != 0; });
}

class AudioReturn : public testing::Test {
 protected:
  AudioReturn() {
    for (const char* const name : {"main", "spare"}) {
      outputs.speakers[name] = std::make_shared<ScriptedSpeaker>();
    }
    outputs.speakers["hall"] = std::make_shared<ScriptedSpeaker>(44100);
    outputs.setDefault("main");
    speaker("spare").isThere = false;
    speaker("hall").isThere = false;
    AudioBackends backends;
    backends.push_back(std::make_unique<ScriptedBackend>(outputs));
    hardware = std::make_unique<SystemAudioHardware>(std::move(backends));
  }

  /// A second backend, which comes behind the first.
  void addCards() {
    cards.speakers["card"] = std::make_shared<ScriptedSpeaker>();
    cards.setDefault("card");
    AudioBackends backends;
    backends.push_back(std::make_unique<ScriptedBackend>(outputs));
    backends.push_back(std::make_unique<ScriptedBackend>(cards, "cards"));
    hardware = std::make_unique<SystemAudioHardware>(std::move(backends));
  }

  [[nodiscard]] ScriptedSpeaker& speaker(const std::string& name) { return *outputs.speakers.at(name); }

  [[nodiscard]] std::shared_ptr<SystemAudioOutput> makeOutput() {
    return std::make_shared<SystemAudioOutput>(*hardware, loop,
                                               [this](const std::string& line) { lines.push_back(line); });
  }

  [[nodiscard]] bool eventuallyOnMain(const std::function<bool()>& holds,
                                      std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    return eventually(
        [&] {
          loop.runPending();
          return holds();
        },
        limit);
  }

  [[nodiscard]] bool eventuallySounds(const std::string& name) {
    return eventuallyOnMain([&] { return sounds(speaker(name).left()); });
  }

  [[nodiscard]] bool staysSilent(const std::string& name) {
    return !eventuallyOnMain([&] { return sounds(speaker(name).left()); }, longSilence);
  }

  ScriptedOutputs outputs;
  ScriptedOutputs cards;
  std::unique_ptr<SystemAudioHardware> hardware;
  OfflineClock clock;
  OfflineMainLoop loop{clock};
  std::vector<std::string> lines;
  SineRenderer renderer;
};

TEST_F(AudioReturn, WithoutADeviceTheStartSucceedsAndTheBlocksGoOn) {
  speaker("main").isThere = false;
  const auto output = makeOutput();
  EXPECT_THAT(lines, ElementsAre("No audio output device found"));
  ASSERT_FALSE(output->start(renderer));
  EXPECT_TRUE(output->isRunning());
  EXPECT_TRUE(eventually([&] { return renderer.blocks > 10; }));
  EXPECT_FALSE(output->state().get().hasDevice());
  EXPECT_EQ(output->state().get().awaited, "") << "any will do";

  speaker("main").isThere = true;
  ASSERT_TRUE(eventuallySounds("main"));
  EXPECT_EQ(output->state().get(), (OutputState{.device = "Stage: main"}));
  EXPECT_LT(largestStep(speaker("main").left()), clickStep);
}

TEST_F(AudioReturn, TheReturnIsNoFailureInTheLog) {
  const auto output = makeOutput();
  std::vector<std::string> infos;
  output->setInfoLog([&](const std::string& line) { infos.push_back(line); });
  ASSERT_FALSE(output->start(renderer));
  speaker("main").isThere = false;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  EXPECT_THAT(lines, ElementsAre("Audio output device lost: Stage: main: it was unplugged"));
  EXPECT_THAT(infos, ElementsAre());
  speaker("main").isThere = true;
  ASSERT_TRUE(eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
  EXPECT_THAT(infos, ElementsAre("Audio output device: Stage: main"));
  EXPECT_THAT(lines, testing::SizeIs(1));
  output->stop();
}

TEST_F(AudioReturn, ALostDeviceIsPlayedOnAgainByItselfWithoutAClick) {
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  for (int round = 1; round <= 3; ++round) {
    speaker("main").isThere = false;
    ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
    EXPECT_EQ(lines.back(), "Audio output device lost: Stage: main: it was unplugged");
    EXPECT_EQ(output->state().get().awaited, "Stage: main");
    EXPECT_TRUE(output->isRunning());
    const auto blocks = renderer.blocks.load();
    EXPECT_TRUE(eventually([&] { return renderer.blocks > blocks + 10; })) << "the blocks go on";
    speaker("main").forget();

    speaker("main").isThere = true;
    ASSERT_TRUE(eventuallySounds("main"));
    EXPECT_TRUE(output->state().get().hasDevice());
    EXPECT_EQ(lines.back(), "Audio output device: Stage: main");
    const auto heard = speaker("main").left().size();
    ASSERT_TRUE(eventually([&] { return speaker("main").left().size() > heard + 4800; }));
    EXPECT_LT(largestStep(speaker("main").left()), clickStep);
  }
  EXPECT_EQ(lines.size(), 6U);
}

TEST_F(AudioReturn, ADeviceThatFreezesIsBridgedAndGoesOnWhenItThaws) {
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  speaker("main").isFrozen = true;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  EXPECT_EQ(lines.back(), "Audio output device lost: Stage: main: it asks for no more sound");
  const auto blocks = renderer.blocks.load();
  EXPECT_TRUE(eventually([&] { return renderer.blocks > blocks + 10; })) << "the blocks go on";
  speaker("main").forget();
  speaker("main").isFrozen = false;
  ASSERT_TRUE(eventuallySounds("main"));
  EXPECT_LT(largestStep(speaker("main").left()), clickStep);
}

TEST_F(AudioReturn, ASuspendThatADeviceDoesNotSurviveIsReturnedFrom) {
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  speaker("main").isFrozen = true;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  // On waking up the device is another one of the same name.
  speaker("main").breakStreams();
  speaker("main").forget();
  speaker("main").isFrozen = false;
  ASSERT_TRUE(eventuallySounds("main"));
  ASSERT_TRUE(eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
  EXPECT_EQ(lines.size(), 2U) << "one for the loss, one for the return";
  EXPECT_LT(largestStep(speaker("main").left()), clickStep);
}

TEST_F(AudioReturn, AChangeOfTheSystemsDefaultIsFollowedWithoutALostFrame) {
  speaker("spare").isThere = true;
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  outputs.setDefault("spare");
  ASSERT_TRUE(eventuallySounds("spare"));
  ASSERT_TRUE(eventuallyOnMain([&] { return output->state().get().device == "Stage: spare"; }));
  EXPECT_EQ(output->deviceUID(), "stage:spare");

  const auto former = speaker("main").left();
  EXPECT_LT(largestStep(former), clickStep);
  EXPECT_LT(largestStep(speaker("spare").left()), clickStep);
  // The renderer numbers its frames: the last that the old device played whole, and the first of the new one.
  const auto before = speaker("main").right();
  const auto isBlockOfItsOwn = [&](std::size_t end) { return before[end - 1] - before[end - 2] == 1; };
  std::size_t end = before.size();
  while (end > 2 && !isBlockOfItsOwn(end)) {
    --end;
  }
  constexpr std::size_t fadeFrames = 2 * audio::SoftEdges::edgeFrames;  // the fade, in whole blocks
  ASSERT_TRUE(eventually([&] { return speaker("spare").right().size() > 2 * fadeFrames; }));
  const auto after = speaker("spare").right();
  const auto first = static_cast<std::size_t>(
      std::find_if(after.begin(), after.end(), [](float number) { return number != 0; }) - after.begin());
  const float faded = after.at(first + fadeFrames - 1);
  EXPECT_EQ(faded - before[end - 1], static_cast<float>(fadeFrames));
}

TEST_F(AudioReturn, AChosenDeviceIsMovedToWhenItAppears) {
  const auto output = makeOutput();
  hardware->preferOutputDevice("stage:spare");
  ASSERT_EQ(hardware->setCurrentOutputDevice(hardware->defaultOutputDevice().value()), 0);
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  EXPECT_EQ(output->state().get(), (OutputState{.device = "Stage: main", .awaited = "stage:spare"}));
  speaker("spare").isThere = true;
  ASSERT_TRUE(eventuallySounds("spare"));
  EXPECT_EQ(output->state().get(), (OutputState{.device = "Stage: spare"}));

  // And it is waited for, though another one is there.
  speaker("spare").isThere = false;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  speaker("main").forget();
  EXPECT_EQ(output->state().get().awaited, "Stage: spare");
  EXPECT_TRUE(staysSilent("main"));
}

TEST_F(AudioReturn, WhereTheSystemChoosesALostDeviceIsReplaced) {
  speaker("spare").isThere = true;
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  outputs.setDefault("spare");
  speaker("main").isThere = false;
  ASSERT_TRUE(eventuallySounds("spare"));
}

TEST_F(AudioReturn, AnotherWayIsNotTakenInThePlaceOfALostOne) {
  addCards();
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  speaker("main").isThere = false;
  EXPECT_FALSE(eventuallyOnMain([&] { return sounds(cards.speakers["card"]->left()); }, longSilence));
  speaker("main").forget();
  speaker("main").isThere = true;
  EXPECT_TRUE(eventuallySounds("main"));
}

TEST_F(AudioReturn, AChosenDeviceOfAnotherBackendIsPlayedOnAtOnceWhileAServerHangs) {
  addCards();
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  speaker("main").isHung = true;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));

  const int lists = outputs.lists;
  const auto choose = [&](const std::string& uid) {
    const auto ids = hardware->devices().value();
    ASSERT_EQ(ids.size(), 1U);
    ASSERT_EQ(hardware->deviceUID(ids[0]).value(), uid);
    hardware->preferOutputDevice(uid);
    ASSERT_EQ(hardware->setCurrentOutputDevice(ids[0]), 0);
    ASSERT_FALSE(output->prepare());
    ASSERT_FALSE(output->start(renderer));
  };
  ASSERT_NO_FATAL_FAILURE(choose("cards:card"));
  EXPECT_EQ(output->deviceUID(), "cards:card");
  EXPECT_EQ(output->state().get(), (OutputState{.device = "Stage: card"}));
  ASSERT_TRUE(eventuallyOnMain([&] { return sounds(cards.speakers["card"]->left()); }));
  EXPECT_EQ(outputs.lists, lists) << "what hangs was not asked";
  ASSERT_TRUE(eventually([&] { return speaker("main").closedOn.load() != std::thread::id(); }));
  EXPECT_NE(speaker("main").closedOn.load(), std::this_thread::get_id());
  EXPECT_EQ(speaker("main").streams, 1);

  // And the watch, which was not held up either, sees the loss of the new device.
  cards.speakers["card"]->isThere = false;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  cards.speakers["card"]->isThere = true;
  ASSERT_TRUE(eventuallyOnMain([&] { return output->state().get().hasDevice(); }));

  const auto heard = speaker("main").left().size();
  speaker("main").isHung = false;
  ASSERT_TRUE(eventually([&] { return speaker("main").streams == 0; }));
  const auto late = speaker("main").left();
  EXPECT_FALSE(sounds({late.begin() + static_cast<std::ptrdiff_t>(heard), late.end()})) << "what was left is silent";
  ASSERT_TRUE(eventually([&] { return !hardware->isAvoided("stage:main"); }));
  speaker("main").forget();
  hardware->preferOutputDevice("stage:main");
  ASSERT_TRUE(eventuallySounds("main")) << "it is asked again";
}

TEST_F(AudioReturn, AnOutputEndsWhileAServerHangs) {
  auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  ASSERT_TRUE(eventuallySounds("main"));
  speaker("main").isHung = true;
  ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  output->stop();
  output.reset();
  EXPECT_EQ(speaker("main").streams, 1) << "left behind";
  speaker("main").isHung = false;
  EXPECT_TRUE(eventually([&] { return speaker("main").streams == 0; }));
}

TEST_F(AudioReturn, ADeviceOfAnotherRateIsFollowedByARestart) {
  outputs.setDefault("hall");
  const auto output = makeOutput();
  audio::RenderEngine engine(output, std::make_shared<audio::RenderCounters>());
  const auto source = audio::test::makeSource(2, audio::test::constant(0.5F));
  engine.attach(source);
  engine.connect(source, engine.mainMixerNode(), std::nullopt);
  engine.connect(engine.mainMixerNode(), engine.outputNode(), std::nullopt);
  int changes = 0;
  engine.setConfigurationChangeHandler([&] {
    ++changes;
    engine.stop();
    EXPECT_FALSE(engine.start());
  });
  ASSERT_FALSE(engine.start());
  EXPECT_EQ(engine.outputNode()->outputFormat(0).sampleRate, 48000);
  ASSERT_TRUE(eventuallySounds("main"));
  speaker("main").isThere = false;
  speaker("hall").isThere = true;
  ASSERT_TRUE(eventuallySounds("hall"));
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(engine.outputNode()->outputFormat(0).sampleRate, 44100);
  EXPECT_EQ(output->sampleRate(), 44100);
  EXPECT_TRUE(engine.isRunning());
}

TEST_F(AudioReturn, AStoppedOutputTakesNothing) {
  speaker("main").isThere = false;
  const auto output = makeOutput();
  ASSERT_FALSE(output->start(renderer));
  output->stop();
  EXPECT_FALSE(output->isRunning());
  const auto blocks = renderer.blocks.load();
  speaker("main").isThere = true;
  EXPECT_TRUE(staysSilent("main"));
  EXPECT_EQ(renderer.blocks, blocks);
}

}  // namespace
}  // namespace vrel::system::test

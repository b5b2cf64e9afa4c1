// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/output_watch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "support/devices/child_process.h"
#include "system/devices/scripted_outputs.h"

namespace vrel::system::test {
namespace {

/// Asks for no blocks, and ends only when it is released.
class HangingStream final : public OutputStream {
 public:
  HangingStream(std::latch& isEnding, std::latch& released) : isEnding_(isEnding), released_(released) {}
  ~HangingStream() override {
    isEnding_.count_down();
    released_.wait();
  }
  HangingStream(const HangingStream&) = delete;
  HangingStream& operator=(const HangingStream&) = delete;

  [[nodiscard]] double sampleRate() const override { return 48000; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return 128; }
  [[nodiscard]] bool changeBlockFrames(std::uint32_t /*frames*/) override { return true; }
  [[nodiscard]] Outcome start(audio::BlockRenderer& /*renderer*/) override { return {}; }
  void stop() override {}
  [[nodiscard]] std::optional<std::string> lossReason() const override { return std::nullopt; }
  [[nodiscard]] std::uint64_t underruns() const override { return 0; }
  [[nodiscard]] std::optional<std::string> systemDefault() override { return std::nullopt; }

 private:
  std::latch& isEnding_;
  std::latch& released_;
};

class OutputWatched : public testing::Test {
 protected:
  OutputWatched() {
    outputs.speakers["main"] = speaker;
    outputs.setDefault("main");
    AudioBackends backends;
    backends.push_back(std::make_unique<ScriptedBackend>(outputs));
    hardware = std::make_unique<SystemAudioHardware>(std::move(backends));
  }

  [[nodiscard]] OutputWatch::Session sessionOf(std::unique_ptr<OutputStream> stream) {
    return std::make_shared<OutputSession>(
        handover,
        SystemAudioHardware::Opened{.stream = std::move(stream), .deviceUID = "stage:main", .deviceName = "Main"});
  }

  /// Of a device that asks for no blocks.
  [[nodiscard]] OutputWatch::Session quietSession() {
    return sessionOf(std::make_unique<ScriptedStream>(outputs, std::make_shared<ScriptedSpeaker>()));
  }

  const std::shared_ptr<ScriptedSpeaker> speaker = std::make_shared<ScriptedSpeaker>();
  ScriptedOutputs outputs;
  std::unique_ptr<SystemAudioHardware> hardware;
  audio::RenderHandover handover;
};

TEST_F(OutputWatched, AStallOfWhatIsNoLongerFollowedDoesNotEndTheSearch) {
  std::latch isEnding{1};
  std::latch released{1};
  speaker->isThere = false;
  OutputWatch watch(
      *hardware, handover, [] {}, std::chrono::milliseconds(1));
  const auto stalled = quietSession();
  watch.follow(stalled, "stage:main");
  ASSERT_FALSE(watch.begin());
  ASSERT_TRUE(eventually([&] { return watch.isStalled(); }));

  // The watch closes something that hangs, with the stalled device at hand, which is lost meanwhile.
  watch.close(sessionOf(std::make_unique<HangingStream>(isEnding, released)));
  isEnding.wait();
  watch.follow(nullptr, "stage:main");
  released.count_down();
  speaker->isThere = true;
  OutputWatch::Session found;
  EXPECT_TRUE(eventually([&] {
    found = watch.takeFound();
    return found != nullptr;
  }));
  EXPECT_FALSE(watch.isStalled());
  watch.end();
}

TEST_F(OutputWatched, AStallOfTheFormerDeviceIsNoneOfTheNextOne) {
  std::latch isEnding{1};
  std::latch released{1};
  OutputWatch watch(
      *hardware, handover, [] {}, std::chrono::milliseconds(1));
  const auto stalled = quietSession();
  watch.follow(stalled, "stage:main");
  ASSERT_FALSE(watch.begin());
  ASSERT_TRUE(eventually([&] { return watch.isStalled(); }));
  std::latch isClosed{1};
  std::latch isLooked{1};
  watch.close(sessionOf(std::make_unique<HangingStream>(isEnding, released)));
  isEnding.wait();

  const auto next = sessionOf(std::make_unique<ScriptedStream>(outputs, speaker));
  ASSERT_FALSE(next->stream->start(next->port));
  watch.follow(next, "stage:main");
  watch.close(sessionOf(std::make_unique<HangingStream>(isClosed, isLooked)));
  released.count_down();
  isClosed.wait();  // in the turn behind the one with the former device
  EXPECT_FALSE(watch.isStalled());
  isLooked.count_down();
  watch.end();
}

}  // namespace
}  // namespace vrel::system::test

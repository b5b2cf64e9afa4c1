// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/audio/graph_stage.h"
#include "system/audio/paced_null_device.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/serial_queue.h"
#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

constexpr int blockFrames = 128;
constexpr std::uint32_t passFrames = 24000;

/// Files that loop by their completions, through a queue, as those of channels do.
class Loops {
 public:
  Loops(audio::test::StageOn<audio::PacedNullDevice>& stage, const std::vector<std::string>& names)
      : factory_(std::in_place, stage.device, stage.counters, std::make_shared<AudioFiles>()) {
    for (const auto& name : names) {
      tracks_.push_back(std::make_unique<Track>());
      auto& track = *tracks_.back();
      track.node = factory_->makePlayerNode();
      track.file = opened(name);
      stage.engine->attach(track.node);
      stage.link(track.node, stage.engine->mainMixerNode());
    }
  }

  /// The engine must have been destroyed.
  ~Loops() {
    isOver_ = true;
    queue_.sync([] {});
    factory_.reset();
    for (const auto& track : tracks_) {
      track->node = nullptr;  // with the last one ends the thread that calls completions
    }
  }
  Loops(const Loops&) = delete;
  Loops& operator=(const Loops&) = delete;

  void start() {
    for (const auto& track : tracks_) {
      queue_.async([this, each = track.get()] {
        each->node->setRepeating(true);
        playPass(*each);
        each->node->play();
      });
    }
  }

  [[nodiscard]] int fewestPasses() const {
    const auto fewer = [](const auto& one, const auto& other) { return one->passes < other->passes; };
    return (*std::min_element(tracks_.begin(), tracks_.end(), fewer))->passes;
  }

 private:
  struct Track {
    std::shared_ptr<AVAudioPlayerNode> node;
    std::shared_ptr<AVAudioFile> file;
    std::atomic<int> passes{0};
  };

  void playPass(Track& track) {
    if (isOver_) {
      return;
    }
    track.node->scheduleSegment(track.file, 1234, passFrames, [this, &track] {
      ++track.passes;
      queue_.async([this, &track] { playPass(track); });
    });
  }

  SerialQueue queue_;
  std::optional<audio::RenderNodeFactory> factory_;
  std::vector<std::unique_ptr<Track>> tracks_;
  std::atomic<bool> isOver_{false};
};

TEST(StreamingFiles, SixteenLoopsOfWhichTwoAreConvertedGoOn) {
  constexpr int passes = 3;
  audio::test::StageOn<audio::PacedNullDevice> stage(std::make_shared<audio::PacedNullDevice>(48000, blockFrames));
  std::vector<std::string> names(10, "count.wav");
  names.insert(names.end(),
               {"count-44100.wav", "count-44100.wav", "tones.ogg", "tones.m4a", "tones.mp3", "count.flac"});
  Loops loops(stage, names);
  ASSERT_FALSE(stage.engine->start());
  loops.start();
  while (loops.fewestPasses() < passes) {
    std::this_thread::yield();
  }
  EXPECT_EQ(stage.counters->unreadFrames.load(), 0U);
  stage.engine.reset();
}

}  // namespace
}  // namespace vrel::system::test

// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <malloc.h>

#include <QGuiApplication>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "channel/audio_channel.h"
#include "document/plugin_path.h"
#include "system/dispatch/main_loop.h"
#include "system/dispatch/system_clock.h"
#include "system/media/clip_factory.h"
#include "system/projection/projector.h"
#include "system/projection/stage_window.h"
#include "visuals/visual_engine.h"
#include "visuals/visual_stage_view.h"

namespace vrel::system {
namespace {

/// What a process has that could be leaked.
struct Holdings {
  std::ptrdiff_t descriptors = 0;
  std::ptrdiff_t threads = 0;
  std::size_t bytes = 0;

  static Holdings now() {
    const auto entries = [](const char* folder) {
      return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    const auto heap = ::mallinfo2();
    return {entries("/proc/self/fd"), entries("/proc/self/task"), heap.uordblks + heap.hblkhd};
  }
};

/// Songs of four clips each, shown by a projector.
class SongsWithClips : public testing::Test {
 protected:
  SongsWithClips() {
    StageWindowState state;
    state.number = 1;
    state.isVisible = true;
    state.frame = {0, 0, 320, 180};
    state.frameNumber = 1;
    stage.apply(state);
  }

  bool until(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!holds()) {  // once: what holds now may not hold a moment later
      if (std::chrono::steady_clock::now() > end) {
        return false;
      }
      mainLoop.runPending();
      QGuiApplication::processEvents(QEventLoop::AllEvents, 5);
      std::this_thread::yield();
    }
    return true;
  }

  void play(bool waitsForPictures) {
    AudioChannel& channel = *(channel_ = std::make_shared<AudioChannel>("Clips", std::weak_ptr<ChannelMixer>()));
    std::vector<VisualClipMapping> clips;
    for (const auto* name : {"count-h264.mp4", "count-vp9.webm", "large-mjpeg.mkv", "upright.mp4"}) {
      VisualClipMapping clip;
      clip.note = static_cast<std::uint8_t>(60 + clips.size());
      clip.filePath = std::string(VREL_CLIP_FOLDER) + "/" + name;
      clips.push_back(clip);
    }
    channel.pluginPath.set(std::string(pathVisual));
    channel.visualClipMappings.set(clips);
    engine.loadChannel(channel, nullptr);
    mainLoop.runUntil([this] { return engine.pendingLoads() == 0; });
    for (const auto& clip : clips) {
      engine.noteOn(clip.note, channel);
    }
    ASSERT_EQ(engine.activePlayers.get().size(), clips.size());
    const auto before = projector->figures().firstPicture;
    ProjectionScene scene;
    scene.layers = VrelVisualStageView{engine.activePlayers.get()}.layers();
    projector->setScene(scene);
    if (waitsForPictures) {
      EXPECT_TRUE(until([&] { return projector->figures().firstPicture != before; }));
    }
    engine.unloadChannel(channel);
    projector->setScene({});
  }

  void play(int songs) {
    for (int song = 0; song < songs; ++song) {
      play(song % 20 == 19);
    }
  }

  SystemClock clock;
  MainLoop mainLoop;
  ClipFactory factory{clock};
  VrelVisualEngine engine{&factory, mainLoop};
  std::shared_ptr<Projector> projector =
      std::make_shared<Projector>([this] { return clock.CACurrentMediaTime(); }, [](const std::string&) {});
  StageWindow stage{projector, [](const StageWindowReport&) {}};

 private:
  std::shared_ptr<AudioChannel> channel_;
};

TEST_F(SongsWithClips, SwitchedTwoHundredTimesLeaveMemoryDescriptorsAndThreadsFlat) {
  constexpr std::size_t fewBytes = std::size_t{1} << 20;
  constexpr std::ptrdiff_t few = 6;  // of decoders that are about to end, and of threads that stand in for slow ones
  play(40);
  const auto before = Holdings::now();
  play(200);
  Holdings after;
  EXPECT_TRUE(until([&] {
    after = Holdings::now();
    return after.descriptors <= before.descriptors + few && after.threads <= before.threads + few &&
           after.bytes <= before.bytes + fewBytes;
  })) << "descriptors "
      << before.descriptors << " to " << after.descriptors << ", threads " << before.threads << " to " << after.threads
      << ", bytes " << before.bytes << " to " << after.bytes;
}

}  // namespace
}  // namespace vrel::system

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

#include "platform/audio_file.h"
#include "support/audio/graph_stage.h"
#include "system/audio/player_feeder.h"
#include "system/audio/render_node_factory.h"

namespace vrel::audio::test {

/// Players on an offline device, each connected to the main mixer. Completions wait in a queue that runs before
/// each block, as the player queue does.
class OfflinePlayers {
 public:
  explicit OfflinePlayers(std::shared_ptr<AudioConverterFactory> converters = nullptr, double sampleRate = 48000,
                          std::uint32_t blockFrames = 128)
      : device(std::make_shared<OfflineDevice>(sampleRate, blockFrames)),
        factory(device, counters, std::move(converters)),
        engine(factory.makeEngine()) {
    engine->connect(engine->mainMixerNode(), engine->outputNode(), std::nullopt);
    static_cast<void>(engine->start());
  }

  std::shared_ptr<AVAudioPlayerNode> addPlayer() {
    auto player = factory.makePlayerNode();
    engine->attach(player);
    engine->connect(player, engine->mainMixerNode(), std::nullopt);
    player->prepareWithFrameCount(4096);
    return player;
  }

  /// Plays `frameCount` frames from `start`, `passes` times.
  void loop(const std::shared_ptr<AVAudioPlayerNode>& player, const std::shared_ptr<AVAudioFile>& file,
            std::int64_t start, std::uint32_t frameCount, int passes) {
    const std::weak_ptr<AVAudioPlayerNode> weak = player;  // what is scheduled is the player's
    player->setRepeating(passes > 1);
    player->scheduleSegment(file, start, frameCount, [=, this] {
      queue.emplace_back([=, this] {
        if (const auto alive = weak.lock(); alive != nullptr && passes > 1) {
          loop(alive, file, start, frameCount, passes - 1);
        }
      });
    });
  }

  Recording record(std::size_t frameCount) {
    Recording tape;
    while (tape.left.size() < frameCount) {
      factory.playerFeeder().feedBeforeBlock([this] { runQueue(); });
      const auto block = device->renderBlock();
      tape.left.insert(tape.left.end(), block.left.begin(), block.left.end());
      tape.right.insert(tape.right.end(), block.right.begin(), block.right.end());
    }
    tape.left.resize(frameCount);
    tape.right.resize(frameCount);
    return tape;
  }

  void runQueue() {
    while (!queue.empty()) {
      const auto work = std::move(queue.front());
      queue.pop_front();
      work();
    }
  }

  std::shared_ptr<RenderCounters> counters = std::make_shared<RenderCounters>();
  std::shared_ptr<OfflineDevice> device;
  RenderNodeFactory factory;
  std::unique_ptr<AVAudioEngine> engine;
  std::deque<std::function<void()>> queue;
};

}  // namespace vrel::audio::test

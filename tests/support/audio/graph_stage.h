// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "support/audio/test_nodes.h"
#include "system/audio/mixer_node.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_engine.h"
#include "system/audio/reverb_node.h"

namespace vrel::audio::test {

struct Recording {
  std::vector<float> left;
  std::vector<float> right;
};

/// One strip as the logic connects it: a source, the reverb, the meter mixer.
struct Strip {
  std::shared_ptr<SourceNode> source;
  std::shared_ptr<ReverbNode> reverb = std::make_shared<ReverbNode>();
  std::shared_ptr<MixerNode> meter = std::make_shared<MixerNode>();
};

/// An engine on a device, with the main mixer connected to the output.
template <typename Device>
class StageOn {
 public:
  explicit StageOn(std::shared_ptr<Device> theDevice) : device(std::move(theDevice)) {
    engine->connect(engine->mainMixerNode(), engine->outputNode(), std::nullopt);
  }

  void link(const AVAudioEngine::Node& source, const AVAudioEngine::Node& destination) {
    engine->connect(source, destination, std::nullopt);
  }

  void attach(const Strip& strip) {
    engine->attach(strip.source);
    engine->attach(strip.reverb);
    engine->attach(strip.meter);
  }
  void wire(const Strip& strip) {
    link(strip.source, strip.reverb);
    link(strip.reverb, strip.meter);
    link(strip.meter, engine->mainMixerNode());
  }
  Strip addStrip(std::uint32_t channelCount, Wave wave) {
    Strip strip{.source = makeSource(channelCount, std::move(wave))};
    attach(strip);
    wire(strip);
    return strip;
  }
  void unwire(const Strip& strip) {
    engine->disconnectNodeOutput(strip.source);
    engine->disconnectNodeInput(strip.reverb);
    engine->disconnectNodeOutput(strip.reverb);
    engine->disconnectNodeInput(strip.meter);
    engine->disconnectNodeOutput(strip.meter);
  }

  std::shared_ptr<Device> device;
  std::shared_ptr<RenderCounters> counters = std::make_shared<RenderCounters>();
  std::unique_ptr<RenderEngine> engine = std::make_unique<RenderEngine>(device, counters);
};

/// The same, offline, with a recording.
class OfflineStage : public StageOn<OfflineDevice> {
 public:
  explicit OfflineStage(double sampleRate = 48000, std::uint32_t blockFrames = 128)
      : StageOn(std::make_shared<OfflineDevice>(sampleRate, blockFrames)) {}

  /// Renders `frameCount` frames, in blocks of the device's size with a shorter one at the end.
  Recording record(std::size_t frameCount) {
    Recording tape;
    while (tape.left.size() < frameCount) {
      const std::size_t rest = frameCount - tape.left.size();
      const auto count = rest < device->blockFrames() ? static_cast<std::uint32_t>(rest) : device->blockFrames();
      const OfflineDevice::Block block = device->renderBlock(count);
      tape.left.insert(tape.left.end(), block.left.begin(), block.left.end());
      tape.right.insert(tape.right.end(), block.right.begin(), block.right.end());
    }
    return tape;
  }
};

}  // namespace vrel::audio::test

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the tests of real plug-in code stand on: a world opened on a given set of bundles, units made
// and waited for, and a unit played block by block without a graph.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "foundation/thread_roles.h"
#include "platform/audio_unit.h"
#include "system/audio/graph_node.h"
#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/plugins/lv2/lv2_world.h"

namespace vrel::lv2 {

/// Where the world looks for bundles.
enum class Bundles { zoo, known, machine };

/// A world and a factory, and everything the plug-ins made by it have logged.
class Stage {
 public:
  explicit Stage(Bundles bundles = Bundles::zoo, WorkerMode workerMode = WorkerMode::withinBlock) {
    if (bundles == Bundles::zoo) {
      setenv("LV2_PATH", VREL_ZOO_PATH, 1);
    } else if (bundles == Bundles::known) {
      setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
    } else if (const char* const places = std::getenv("VREL_BUNDLES"); places != nullptr) {
      setenv("LV2_PATH", places, 1);
    } else {
      unsetenv("LV2_PATH");
    }
    world = Lv2World::open();
    settings.workerMode = workerMode;
    settings.log = [lines = lines_](const std::string& line) {
      const std::lock_guard lock(lines->mutex);
      lines->all.push_back(line);
    };
    factory = std::make_unique<Lv2UnitFactory>(world, settings);
  }

  /// The component with this URI; its codes are all zero when it is not in the list.
  [[nodiscard]] AVAudioUnitComponent component(const std::string& uri) const {
    AudioComponentDescription codes = componentCodes(0, uri);
    const auto found = world->componentsMatchingDescription(codes);
    return found.empty() ? AVAudioUnitComponent{} : found.front();
  }

  struct Made {
    std::shared_ptr<AVAudioUnit> unit;
    std::optional<Error> error;
  };

  [[nodiscard]] Made make(const AudioComponentDescription& codes) const {
    auto made = std::make_shared<std::promise<Made>>();
    factory->instantiate(codes, AudioComponentInstantiationOptions::inProcess,
                         [made](std::shared_ptr<AVAudioUnit> unit, std::optional<Error> error) {
                           made->set_value({std::move(unit), std::move(error)});
                         });
    return made->get_future().get();
  }
  [[nodiscard]] Made make(const std::string& uri) const { return make(component(uri).audioComponentDescription); }

  [[nodiscard]] std::string errorOf(const std::string& uri) const {
    const Made made = make(uri);
    return made.error && made.unit == nullptr ? made.error->description : "";
  }

  [[nodiscard]] std::vector<std::string> lines() const {
    const std::lock_guard lock(lines_->mutex);
    return lines_->all;
  }

  HostSettings settings;
  std::shared_ptr<Lv2World> world;
  std::unique_ptr<Lv2UnitFactory> factory;

 private:
  struct Lines {
    std::mutex mutex;
    std::vector<std::string> all;
  };
  std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
};

/// Two channels of sound; the second is empty for a mono unit.
struct Sound {
  std::vector<float> left;
  std::vector<float> right;

  bool operator==(const Sound&) const = default;
};

/// The loudest sample of `samples` from `begin` on.
inline float peak(const std::vector<float>& samples, std::size_t begin = 0) {
  float loudest = 0;
  for (std::size_t index = begin; index < samples.size(); ++index) {
    loudest = std::max(loudest, std::abs(samples[index]));
  }
  return loudest;
}

/// Plays one unit as the render graph would.
class Player {
 public:
  explicit Player(std::shared_ptr<AVAudioUnit> unit, double sampleRate = 48000) : unit_(std::move(unit)) {
    if (const auto* node = dynamic_cast<audio::GraphNode*>(unit_.get())) {
      processor_ = node->processor();
      processor_->prepare(sampleRate);
    }
  }

  [[nodiscard]] AVAudioUnit& unit() { return *unit_; }
  [[nodiscard]] AVAudioUnitMIDIInstrument& instrument() { return dynamic_cast<AVAudioUnitMIDIInstrument&>(*unit_); }
  [[nodiscard]] audio::NodeProcessor& processor() { return *processor_; }

  /// One block, of silence when there is no input; `input` has one or two channels of equal length.
  Sound block(std::uint32_t frames, std::vector<std::vector<float>> input = {}) {
    audio::Stream source;
    for (auto& channel : input) {
      source.channels[source.channelCount++] = channel.data();
    }
    const std::uint32_t outputs = processor_->outputChannelCount(source.channelCount);
    Sound sound{std::vector<float>(frames), std::vector<float>(outputs > 1 ? frames : 0)};
    const audio::Stream output{{sound.left.data(), outputs > 1 ? sound.right.data() : nullptr}, outputs};
    const AudioThreadScope block;
    processor_->process({frames, input.empty() ? std::span<const audio::Stream>() : std::span(&source, 1), output});
    return sound;
  }

  /// `total` frames in blocks of `blockFrames`.
  Sound play(std::size_t total, std::uint32_t blockFrames = 128) {
    Sound all;
    while (all.left.size() < total) {
      const Sound next = block(static_cast<std::uint32_t>(std::min<std::size_t>(blockFrames, total - all.left.size())));
      all.left.insert(all.left.end(), next.left.begin(), next.left.end());
      all.right.insert(all.right.end(), next.right.begin(), next.right.end());
    }
    return all;
  }

  void send(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    instrument().sendMIDIEvent(status, data1, data2);
  }

  /// For the next block.
  void route(std::uint32_t frame, MidiMessage message) {
    const AudioThreadScope block;
    processor_->takeEvent(frame, message);
  }

  /// Everything that a panic sends.
  void panic() {
    for (std::uint8_t channel = 0; channel < 16; ++channel) {
      for (const std::uint8_t controller : std::initializer_list<std::uint8_t>{64, 1, 121, 123}) {
        send(static_cast<std::uint8_t>(0xB0 + channel), controller, 0);
      }
    }
    for (std::uint8_t note = 0; note < 128; ++note) {
      send(0x80, note, 0);
    }
  }

 private:
  std::shared_ptr<AVAudioUnit> unit_;
  std::shared_ptr<audio::NodeProcessor> processor_;
};

}  // namespace vrel::lv2

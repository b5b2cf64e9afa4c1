// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A show of two songs on the real engine and in the real graph, in real time, with instruments and effects that cost
// nothing but their states.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "audio/bench_graph.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "support/session_on.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/dispatch/system_clock.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::bench {

inline constexpr std::size_t stateBytes = 16U << 10U;
inline constexpr std::size_t effectsPerStrip = 2;

/// Keeps the state that it was given, as large as it came.
class KeptState final : public AUAudioUnit {
 public:
  explicit KeptState(std::size_t size) : state_{{"data", {PropertyListData(size, std::uint8_t{0x5A})}}} {}
  std::optional<PropertyListDictionary> fullStateForDocument() override { return state_; }
  std::optional<PropertyListDictionary> fullState() override { return state_; }
  void setFullStateForDocument(const PropertyListDictionary& state) override { state_ = state; }

 private:
  PropertyListDictionary state_;
};

/// Plays its chord from the first block on.
class ChordInstrument final : public audio::GraphNodeOf<AVAudioUnitMIDIInstrument> {
 public:
  AUAudioUnit& auAudioUnit() override { return state_; }
  void reset() override {}
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return processor_; }
  void setVolume(float linearGain) override { volume_ = linearGain; }
  [[nodiscard]] float volume() const override { return volume_; }
  void sendMIDIEvent(std::uint8_t /*status*/, std::uint8_t /*data1*/, std::uint8_t /*data2*/) override {}
  void sendMIDIEvent(std::uint8_t /*status*/, std::uint8_t /*data1*/) override {}

 private:
  KeptState state_{stateBytes};
  float volume_ = 1;
  std::shared_ptr<audio::NodeProcessor> processor_ = std::make_shared<audio::bench::ChordProcessor>();
};

class ToneEffect final : public audio::GraphNodeOf<AVAudioUnit> {
 public:
  AUAudioUnit& auAudioUnit() override { return state_; }
  void reset() override {}
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return processor_; }

 private:
  KeptState state_{64};
  std::shared_ptr<audio::NodeProcessor> processor_ = std::make_shared<audio::bench::ToneProcessor>();
};

/// Makes them on a thread of its own.
class ChordUnits final : public AudioUnitFactory {
 public:
  void instantiate(const AudioComponentDescription& /*description*/, AudioComponentInstantiationOptions /*options*/,
                   UnitHandler completionHandler) override {
    thread_.async([completionHandler = std::move(completionHandler)] {
      completionHandler(std::make_shared<ToneEffect>(), std::nullopt);
    });
  }
  void instantiateMIDIInstrument(const AudioComponentDescription& /*description*/,
                                 AudioComponentInstantiationOptions /*options*/,
                                 UnitHandler completionHandler) override {
    thread_.async([completionHandler = std::move(completionHandler)] {
      completionHandler(std::make_shared<ChordInstrument>(), std::nullopt);
    });
  }

 private:
  system::SerialQueue thread_;
};

/// Counts the blocks in which nothing sounded.
class SoundWatch {
 public:
  /// The device's thread.
  void see(float sample) {
    isSounding_.store(sample != 0);
    silentBlocks_.fetch_add(sample == 0 ? 1 : 0);
  }
  [[nodiscard]] std::uint64_t silentBlocks() const { return silentBlocks_.load(); }
  [[nodiscard]] bool isSounding() const { return isSounding_.load(); }

 private:
  std::atomic<std::uint64_t> silentBlocks_{0};
  std::atomic<bool> isSounding_{false};
};

/// The program without its windows, with a song on stage. No two strips play the same instrument, in neither song.
class SwitchStage {
 public:
  SwitchStage(std::shared_ptr<audio::OutputDevice> device, std::size_t strips) : nodes_(std::move(device), counters_) {
    loop_.runPending();
    std::vector<AVAudioUnitComponent> instruments;
    for (std::size_t index = 0; index < 2 * strips; ++index) {
      instruments.push_back({"Chord", "Bench", {componentTypeMusicDevice, static_cast<std::uint32_t>(index + 1), 1}});
      keys_.push_back(pluginKey(instruments.back()));
    }
    const AVAudioUnitComponent tone{"Tone", "Bench", {componentTypeEffect, 1, 1}};
    session_.state.scannedPlugins.set(instruments);
    session_.state.scannedAudioEffectPlugins.set({tone});
    std::vector<SongConfig> songs(2);
    for (std::size_t index = 0; index < 2 * strips; ++index) {
      auto& record = songs[index / strips].channels.emplace_back();
      record.name = "Strip";
      record.pluginPath = keys_[index];
      for (std::size_t effect = 0; effect < effectsPerStrip; ++effect) {
        record.effectSlots.emplace_back().pluginPath = pluginKey(tone);
      }
    }
    session_.setSongs(std::move(songs));
    // Each song once: from then on the pool is warm and every strip has its state.
    for (int song = 0; song < 3; ++song) {
      apply();
      standStill();
    }
  }

  /// The pass itself, to the other song.
  void apply() {
    session_.songSwitch.applySong(next_);
    next_ = 1 - next_;
  }
  [[nodiscard]] bool isSwitching() { return session_.state.songSwitchInProgress.get(); }
  void finish() {
    loop_.runUntil([this] { return !isSwitching(); });
  }
  /// Until nothing is under way and the pool is warm.
  void standStill() {
    finish();
    for (const auto& key : keys_) {
      while (engine->pluginPool().isPrewarming(key)) {
        loop_.runPending();
      }
    }
    loop_.runPending();
  }
  [[nodiscard]] bool isPoolWarm() {
    const auto isThere = [this](const std::string& key) { return engine->pluginPool().idleCount(key) > 0; };
    return std::all_of(keys_.begin(), keys_.end(), isThere);
  }
  [[nodiscard]] const std::vector<std::string>& trouble() const { return console_.lines; }

 private:
  std::shared_ptr<audio::RenderCounters> counters_ = std::make_shared<audio::RenderCounters>();
  audio::RenderNodeFactory nodes_;
  ChordUnits units_;
  system::MainLoop loop_;
  system::SerialQueueFactory queues_;
  system::SystemClock clock_;
  system::LibplistSerialization propertyLists_;
  simulation::RecordingConsole console_;

 public:
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes_, units_, loop_, queues_, clock_, propertyLists_, console_});

 private:
  SessionOn session_{*engine, loop_, clock_, console_};
  std::vector<std::string> keys_;
  std::ptrdiff_t next_ = 0;
};

}  // namespace vrel::bench

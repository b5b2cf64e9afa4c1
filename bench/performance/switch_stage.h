// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A show of two songs on the real engine and in the real graph, in real time.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/content_view.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "performance/plugin_casts.h"
#include "platform/notification_center.h"
#include "simulation/recording_console.h"
#include "simulation/scripted_desktop.h"
#include "support/session_on.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/dispatch/system_clock.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::bench {

inline constexpr std::size_t effectsPerStrip = 2;

/// Counts silent blocks.
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

/// The program without its window, with a song on stage of a setlist of as many. No two strips of a song play the same
/// instrument.
class SwitchStage {
 public:
  SwitchStage(std::shared_ptr<audio::OutputDevice> device, const CastMaker& makeCast, std::size_t songs = 2)
      : cast_(makeCast(loop_)), nodes_(std::move(device), counters_) {
    loop_.runPending();
    session_.state.scannedPlugins.set(cast_.instruments);
    session_.state.scannedAudioEffectPlugins.set({cast_.effect});
    SongConfig song;
    for (const auto& instrument : cast_.instruments) {
      auto& record = song.channels.emplace_back();
      record.name = instrument.name;
      record.pluginPath = pluginKey(instrument);
      for (std::size_t effect = 0; effect < effectsPerStrip; ++effect) {
        record.effectSlots.emplace_back().pluginPath = pluginKey(cast_.effect);
      }
    }
    std::vector<SongConfig> setlist;
    for (std::size_t index = 0; index < songs; ++index) {
      setlist.push_back(song);
      setlist.back().id = Uuid::fresh();
    }
    session_.setSongs(std::move(setlist));
    // Each song twice: then the pool is warm and every strip has its state.
    for (int turn = 0; turn < 4; ++turn) {
      apply();
      settle();
    }
  }

  /// The pass itself, to the other song.
  void apply() {
    content_.songSwitch().applySong(next_);
    next_ = 1 - next_;
  }
  [[nodiscard]] bool isSwitching() { return session_.state.songSwitchInProgress.get(); }
  void finish() {
    loop_.runUntil([this] { return !isSwitching(); });
  }
  /// Until no load is pending and the pool is warm.
  void settle() {
    finish();
    for (const auto& instrument : cast_.instruments) {
      while (engine->pluginPool().isPrewarming(pluginKey(instrument))) {
        loop_.runPending();
      }
    }
    loop_.runPending();
  }
  [[nodiscard]] bool isPoolWarm() {
    const auto isThere = [this](const auto& each) { return engine->pluginPool().idleCount(pluginKey(each)) > 0; };
    return std::all_of(cast_.instruments.begin(), cast_.instruments.end(), isThere);
  }
  [[nodiscard]] const std::vector<std::string>& problems() const { return console_.lines; }

 private:
  system::MainLoop loop_;
  Cast cast_;
  std::shared_ptr<audio::RenderCounters> counters_ = std::make_shared<audio::RenderCounters>();
  audio::RenderNodeFactory nodes_;
  system::SerialQueueFactory queues_;
  system::SystemClock clock_;
  system::LibplistSerialization propertyLists_;
  simulation::RecordingConsole console_;

 public:
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes_, *cast_.units, loop_, queues_, clock_, propertyLists_, console_});

 private:
  SessionOn session_{*engine, loop_, clock_, console_};
  simulation::ScriptedDesktop desktop_;
  NSNotificationCenter notifications_;
  ContentView content_{
      {session_.state, *engine, loop_, clock_, console_, desktop_, session_.files, notifications_, "/copies"}};
  std::ptrdiff_t next_ = 0;
};

}  // namespace vrel::bench

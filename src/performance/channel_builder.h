// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ConsoleOutput;

/// Makes strips from their records: for a song that goes on stage, and for a strip that is pasted.
///
/// Nothing waits: instrument and effects arrive later, and what is not installed or fails leaves a silent strip with
/// its status. Main thread.
class ChannelBuilder {
 public:
  /// What the caller learns of a load, on the main queue. The first is a question, the others report.
  struct Progress {
    std::function<bool()> isWanted;         // once it says no, nothing more is loaded or reported
    std::function<void()> instrumentEnded;  // it plays or it failed; never for a strip without one
    std::function<void()> effectsEnded;     // all slots have answered
  };

  /// All are borrowed.
  ChannelBuilder(AppState& state, AudioEngine& engine, ConsoleOutput& console)
      : state_(state), engine_(engine), console_(console) {}

  /// Emitted before a strip loads what its record says.
  Signal<AudioChannel&, const ChannelConfig&> willLoad;

  /// A new strip at the end, with the values of the record and nothing loaded.
  std::shared_ptr<AudioChannel> addChannel(const ChannelConfig& record);

  /// Loads what the record plays, and its effects behind it.
  void load(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record, const Progress& progress);

  /// Loads a rack, of a strip or of the master.
  void restoreEffects(const std::shared_ptr<AudioChannel>& channel, const std::vector<AudioPluginSlot>& slots,
                      const std::function<void()>& ended);

 private:
  void loadInstrument(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record,
                      const Progress& progress);
  void instrumentEnded(const std::shared_ptr<AudioChannel>& channel, const std::vector<AudioPluginSlot>& slots,
                       const Progress& progress);

  AppState& state_;
  AudioEngine& engine_;
  ConsoleOutput& console_;
  LifeToken life_;
};

}  // namespace vrel

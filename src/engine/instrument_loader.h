// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "platform/audio_component.h"

namespace vrel {

class AudioChannel;
class AVAudioEngine;
class AVAudioNode;
class AVAudioUnit;
class ChannelChains;
class ConsoleOutput;
class GraphMutator;
class HostMusicalContext;
class LevelCapture;
class MainQueue;
class MixLevels;
class PluginPool;
class PluginState;
class VrelVisualEngine;

/// Gives a channel its instrument and takes it away.
///
/// A load never waits: a node parked in the pool is installed by the main queue's next work, any
/// other when its instantiation answers. Until then, and when it fails, the channel keeps what it had.
/// All operations are for the main thread.
class InstrumentLoader {
 public:
  using Completion = std::function<void(bool succeeded)>;

  struct Collaborators {
    AVAudioEngine& engine;
    GraphMutator& mutator;
    ChannelChains& chains;
    MixLevels& levels;
    LevelCapture& levelCapture;
    PluginPool& pool;
    PluginState& pluginState;
    HostMusicalContext& musicalContext;
    VrelVisualEngine& visuals;
    MainQueue& mainQueue;
    ConsoleOutput& console;
  };

  explicit InstrumentLoader(const Collaborators& collaborators)
      : engine_(collaborators.engine),
        mutator_(collaborators.mutator),
        chains_(collaborators.chains),
        levels_(collaborators.levels),
        levelCapture_(collaborators.levelCapture),
        pool_(collaborators.pool),
        pluginState_(collaborators.pluginState),
        musicalContext_(collaborators.musicalContext),
        visuals_(collaborators.visuals),
        mainQueue_(collaborators.mainQueue),
        console_(collaborators.console) {}

  /// Loads `component` into the channel, with the saved state if there is one. `completion` is called
  /// once, on the main queue, unless the engine has gone by then; false also when the channel is no longer on stage, or
  /// was asked to play something else meanwhile: then the plug-in goes to the pool.
  void loadInstrument(const std::shared_ptr<AudioChannel>& channel, const AVAudioUnitComponent& component,
                      const std::optional<SharedText>& stateBase64, Completion completion);

  /// Puts `node` in the place of the channel's instrument, state first, and wires it.
  void installInstrumentNode(AudioChannel& channel, const std::shared_ptr<AVAudioNode>& node, const std::string& key,
                             const std::string& name, const std::optional<SharedText>& stateBase64);

  /// Empties the strip; effects, reverb and meter stay, unlinked, for the next instrument.
  void unloadInstrument(AudioChannel& channel);

  /// Turns the strip to clips on notes. `completion` may be empty; it gets true.
  void loadVisualInstrument(AudioChannel& channel, const std::vector<VisualClipMapping>& mappings,
                            const Completion& completion);

  /// Simulates a crash: the node is lost, path, name and effects stay, the status is `crashed`.
  void simulatePluginCrash(AudioChannel& channel);

  /// The same for an instrument that has really died: the last state that it was given or captured stays with the
  /// strip, for saves and for its revival.
  void loseInstrument(AudioChannel& channel);

  /// Loads what the strip's path names again: an instrument, with the state that a death left and without one after a
  /// simulated crash; a file with its current range and modes; a strip without a path becomes empty. Nothing for what
  /// is not installed, and for clips.
  void reviveChannel(const std::shared_ptr<AudioChannel>& channel);

  /// What brings back a channel whose path is "internal:playback".
  void setPlaybackRevival(std::function<void(AudioChannel&)> revive) { revivePlayback_ = std::move(revive); }

  /// Unlinks the instrument and makes the engine forget it; a hosted one that is reusable goes back to the pool.
  void giveUpInstrumentNode(AudioChannel& channel);

 private:
  using UnitNode = std::shared_ptr<AVAudioUnit>;
  void finishLoad(AudioChannel& channel, const AVAudioUnitComponent& component, const UnitNode& node,
                  const std::optional<SharedText>& stateBase64, const Completion& completion);
  void prepareUnit(AVAudioUnit& unit, const std::optional<SharedText>& stateBase64);

  AVAudioEngine& engine_;
  GraphMutator& mutator_;
  ChannelChains& chains_;
  MixLevels& levels_;
  LevelCapture& levelCapture_;
  PluginPool& pool_;
  PluginState& pluginState_;
  HostMusicalContext& musicalContext_;
  VrelVisualEngine& visuals_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  std::function<void(AudioChannel&)> revivePlayback_;
  LifeToken life_;
};

}  // namespace vrel

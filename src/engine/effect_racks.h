// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "engine/plugin_pool.h"
#include "foundation/life_token.h"
#include "foundation/uuid.h"
#include "platform/audio_component.h"

namespace vrel {

class AudioChannel;
class AudioUnitFactory;
class AVAudioEngine;
class AVAudioNode;
class AVAudioUnit;
class ChannelChains;
class ConsoleOutput;
class GraphMutator;
class HostMusicalContext;
class MainQueue;
class MixLevels;
class PluginState;

/// The insert effects of strips and master: slots as saved data, nodes as what lives in them.
///
/// A slot without a node is normal (the plug-in is missing or failed): it is passed over in the chain
/// and kept in the list. A node is never without a slot. Effects are not pooled. Main thread, but for
/// the handler of instantiateEffectNode, which comes on any thread.
class EffectRacks {
 public:
  using UnitNode = std::shared_ptr<AVAudioUnit>;

  struct Collaborators {
    AVAudioEngine& engine;
    AudioUnitFactory& units;
    GraphMutator& mutator;
    ChannelChains& chains;
    MixLevels& levels;
    PluginState& pluginState;
    HostMusicalContext& musicalContext;
    MainQueue& mainQueue;
    ConsoleOutput& console;
  };

  explicit EffectRacks(const Collaborators& collaborators)
      : engine_(collaborators.engine),
        units_(collaborators.units),
        mutator_(collaborators.mutator),
        chains_(collaborators.chains),
        levels_(collaborators.levels),
        pluginState_(collaborators.pluginState),
        musicalContext_(collaborators.musicalContext),
        mainQueue_(collaborators.mainQueue),
        console_(collaborators.console) {}

  /// Makes an effect in process or, when that fails, out of process. `completion` gets the node or
  /// none, once, on any thread.
  void instantiateEffectNode(const AVAudioUnitComponent& component, const std::function<void(UnitNode)>& completion);

  /// Puts `node` into the slot with this id, or into a new slot at the end; the slot's saved state
  /// goes with the old plug-in. `completion` may be empty; it gets true.
  void replaceEffectSlot(AudioChannel& channel, const Uuid& slotId, const AVAudioUnitComponent& component,
                         const UnitNode& node, const std::function<void(bool)>& completion);

  /// Makes `component` and puts it into the slot as above, in whatever order several such loads end.
  /// `completion` may be empty; it is called once, on the main queue, with false when the plug-in does
  /// not load, the engine has gone by then, or the channel is no longer on stage.
  void loadEffect(const std::shared_ptr<AudioChannel>& channel, const Uuid& slotId,
                  const AVAudioUnitComponent& component, std::function<void(bool)> completion);

  /// Removes the slot and its node. The master is always rewired.
  void removeEffectSlot(AudioChannel& channel, const Uuid& slotId);

  /// Takes a node that has died out of the chain; its slot stays, with the last state that the effect was given or
  /// captured, and is among the channel's `failedEffects`. False when the rack has no such node.
  bool loseEffectNode(AudioChannel& channel, const std::shared_ptr<AVAudioNode>& node);

  /// Loads the plug-in of a slot without a node again, with the slot's state. False, and nothing, for a slot that has
  /// its node, that is not there, or whose plug-in is not installed. `completion` may be empty; it is called when the
  /// load has ended either way, unless engine or channel have gone.
  bool reviveEffect(const std::shared_ptr<AudioChannel>& channel, const Uuid& slotId,
                    const PluginComponentResolver& resolver, std::function<void()> completion = nullptr);

  /// Moves the slots at `fromOffsets` so that they stand before what was at `toOffset`; all offsets
  /// are those before the move. Offsets out of range are ignored.
  void moveEffectSlot(AudioChannel& channel, const std::set<std::size_t>& fromOffsets, std::size_t toOffset);

  /// Makes `slots` the channel's rack and loads their plug-ins side by side. A plug-in whose slot has
  /// been removed or filled by the time it comes is dropped. `completion` may be empty; it is called
  /// when the last has answered, unless engine or channel have gone.
  void restoreEffectSlots(const std::vector<AudioPluginSlot>& slots, const std::shared_ptr<AudioChannel>& channel,
                          const PluginComponentResolver& resolver, std::function<void()> completion);

 private:
  /// The loads of one rack. Touched on the main thread only, so that it needs no lock.
  struct LoadGroup {
    std::size_t pending = 0;  // loads that have not answered, and whoever still adds to them
    std::weak_ptr<AudioChannel> channel;
    std::function<void()> completion;
  };

  void restoreWhenMade(const AudioPluginSlot& slot, const AVAudioUnitComponent& component,
                       const std::shared_ptr<LoadGroup>& group);
  void leave(const std::shared_ptr<LoadGroup>& group);
  void configureHostCallbacks(AVAudioUnit& unit);
  void restoreSlot(AudioChannel& channel, const AudioPluginSlot& slot, const UnitNode& node);
  void restoreEnded(AudioChannel& channel, const std::function<void()>& completion);

  AVAudioEngine& engine_;
  AudioUnitFactory& units_;
  GraphMutator& mutator_;
  ChannelChains& chains_;
  MixLevels& levels_;
  PluginState& pluginState_;
  HostMusicalContext& musicalContext_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  LifeToken life_;
};

}  // namespace vrel

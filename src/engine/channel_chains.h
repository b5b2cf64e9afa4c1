// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace vrel {

class AudioChannel;
class AudioNodeFactory;
class AVAudioEngine;
class AVAudioNode;
class GraphMutator;
class LevelCapture;
struct Strips;

/// Wires the chains of the graph.
///
/// A strip: instrument, then each effect in slot order, then the reverb, then the meter mixer, then
/// the main mixer. The master: main mixer, then each master effect in slot order, then the output.
/// Reverb and meter are part of every strip that has an instrument, whatever their levels. A strip with
/// no instrument is not wired. A slot with no node is passed over.
///
/// Invariants: chains are linear; an effect node belongs to one channel; the master has no reverb, no
/// meter node and no instrument. Main thread, which is checked.
class ChannelChains {
 public:
  ChannelChains(Strips& strips, AVAudioEngine& engine, AudioNodeFactory& nodes, GraphMutator& mutator,
                LevelCapture& levelCapture);

  /// Main mixer to output in the output's own format; then the master's rack if it has a node.
  void prepareOutputGraph();

  [[nodiscard]] bool isMaster(const AudioChannel& channel) const;

  /// False for a channel that was taken out but is still referenced: a node that is attached for it would stay in the
  /// graph for good.
  [[nodiscard]] bool isOnStage(const AudioChannel& channel) const;

  /// Rewires one strip, with its tap and reverb mix; given the master, rewires that where it needs it.
  /// Does nothing, not even the tap, without an instrument.
  void rebuildChannelEffectChain(AudioChannel& channel);

  /// Rewires the master. An empty rack on a running engine needs no work and gets none unless `force`.
  void rebuildMasterEffectChain(bool force);

  /// Gives a strip its reverb if it has none, and a meter node likewise. The master gets neither.
  void ensureReverbNode(AudioChannel& channel);
  void ensureMeterNode(AudioChannel& channel);

  /// 75 percent wet at most, at a send of 1.
  void applyReverbMix(AudioChannel& channel);

  /// Bodies of graph mutations: to be run inside performGraphMutation, which is checked.
  void detachEffectNodes(AudioChannel& channel);
  void detachReverbNode(AudioChannel& channel);
  void detachMeterNode(AudioChannel& channel);

  /// Unlinks everything of a strip; detaches nothing. Inside performGraphMutation.
  void disconnectChannelChain(AudioChannel& channel);

  /// Unlinks the inputs and outputs of a node and makes the engine forget it. Inside performGraphMutation.
  void removeNode(const std::shared_ptr<AVAudioNode>& node);

 private:
  using Node = std::shared_ptr<AVAudioNode>;
  [[nodiscard]] bool mayChangeChains() const;
  Node connectEffects(AudioChannel& channel, Node previous);
  void connectStrip(AudioChannel& channel);
  void connectMaster();

  Strips& strips_;
  AVAudioEngine& engine_;
  AudioNodeFactory& nodes_;
  GraphMutator& mutator_;
  LevelCapture& levelCapture_;
};

}  // namespace vrel

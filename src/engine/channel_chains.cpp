// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/channel_chains.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "document/plugin_path.h"
#include "engine/graph_mutator.h"
#include "engine/level_capture.h"
#include "engine/strips.h"
#include "foundation/contracts.h"
#include "foundation/main_thread.h"
#include "platform/audio_engine.h"

namespace vrel {
namespace {

constexpr int largeHallPreset = 12;
constexpr float wettestPercent = 75.0F;

bool hasWiredEffect(const AudioChannel& channel) {
  const auto& nodes = channel.effectNodes.get();
  return std::any_of(channel.effectSlots.get().begin(), channel.effectSlots.get().end(),
                     [&nodes](const AudioPluginSlot& slot) { return nodes.contains(slot.id); });
}

}  // namespace

ChannelChains::ChannelChains(Strips& strips, AVAudioEngine& engine, AudioNodeFactory& nodes, GraphMutator& mutator,
                             LevelCapture& levelCapture)
    : strips_(strips), engine_(engine), nodes_(nodes), mutator_(mutator), levelCapture_(levelCapture) {}

void ChannelChains::prepareOutputGraph() {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  const auto output = engine_.outputNode();
  engine_.connect(engine_.mainMixerNode(), output, output->inputFormat(0));
  if (hasWiredEffect(*strips_.masterChannel)) {
    rebuildMasterEffectChain(false);
  }
}

bool ChannelChains::isMaster(const AudioChannel& channel) const {
  return strips_.isMaster(channel);
}

bool ChannelChains::mayChangeChains() const {
  return isMainThread() && mutator_.graphMutationDepth() > 0;
}

bool ChannelChains::isOnStage(const AudioChannel& channel) const {
  return strips_.holds(channel);
}

void ChannelChains::rebuildChannelEffectChain(AudioChannel& channel) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  if (strips_.isMaster(channel)) {
    rebuildMasterEffectChain(false);
    return;
  }
  if (channel.instrumentNode.get() == nullptr) {
    return;
  }
  ensureReverbNode(channel);
  ensureMeterNode(channel);
  mutator_.performGraphMutation("rebuildChannelEffectChain", [this, &channel] { connectStrip(channel); });
  // The meter of a preloaded file follows its own peaks, in step with the playing position.
  if (channel.pluginKind() == PluginPathKind::playback && channel.playbackBuffer.get() != nullptr) {
    levelCapture_.removeMeterTap(channel);
  } else {
    levelCapture_.installMeterTap(channel);
  }
  applyReverbMix(channel);
}

void ChannelChains::connectStrip(AudioChannel& channel) {
  const auto& meter = channel.meterNode.get();
  engine_.disconnectNodeOutput(channel.instrumentNode.get());
  engine_.disconnectNodeInput(meter);
  engine_.disconnectNodeOutput(meter);
  auto previous = connectEffects(channel, channel.instrumentNode.get());
  if (const auto& reverb = channel.reverbNode.get()) {
    engine_.disconnectNodeInput(reverb);
    engine_.disconnectNodeOutput(reverb);
    engine_.connect(previous, reverb, std::nullopt);
    previous = reverb;
  }
  engine_.connect(previous, meter, std::nullopt);
  engine_.connect(meter, engine_.mainMixerNode(), std::nullopt);
}

ChannelChains::Node ChannelChains::connectEffects(AudioChannel& channel, Node previous) {
  const auto& nodes = channel.effectNodes.get();
  for (const auto& slot : channel.effectSlots.get()) {
    const auto entry = nodes.find(slot.id);
    if (entry == nodes.end()) {
      continue;
    }
    engine_.disconnectNodeInput(entry->second);
    engine_.disconnectNodeOutput(entry->second);
    engine_.connect(previous, entry->second, std::nullopt);
    previous = entry->second;
  }
  return previous;
}

void ChannelChains::rebuildMasterEffectChain(bool force) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  if (!hasWiredEffect(*strips_.masterChannel) && engine_.isRunning() && !force) {
    return;
  }
  mutator_.performGraphMutation("rebuildMasterEffectChain", [this] { connectMaster(); });
}

void ChannelChains::connectMaster() {
  engine_.disconnectNodeOutput(engine_.mainMixerNode());
  const auto last = connectEffects(*strips_.masterChannel, engine_.mainMixerNode());
  engine_.connect(last, engine_.outputNode(), std::nullopt);
}

void ChannelChains::ensureReverbNode(AudioChannel& channel) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  if (strips_.isMaster(channel) || channel.reverbNode.get() != nullptr) {
    return;
  }
  auto reverb = nodes_.makeReverbNode();
  reverb->loadFactoryPreset(largeHallPreset);
  // Not limited here, unlike in applyReverbMix; the console keeps the position within 0 and 1.
  reverb->setWetDryMix(channel.reverb.get() * wettestPercent);
  engine_.attach(reverb);
  channel.reverbNode.set(std::move(reverb));
}

void ChannelChains::ensureMeterNode(AudioChannel& channel) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  if (channel.meterNode.get() != nullptr) {
    return;
  }
  auto meter = nodes_.makeMixerNode();
  engine_.attach(meter);
  channel.meterNode.set(std::move(meter));
}

void ChannelChains::applyReverbMix(AudioChannel& channel) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  if (const auto& reverb = channel.reverbNode.get()) {
    reverb->setWetDryMix(wettestPercent * std::clamp(channel.reverb.get(), 0.0F, 1.0F));
  }
}

void ChannelChains::detachEffectNodes(AudioChannel& channel) {
  if (!VREL_EXPECTS(mayChangeChains())) {
    return;
  }
  for (const auto& [slotId, node] : channel.effectNodes.get()) {
    removeNode(node);
  }
  channel.effectNodes.set({});
}

void ChannelChains::detachReverbNode(AudioChannel& channel) {
  if (!VREL_EXPECTS(mayChangeChains())) {
    return;
  }
  removeNode(channel.reverbNode.get());
  channel.reverbNode.set(nullptr);
}

void ChannelChains::detachMeterNode(AudioChannel& channel) {
  if (!VREL_EXPECTS(mayChangeChains())) {
    return;
  }
  removeNode(channel.meterNode.get());
  channel.meterNode.set(nullptr);
  channel.peakL.set(0.0F);
  channel.peakR.set(0.0F);
}

void ChannelChains::disconnectChannelChain(AudioChannel& channel) {
  if (!VREL_EXPECTS(mayChangeChains())) {
    return;
  }
  if (const auto& instrument = channel.instrumentNode.get()) {
    engine_.disconnectNodeOutput(instrument);
  }
  const auto disconnect = [this](const Node& node) {
    if (node != nullptr) {
      engine_.disconnectNodeInput(node);
      engine_.disconnectNodeOutput(node);
    }
  };
  for (const auto& [slotId, node] : channel.effectNodes.get()) {
    disconnect(node);
  }
  disconnect(channel.reverbNode.get());
  disconnect(channel.meterNode.get());
}

void ChannelChains::removeNode(const Node& node) {
  if (!VREL_EXPECTS(mayChangeChains())) {
    return;
  }
  engine_.disconnectNodeInput(node);
  engine_.disconnectNodeOutput(node);
  engine_.detach(node);
}

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/instrument_loader.h"

#include <utility>

#include "channel/audio_channel.h"
#include "channel/channel_values.h"
#include "document/plugin_path.h"
#include "engine/channel_chains.h"
#include "engine/graph_mutator.h"
#include "engine/host_musical_context.h"
#include "engine/level_capture.h"
#include "engine/mix_levels.h"
#include "engine/plugin_pool.h"
#include "engine/plugin_state.h"
#include "platform/audio_engine.h"
#include "platform/console_output.h"
#include "visuals/visual_engine.h"

namespace vrel {
namespace {

void clearPlaybackFile(AudioChannel& channel) {
  channel.playbackBuffer.set(nullptr);
  channel.playbackFile.set(nullptr);
  channel.playbackFileDuration.set(0);
  channel.playbackStartFrame.set(0);
  channel.playbackFrameCount.set(0);
  applyPlaybackValues(channel, ChannelConfig());
}

void clearPlaybackRun(AudioChannel& channel) {
  channel.endPlaybackRun();
  channel.playbackMeterPeaks.set({});
}

void clearPeaks(AudioChannel& channel) {
  channel.peakL.set(0);
  channel.peakR.set(0);
}

}  // namespace

void InstrumentLoader::loadInstrument(const std::shared_ptr<AudioChannel>& channel,
                                      const AVAudioUnitComponent& component,
                                      const std::optional<SharedText>& stateBase64, Completion completion) {
  channel->status.set(ChannelStatus::loading);
  const auto key = pluginKey(component);
  auto finish = [this, life = life_.watch(), weakChannel = std::weak_ptr(channel), component, stateBase64,
                 request = ++channel->instrumentRequests, completion = std::move(completion)](const UnitNode& node) {
    if (!life.isAlive()) {
      return;
    }
    const auto target = weakChannel.lock();
    const bool isOnStage = target != nullptr && chains_.isOnStage(*target);
    if (isOnStage && target->instrumentRequests == request) {
      finishLoad(*target, component, node, stateBase64, completion);
      return;
    }
    if (isOnStage && node != nullptr) {
      pool_.returnNodeToPool(node, pluginKey(component));
    }
    if (completion) {
      completion(false);
    }
  };
  if (auto node = pool_.take(key)) {
    mainQueue_.async([finish = std::move(finish), node = std::move(node)] { finish(node); });
    pool_.prewarmPlugin(key, nullptr);
    return;
  }
  pool_.instantiateInstrumentNode(
      component.audioComponentDescription, [finish = std::move(finish), &mainQueue = mainQueue_, &console = console_](
                                               UnitNode node, std::optional<Error> error) {
        mainQueue.async([finish, &console, node = std::move(node), error = std::move(error)] {
          if (error) {
            console.printFailure(FailureKind::instrument, "Failed to load plugin: " + error->description);
          }
          finish(error ? nullptr : node);
        });
      });
}

void InstrumentLoader::finishLoad(AudioChannel& channel, const AVAudioUnitComponent& component, const UnitNode& node,
                                  const std::optional<SharedText>& stateBase64, const Completion& completion) {
  if (node != nullptr) {
    installInstrumentNode(channel, node, pluginKey(component), component.name, stateBase64);
  } else {
    channel.status.set(ChannelStatus::loadFailed);
  }
  if (completion) {
    completion(node != nullptr);
  }
}

void InstrumentLoader::giveUpInstrumentNode(AudioChannel& channel) {
  const auto node = channel.instrumentNode.get();
  if (node == nullptr) {
    return;
  }
  engine_.disconnectNodeOutput(node);
  engine_.detach(node);
  const auto kind = channel.pluginKind();
  auto unit = std::dynamic_pointer_cast<AVAudioUnit>(node);
  if (unit == nullptr || kind == PluginPathKind::empty || isInternal(kind)) {
    return;
  }
  if (unit->isReusable()) {
    pool_.returnNodeToPool(std::move(unit), channel.pluginPath.get());
  } else {
    console_.print("The plug-in of strip " + channel.name.get() + " does not respond and is not used again");
  }
}

void InstrumentLoader::installInstrumentNode(AudioChannel& channel, const std::shared_ptr<AVAudioNode>& node,
                                             const std::string& key, const std::string& name,
                                             const std::optional<SharedText>& stateBase64) {
  giveUpInstrumentNode(channel);
  if (auto* unit = dynamic_cast<AVAudioUnit*>(node.get())) {
    prepareUnit(*unit, stateBase64);
  }
  engine_.attach(node);
  channel.instrumentNode.set(node);
  clearPlaybackFile(channel);
  clearPlaybackRun(channel);
  channel.pluginPath.set(key);
  channel.pluginName.set(name);
  channel.lostState.reset();
  channel.status.set(ChannelStatus::running);
  chains_.rebuildChannelEffectChain(channel);
  if (stateBase64) {
    musicalContext_.stateWasRestored();
  }
  levels_.applyMixerLevels();
}

void InstrumentLoader::prepareUnit(AVAudioUnit& unit, const std::optional<SharedText>& stateBase64) {
  const auto configure = [&] {
    musicalContext_.configureHostCallbacks(unit.auAudioUnit(), unit.audioUnit(), console_);
  };
  configure();
  if (const auto state = pluginState_.decodePluginState(stateBase64)) {
    unit.auAudioUnit().setFullStateForDocument(*state);
    configure();  // a plug-in can lose them in taking a state
    unit.reset();
  }
}

void InstrumentLoader::unloadInstrument(AudioChannel& channel) {
  ++channel.instrumentRequests;
  visuals_.unloadChannel(channel);
  levelCapture_.removeMeterTap(channel);
  mutator_.performGraphMutation("unloadInstrument", [this, &channel] {
    if (auto* player = dynamic_cast<AVAudioPlayerNode*>(channel.instrumentNode.get().get())) {
      player->stop();
    }
    chains_.disconnectChannelChain(channel);
    giveUpInstrumentNode(channel);
  });
  channel.instrumentNode.set(nullptr);
  channel.pluginPath.set("");
  channel.pluginName.set("");
  channel.status.set(ChannelStatus::noPlugin);
  channel.visualClipMappings.set({});
  clearPlaybackFile(channel);
  clearPlaybackRun(channel);
  clearPeaks(channel);
}

void InstrumentLoader::loadVisualInstrument(AudioChannel& channel, const std::vector<VisualClipMapping>& mappings,
                                            const Completion& completion) {
  ++channel.instrumentRequests;
  levelCapture_.removeMeterTap(channel);
  mutator_.performGraphMutation("loadVisualInstrument", [this, &channel] {
    giveUpInstrumentNode(channel);
    chains_.disconnectChannelChain(channel);
  });
  channel.instrumentNode.set(nullptr);
  clearPlaybackFile(channel);
  clearPlaybackRun(channel);
  clearPeaks(channel);
  channel.pluginPath.set(std::string(pathVisual));
  channel.pluginName.set("Vrel Visual");
  channel.status.set(ChannelStatus::running);
  channel.visualClipMappings.set(mappings);
  visuals_.loadChannel(channel, nullptr);
  levels_.applyMixerLevels();
  if (completion) {
    completion(true);
  }
}

void InstrumentLoader::simulatePluginCrash(AudioChannel& channel) {
  levelCapture_.removeMeterTap(channel);
  if (channel.meterNode.get() != nullptr) {
    mutator_.performGraphMutation("detachMeterNode", [this, &channel] { chains_.detachMeterNode(channel); });
  }
  if (const auto node = channel.instrumentNode.get()) {
    engine_.disconnectNodeOutput(node);
    engine_.detach(node);
  }
  channel.instrumentNode.set(nullptr);
  channel.status.set(ChannelStatus::crashed);
}

void InstrumentLoader::loseInstrument(AudioChannel& channel) {
  const auto state = pluginState_.capturePluginState(channel);
  simulatePluginCrash(channel);
  if (state) {
    channel.lostState = {channel.pluginPath.get(), *state};
  }
}

void InstrumentLoader::reviveChannel(const std::shared_ptr<AudioChannel>& channel) {
  const auto kind = channel->pluginKind();
  if (kind == PluginPathKind::empty) {
    unloadInstrument(*channel);
    levels_.applyMixerLevels();
    return;
  }
  if (kind == PluginPathKind::playback) {
    if (revivePlayback_) {
      revivePlayback_(*channel);
    }
    return;
  }
  const auto& resolver = pool_.resolver();
  const auto component = resolver && !isInternal(kind) ? resolver(channel->pluginPath.get()) : std::nullopt;
  if (component) {
    loadInstrument(channel, *component, channel->lostStateBase64(), nullptr);
  }
}

}  // namespace vrel

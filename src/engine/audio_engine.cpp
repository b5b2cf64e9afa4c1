// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/audio_engine.h"

#include <algorithm>
#include <array>
#include <utility>

#include "document/plugin_path.h"
#include "foundation/contracts.h"
#include "foundation/main_thread.h"
#include "foundation/move_item.h"
#include "platform/audio_engine.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

// Colours of new strips, taken in turn: red, green, blue.
constexpr std::array<std::array<float, 3>, 7> stripPalette{{{1.0F, 0.33F, 0.0F},
                                                            {1.0F, 0.82F, 0.0F},
                                                            {0.0F, 0.76F, 0.76F},
                                                            {0.7F, 0.2F, 0.8F},
                                                            {0.2F, 0.8F, 0.2F},
                                                            {0.85F, 0.2F, 0.2F},
                                                            {0.2F, 0.4F, 0.9F}}};

std::vector<float> stripColor(std::size_t stripCount) {
  const auto& color = stripPalette[stripCount % stripPalette.size()];
  return {color.begin(), color.end()};
}

/// A file that a note has started begins on the player queue: one that has not yet is stopped behind its beginning.
void stopBehindBegin(const Strips& strips, DispatchQueue& playerQueue) {
  for (const auto& channel : strips.channels) {
    const auto player = std::dynamic_pointer_cast<AVAudioPlayerNode>(channel->instrumentNode.get());
    if (player != nullptr && channel->playbackIsPlaying.get() && !player->isPlaying()) {
      playerQueue.async([node = std::weak_ptr(player)] {
        if (const auto begun = node.lock()) {
          begun->stop();
        }
      });
    }
  }
}

}  // namespace

std::shared_ptr<AudioEngine> AudioEngine::make(const EnginePlatform& platform) {
  std::shared_ptr<AudioEngine> engine(new AudioEngine(platform));
  engine->begin();
  return engine;
}

AudioEngine::AudioEngine(const EnginePlatform& platform)
    : platform_(platform),
      engine_(platform.nodes.makeEngine()),
      pool_(std::make_unique<PluginPool>(platform.units, platform.queues, platform.console)),
      mutator_(*engine_, platform.console),
      levels_(strips_, *engine_),
      levelCapture_(strips_, levels_, *engine_, platform.nodes, platform.clock),
      chains_(strips_, *engine_, platform.nodes, mutator_, levelCapture_),
      pluginState_(platform.propertyLists, platform.console),
      musicalContext_(std::make_shared<HostMusicalContext>(platform.clock)),
      visualEngine_(platform.videos, platform.mainQueue),
      instruments_({*engine_, mutator_, chains_, levels_, levelCapture_, *pool_, pluginState_, *musicalContext_,
                    visualEngine_, platform.mainQueue, platform.console}),
      playbackCache_(platform.files != nullptr && platform.decodesAhead
                         ? std::make_unique<PlaybackCache>(*platform.files, platform.queues)
                         : nullptr),
      playbackLoader_({platform.files, platform.nodes, *engine_, mutator_, chains_, levels_, instruments_,
                       platform.console, playbackCache_.get()}),
      effects_({*engine_, platform.units, mutator_, chains_, levels_, pluginState_, *musicalContext_,
                platform.mainQueue, platform.console}),
      ringing_({strips_, platform.mainQueue, platform.clock,
                [this](const RingingStrips::Channels& rung) { takeDownRung(rung); }}),
      deaths_({strips_, instruments_, effects_, ringing_, *pool_, platform.mainQueue, platform.console}),
      droppedEvents_(strips_, platform.midi, platform.console),
      router_(*engine_, strips_.channels, strips_.ringing, midiCallbacks),
      routes_(strips_, *engine_),
      playbackRuns_(platform.queues, platform.mainQueue, platform.clock) {
  mutator_.setStartHandler([this] { followOutputRate(); });
  router_.setPlaybackTarget(&playbackRuns_);
  router_.setVisualNoteTarget(&visualEngine_);
  instruments_.setPlaybackRevival([this](AudioChannel& channel) { playbackLoader_.loadAgain(channel); });
  if (platform.hardware != nullptr) {
    deviceSettings_.emplace(*platform.hardware, *engine_, mutator_, platform.console);
  }
}

void AudioEngine::begin() {
  strips_.masterChannel = std::make_shared<AudioChannel>("MASTER", weak_from_this());
  platform_.mainQueue.async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->ensureEngineRunning("initialization");
    }
  });
  engine_->setConfigurationChangeHandler([weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->followOutputDevice();
    }
  });
  if (platform_.midi != nullptr) {
    midiInput_.emplace(*platform_.midi, platform_.mainQueue, platform_.console,
                       [this](MidiMessage message, bool areInstrumentsServed) {
                         using Instruments = MidiRouter::Instruments;
                         router_.routeMIDI(message.status, message.data1, message.data2,
                                           areInstrumentsServed ? Instruments::served : Instruments::waiting);
                       });
    midiInput_->setupMIDI();
  }
  levelCapture_.startMeterDecayTimer(platform_.mainQueue);
  levelCapture_.installMainMixerTap();
  followOutputRate();
}

AudioEngine::~AudioEngine() {
  musicalContext_->engineHasGone();
  engine_->stop();
  // No tap may hold a strip while it goes.
  for (const auto* const strips : {&strips_.channels, &strips_.ringing}) {
    for (const auto& channel : *strips) {
      levelCapture_.removeMeterTap(*channel);
    }
  }
  engine_->mainMixerNode()->removeTap(0);
  midiInput_.reset();
}

bool AudioEngine::ensureEngineRunning(const std::string& reason) {
  const bool isRunning = mutator_.ensureEngineRunning(reason, [this] { chains_.prepareOutputGraph(); });
  followOutputRate();
  return isRunning;
}

std::vector<AudioOutputDevice> AudioEngine::availableOutputDevices() {
  return deviceSettings_ ? deviceSettings_->availableOutputDevices() : std::vector<AudioOutputDevice>{};
}

void AudioEngine::applyAudioSettings(std::uint32_t frameSize, const std::optional<std::string>& deviceUID) {
  if (deviceSettings_) {
    deviceSettings_->applyAudioSettings(frameSize, deviceUID, [this] { chains_.prepareOutputGraph(); });
  }
}

void AudioEngine::followOutputDevice() {
  if (deviceSettings_) {
    deviceSettings_->followDevice([this] { chains_.prepareOutputGraph(); });
  }
}

void AudioEngine::followOutputRate() {
  const double rate = engine_->outputNode()->outputFormat(0).sampleRate;
  musicalContext_->setOutputSampleRate(rate);
  if (outputRate_ > 0 && rate > 0 && rate != outputRate_) {
    pool_->remake();
  }
  outputRate_ = rate;
}

void AudioEngine::decodeAhead(const std::vector<const ChannelConfig*>& tracks) {
  if (playbackCache_ == nullptr) {
    return;
  }
  std::vector<PlaybackCache::Range> ranges;
  for (const auto* const track : tracks) {
    const PlaybackCache::Range range{track->playbackFilePath, track->playbackStartTime, track->playbackEndTime};
    if (std::find(ranges.begin(), ranges.end(), range) == ranges.end()) {
      ranges.push_back(range);
    }
  }
  playbackCache_->decodeAhead(std::move(ranges));
}

void AudioEngine::performGraphMutation(const std::string& label, const std::function<void()>& body) {
  mutator_.performGraphMutation(label, body);
}

std::shared_ptr<AudioChannel> AudioEngine::addChannel(const std::string& name) {
  auto channel = std::make_shared<AudioChannel>(name, weak_from_this());
  channel->color.set(stripColor(strips_.channels.size()));
  chains_.ensureMeterNode(*channel);
  chains_.ensureReverbNode(*channel);
  strips_.channels.push_back(channel);
  routes_.follow(*channel);
  applyMixerLevels();
  return channel;
}

void AudioEngine::moveChannel(std::size_t from, std::size_t to) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  auto& channels = strips_.channels;
  if (from < channels.size() && to <= channels.size()) {
    moveItem(channels, from, to);
    routes_.publish();
  }
}

void AudioEngine::removeChannel(const AudioChannel& channel) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  const auto position = std::find_if(strips_.channels.begin(), strips_.channels.end(),
                                     [&](const auto& each) { return each->id == channel.id; });
  if (position == strips_.channels.end()) {
    return;
  }
  droppedEvents_.report();
  const auto removed = *position;
  strips_.channels.erase(position);
  routes_.publish();
  takeDown(*removed);
  applyMixerLevels();
}

void AudioEngine::takeDown(AudioChannel& channel) {
  routes_.leave(channel);
  visualEngine_.unloadChannel(channel);
  if (!channel.effectNodes.get().empty()) {
    performGraphMutation("detachEffectNodes", [&] { chains_.detachEffectNodes(channel); });
  }
  if (channel.reverbNode.get() != nullptr) {
    performGraphMutation("detachReverbNode", [&] { chains_.detachReverbNode(channel); });
  }
  levelCapture_.removeMeterTap(channel);
  if (channel.meterNode.get() != nullptr) {
    performGraphMutation("detachMeterNode", [&] { chains_.detachMeterNode(channel); });
  }
  // What was behind the instrument is gone, so it may leave a running engine.
  instruments_.giveUpInstrumentNode(channel);
  // Its next owner comes from the pool; a channel that somebody still holds must not touch it again.
  channel.instrumentNode.set(nullptr);
}

void AudioEngine::takeDownRung(const RingingStrips::Channels& rung) {
  routes_.publish();
  performGraphMutation("takeDownRung", [&] {
    for (const auto& channel : rung) {
      takeDown(*channel);
    }
  });
}

void AudioEngine::removeAllChannels(double secondsToRing) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  droppedEvents_.report();
  ringing_.end();
  // First, so that none of them gets a note that its next owner would sound.
  auto removed = std::exchange(strips_.channels, {});
  if (secondsToRing > 0) {
    const auto ring = std::stable_partition(removed.begin(), removed.end(),
                                            [](const auto& each) { return !RingingStrips::canRing(*each); });
    strips_.ringing.assign(ring, removed.end());
    removed.erase(ring, removed.end());
    for (const auto& channel : strips_.ringing) {
      channel->isRinging.set(true);
    }
    ringing_.begin(secondsToRing);
  }
  routes_.publish();
  for (const auto& channel : removed) {
    takeDown(*channel);
  }
  auto& master = *strips_.masterChannel;
  master.effectSlots.set({});
  master.failedEffects.set({});
  if (!master.effectNodes.get().empty()) {
    performGraphMutation("detachEffectNodes", [&] { chains_.detachEffectNodes(master); });
  } else if (engine_->isRunning()) {
    return;  // the master chain is plain already
  }
  chains_.rebuildMasterEffectChain(true);
}

void AudioEngine::routeMIDI(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
  router_.routeMIDI(status, data1, data2);
}

void AudioEngine::sendPerformanceMIDI(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
  router_.sendPerformanceMIDI(status, data1, data2);
}

void AudioEngine::panic() {
  if (engine_->isRunning()) {
    engine_->endWaitingNotes();
    stopBehindBegin(strips_, playbackRuns_.playbackQueue());  // first: a loop schedules its next pass behind it
  }
  router_.panic();
  ringing_.end();  // last: instruments go to the pool as they are, and the stage does not wait for a graph change
}

void AudioEngine::applyMixerLevels() {
  levels_.applyMixerLevels();
}

void AudioEngine::applyReverbMix(AudioChannel& channel) {
  chains_.applyReverbMix(channel);
}

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/instrument_selector.h"

#include <optional>
#include <utility>

#include "channel/channel_values.h"
#include "console/loading_modal.h"
#include "console/plugin_preferences.h"
#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "document/nearest_plugins.h"
#include "document/plugin_names.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"
#include "text/text.h"

namespace vrel {
namespace {

/// Ends the notes of an instrument that has left its strip, so that it gets no more: it may play again, elsewhere.
void silenceInstrument(const std::shared_ptr<AVAudioNode>& node) {
  if (auto* instrument = dynamic_cast<AVAudioUnitMIDIInstrument*>(node.get())) {
    MidiRouter::silence(*instrument);
  }
}

}  // namespace

InstrumentSelector::InstrumentSelector(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      mainQueue_(collaborators.mainQueue),
      console_(collaborators.console),
      selection_(collaborators.selection),
      plugins_(state_.scannedPlugins.get()) {
  connections_.push_back(
      state_.scannedPlugins.changed.connect([this](const auto& plugins) { plugins_ = PluginList(plugins); }));
  connections_.push_back(
      selection_.channelsViewVersion.changed.connect([this](std::uint64_t) { closeForStripThatIsGone(); }));
  connections_.push_back(state_.isLiveModeEnabled.changed.connect([this](bool isLive) {
    if (isLive) {
      cancel();
    }
  }));
}

void InstrumentSelector::open(const AudioChannel& channel) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_)) {
    return;
  }
  if (state_.pluginSelectorChannelId.get() != channel.id) {
    endTrial();
  }
  selection_.selectedChannelId.set(channel.id);
  state_.pluginSelectorChannelId.set(channel.id);
}

void InstrumentSelector::close() {
  state_.pluginSelectorChannelId.set(std::nullopt);
}

void InstrumentSelector::cancel() {
  endTrial();
  close();
}

std::shared_ptr<AudioChannel> InstrumentSelector::channel() const {
  return stripWithId(engine_, state_.pluginSelectorChannelId.get());
}

void InstrumentSelector::closeForStripThatIsGone() {
  if (channel() == nullptr) {
    dropTrial();
    close();
  }
}

void InstrumentSelector::setSearchText(const std::string& text) {
  state_.pluginSelectorFilter.set(text);
}

std::vector<PluginGroup> InstrumentSelector::groups() const {
  return plugins_.matching(state_.pluginSelectorFilter.get());
}

std::vector<AVAudioUnitComponent> InstrumentSelector::preferred() const {
  return preferredPlugins(state_, plugins_, state_.pluginSelectorFilter.get());
}

std::vector<AVAudioUnitComponent> InstrumentSelector::nearest() const {
  const auto target = channel();
  if (target == nullptr || !state_.pluginSelectorFilter.get().empty()) {
    return {};
  }
  const auto path = pathOf(*target);
  const auto kind = pluginPathKind(path);
  const bool isPlugin = kind == PluginPathKind::component || kind == PluginPathKind::name;
  if (!isPlugin || resolvePluginPath(path, state_.scannedPlugins.get())) {
    return {};
  }
  return nearestPlugins({path, knownPluginName(path, knownPlugins(state_)), target->name.get()},
                        state_.scannedPlugins.get());
}

/// What the strip plays, or was to play. Asks no plug-in for its state: that may take long.
std::string InstrumentSelector::pathOf(const AudioChannel& channel) const {
  if (trial_ && trial_->channel.lock().get() == &channel) {
    return trial_->own.pluginPath;
  }
  const auto missing = missingSource && channel.pluginPath.get().empty() ? missingSource(channel) : std::nullopt;
  return missing ? missing->pluginPath : channel.pluginPath.get();
}

/// The same with its state.
ChannelConfig InstrumentSelector::sourceOf(const AudioChannel& channel) const {
  if (trial_ && trial_->channel.lock().get() == &channel) {
    return trial_->own;
  }
  auto missing = missingSource ? missingSource(channel) : std::nullopt;
  if (missing && channel.pluginPath.get().empty()) {
    return *missing;
  }
  ChannelConfig source;
  source.pluginPath = channel.pluginPath.get();
  source.pluginStateBase64 = engine_.pluginState().capturePluginState(channel);
  return source;
}

void InstrumentSelector::pick(const std::string& key) {
  const auto target = channel();
  if (target == nullptr || !LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_)) {
    return;
  }
  const bool isPlayed = trial_ && triedKey.get() == key && !trial_->isLoading && target->pluginPath.get() == key &&
                        target->status.get() == ChannelStatus::running;
  const auto own = trial_ ? std::optional(trial_->own) : std::nullopt;
  dropTrial();
  close();
  if (const auto component = resolvePluginPath(key, state_.scannedPlugins.get())) {
    notePluginUse(state_, key);
    if (!isPlayed) {
      load(target, *component, own);
    }
  } else {
    console_.printFailure(FailureKind::instrument,
                          "Failed to load plugin: " + notInstalledText(key, target->name.get()));
    bringOwnBack(target, own);
  }
  state_.markEdited();
}

void InstrumentSelector::load(const std::shared_ptr<AudioChannel>& channel, const AVAudioUnitComponent& component,
                              const std::optional<ChannelConfig>& own) {
  state_.beginLoadingSession(1, std::string(text(TextKey::loadingAudioUnits, state_.language.get())));
  channel->status.set(ChannelStatus::loading);
  const auto ended = endOfLoad(state_, life_);
  // After the modal, so that a plug-in that takes long is not waited for in front of an old picture.
  mainQueue_.async([this, life = life_.watch(), weakChannel = std::weak_ptr(channel), component, own, ended] {
    const auto target = weakChannel.lock();
    if (!life.isAlive() || target == nullptr) {
      ended();
      return;
    }
    const auto loaded = [this, life, weakChannel, old = target->instrumentNode.get(), own, ended](bool succeeded) {
      if (succeeded) {
        silenceInstrument(old);
        if (life.isAlive()) {
          state_.markEdited();  // only now does the strip play something else
        }
      } else if (const auto strip = weakChannel.lock();
                 life.isAlive() && strip != nullptr && strip->status.get() == ChannelStatus::loadFailed) {
        bringOwnBack(strip, own);
      }
      ended();
    };
    engine_.instruments().loadInstrument(target, component, std::nullopt, loaded);
  });
}

void InstrumentSelector::tryOut(const std::string& key) {
  const auto target = channel();
  if (target == nullptr || !LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_) ||
      !resolvePluginPath(key, state_.scannedPlugins.get())) {
    return;
  }
  if (!trial_) {
    auto& own = trial_.emplace(Trial{.channel = target, .own = sourceOf(*target), .next = {}}).own;
    storePlaybackValues(*target, own);
    own.visualClipMappings = target->visualClipMappings.get();
  }
  triedKey.set(key);
  if (trial_->isLoading) {
    trial_->next = key;
  } else {
    loadTried(key);
  }
}

void InstrumentSelector::loadTried(const std::string& key) {
  const auto target = trial_->channel.lock();
  const auto component = resolvePluginPath(key, state_.scannedPlugins.get());
  if (target == nullptr || !component) {
    return;
  }
  trial_->isLoading = true;
  engine_.instruments().loadInstrument(
      target, *component, std::nullopt,
      [this, life = life_.watch(), id = trial_->id, old = target->instrumentNode.get()](bool succeeded) {
        if (succeeded) {
          silenceInstrument(old);
        }
        if (life.isAlive()) {
          triedLoadEnded(id);
        }
      });
}

void InstrumentSelector::triedLoadEnded(const Uuid& trialId) {
  if (!trial_ || trial_->id != trialId) {
    return;
  }
  trial_->isLoading = false;
  if (const auto next = std::exchange(trial_->next, std::nullopt)) {
    loadTried(*next);
  }
}

void InstrumentSelector::dropTrial() {
  trial_.reset();
  triedKey.set("");
}

void InstrumentSelector::endTrial() {
  const auto trial = std::move(trial_);
  dropTrial();
  if (const auto target = trial ? trial->channel.lock() : nullptr) {
    install(target, trial->own, nullptr);
  }
}

void InstrumentSelector::dropChoiceFor(const AudioChannel& channel) {
  if (trial_ && trial_->channel.lock().get() == &channel) {
    dropTrial();
  }
  if (state_.pluginSelectorChannelId.get() == channel.id) {
    close();
  }
}

/// After a load that failed: the strip plays what it did before anything was tried out on it.
void InstrumentSelector::bringOwnBack(const std::shared_ptr<AudioChannel>& channel,
                                      const std::optional<ChannelConfig>& own) {
  if (own) {
    install(channel, *own, [weakChannel = std::weak_ptr(channel)] {
      if (const auto strip = weakChannel.lock()) {
        strip->status.set(ChannelStatus::loadFailed);
      }
    });
  } else {
    channel->status.set(ChannelStatus::loadFailed);
  }
}

void InstrumentSelector::put(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& source) {
  dropChoiceFor(*channel);
  install(channel, source, nullptr);
}

/// `installed` may be empty; it is called when the source is there, unless something else was asked for by then.
void InstrumentSelector::install(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& source,
                                 const std::function<void()>& installed) {
  const auto component = resolvePluginPath(source.pluginPath, state_.scannedPlugins.get());
  if (component) {
    engine_.instruments().loadInstrument(channel, *component, source.pluginStateBase64,
                                         [old = channel->instrumentNode.get(), installed](bool succeeded) {
                                           if (succeeded) {
                                             silenceInstrument(old);
                                           }
                                           if (succeeded && installed) {
                                             installed();
                                           }
                                         });
    return;
  }
  installInternal(channel, source);
  if (installed) {
    installed();
  }
}

/// A source without a plug-in, or one whose plug-in is not installed.
void InstrumentSelector::installInternal(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& source) {
  const auto old = channel->instrumentNode.get();
  const auto kind = pluginPathKind(source.pluginPath);
  if (kind == PluginPathKind::visual) {
    engine_.instruments().loadVisualInstrument(*channel, source.visualClipMappings, nullptr);
    silenceInstrument(old);
    return;
  }
  turnToPlayback(*channel);
  silenceInstrument(old);
  channel->pluginPath.set(source.pluginPath);
  if (kind == PluginPathKind::playback && !source.playbackFilePath.empty()) {
    applyPlaybackValues(*channel, source);
    engine_.playbackLoader().loadPlaybackInstrument(*channel, source);
  } else if (kind == PluginPathKind::empty) {
    channel->pluginName.set("");
  } else if (kind != PluginPathKind::playback) {
    channel->pluginName.set("");
    if (source.pluginStateBase64) {
      channel->lostState = {source.pluginPath, *source.pluginStateBase64};  // so that a save keeps it
    }
    channel->status.set(ChannelStatus::loadFailed);
  }
}

void InstrumentSelector::amendRecord(const AudioChannel& channel, ChannelConfig& record) const {
  if (trial_ && trial_->channel.lock().get() == &channel) {
    copySource(trial_->own, record);
  }
}

/// A player without a file.
void InstrumentSelector::turnToPlayback(AudioChannel& channel) {
  engine_.instruments().unloadInstrument(channel);
  channel.pluginPath.set(std::string(pathPlayback));
  channel.pluginName.set(std::string(text(TextKey::playbackTitle, state_.language.get())));
  engine_.applyMixerLevels();
}

void InstrumentSelector::pickInternalSource(const std::function<void(const AudioChannel&)>& edit) {
  const auto target = channel();
  if (target != nullptr && LiveModePolicy::isAllowed(LiveModeAction::chooseInternalSource, state_)) {
    cancel();
    edit(*target);
  }
}

void InstrumentSelector::pickPlayback() {
  pickInternalSource(editTrack);
}

void InstrumentSelector::pickVisual() {
  pickInternalSource(editClips);
}

void InstrumentSelector::removeInstrument(AudioChannel& channel) {
  if (channel.pluginKind() == PluginPathKind::empty ||
      !LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_)) {
    return;
  }
  dropChoiceFor(channel);
  const auto old = channel.instrumentNode.get();
  engine_.instruments().unloadInstrument(channel);
  silenceInstrument(old);
  engine_.applyMixerLevels();
  state_.markEdited();
}

}  // namespace vrel

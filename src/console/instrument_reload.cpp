// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/instrument_reload.h"

#include <string>

#include "channel/channel_status.h"
#include "channel/channel_values.h"
#include "console/loading_modal.h"
#include "document/app_state.h"
#include "document/plugin_names.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "platform/console_output.h"
#include "text/text.h"

namespace vrel {

void InstrumentReload::reload(const std::shared_ptr<AudioChannel>& channel) {
  const auto kind = channel->pluginKind();
  if (kind == PluginPathKind::empty) {
    engine_.applyMixerLevels();
  } else if (kind == PluginPathKind::visual) {
    engine_.instruments().loadVisualInstrument(*channel, channel->visualClipMappings.get(), nullptr);
  } else if (kind == PluginPathKind::playback) {
    ChannelConfig record;
    storePlaybackValues(*channel, record);
    engine_.playbackLoader().loadPlaybackInstrument(*channel, record);
  } else {
    loadPlugin(channel);
  }
}

void InstrumentReload::loadPlugin(const std::shared_ptr<AudioChannel>& channel) {
  const auto component = resolvePluginPath(channel->pluginPath.get(), state_.scannedPlugins.get());
  if (!component) {
    console_.printFailure(FailureKind::instrument,
                          "Failed to load plugin: " + notInstalledText(channel->pluginPath.get(), channel->name.get()));
    channel->status.set(ChannelStatus::loadFailed);
    return;
  }
  state_.beginLoadingSession(1, std::string(text(TextKey::loadingAudioUnits, state_.language.get())));
  channel->status.set(ChannelStatus::loading);
  engine_.instruments().loadInstrument(channel, *component, engine_.pluginState().capturePluginState(*channel),
                                       [ended = endOfLoad(state_, life_)](bool /*succeeded*/) { ended(); });
}

void InstrumentReload::simulateCrash(AudioChannel& channel) {
  if (canCrash(channel)) {
    engine_.instruments().simulatePluginCrash(channel);
  }
}

bool InstrumentReload::canCrash(const AudioChannel& channel) {
  return channel.status.get() == ChannelStatus::running && channel.instrumentNode.get() != nullptr;
}

bool InstrumentReload::canRevive(const AudioChannel& channel) {
  const auto status = channel.status.get();
  return !channel.pluginPath.get().empty() && (status == ChannelStatus::crashed || status == ChannelStatus::loadFailed);
}

}  // namespace vrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/load_problems.h"

#include <algorithm>
#include <cstddef>

#include "document/app_state.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"

namespace vrel::render {
namespace {

std::string reason(const std::string& path, const std::vector<AVAudioUnitComponent>& components) {
  if (!resolvePluginPath(path, components)) {
    return path + " is not installed";
  }
  return path + " did not load";
}

std::string instrumentReason(const ChannelConfig& record, const AppState& state) {
  return pluginPathKind(record.pluginPath) == PluginPathKind::playback
             ? record.playbackFilePath + " cannot be played"
             : reason(record.pluginPath, state.scannedPlugins.get());
}

void addEffectProblems(std::vector<std::string>& problems, const std::string& where, const AudioChannel& channel,
                       const AppState& state) {
  const auto& nodes = channel.effectNodes.get();
  for (const auto& slot : channel.effectSlots.get()) {
    if (!slot.pluginPath.empty() && !nodes.contains(slot.id)) {
      problems.push_back(where + ": no effect \"" + slot.pluginName + "\" (" +
                         reason(slot.pluginPath, state.scannedAudioEffectPlugins.get()) + ")");
    }
  }
}

}  // namespace

std::vector<std::string> loadProblems(const SongConfig& song, const AudioEngine& engine, const AppState& state) {
  std::vector<std::string> problems;
  const std::string songName = "song \"" + song.name + "\", ";
  const auto& channels = engine.channels();
  for (std::size_t strip = 0; strip < std::min(channels.size(), song.channels.size()); ++strip) {
    const auto& channel = *channels[strip];
    const std::string where = songName + "channel \"" + channel.name.get() + "\"";
    const ChannelStatus status = channel.status.get();
    const std::string problem = where + ": " + std::string(statusText(status)) + " (";
    if (status == ChannelStatus::loadFailed || status == ChannelStatus::crashed) {
      problems.push_back(problem + instrumentReason(song.channels[strip], state) + ")");
    }
    if (status == ChannelStatus::loading) {
      problems.push_back(problem + song.channels[strip].pluginPath + " did not respond)");
    }
    addEffectProblems(problems, where, channel, state);
  }
  addEffectProblems(problems, songName + "master", *engine.masterChannel(), state);
  return problems;
}

}  // namespace vrel::render

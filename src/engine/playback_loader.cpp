// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/playback_loader.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "channel/audio_channel.h"
#include "document/plugin_path.h"
#include "engine/channel_chains.h"
#include "engine/graph_mutator.h"
#include "engine/instrument_loader.h"
#include "engine/mix_levels.h"
#include "platform/audio_engine.h"
#include "platform/audio_file.h"
#include "platform/console_output.h"
#include "playback/playback_preparation.h"

namespace vrel {
namespace {

constexpr std::uint32_t mostPreparedFrames = 4096;

void storeConfiguration(AudioChannel& channel, const ChannelConfig& record) {
  channel.playbackFilePath.set(record.playbackFilePath);
  channel.playbackLoop.set(record.playbackLoop);
  channel.playbackStartTime.set(record.playbackStartTime);
  channel.playbackEndTime.set(record.playbackEndTime);
  channel.playbackStopMode.set(record.playbackStopMode);
}

// With the times as they came out for this file.
void storePrepared(AudioChannel& channel, const PreparedPlayback& prepared) {
  channel.playbackBuffer.set(prepared.buffer);
  channel.playbackFile.set(prepared.file);
  channel.playbackFileDuration.set(prepared.duration);
  channel.playbackStartFrame.set(prepared.range.startFrame);
  channel.playbackFrameCount.set(prepared.range.frameCount);
  channel.playbackStartTime.set(prepared.range.start);
  channel.playbackEndTime.set(prepared.range.end);
  channel.playbackIsPlaying.set(false);
  channel.playbackStopRequested.set(false);
  channel.playbackRunToken.set(std::nullopt);
  channel.playbackMeterStartedAt.set(std::nullopt);
  channel.playbackMeterPeaks.set(prepared.meterPeaks);
}

}  // namespace

void PlaybackLoader::loadPlaybackInstrument(AudioChannel& channel, const ChannelConfig& record) {
  const auto prepared =
      files_ != nullptr
          ? preparePlayback(*files_, record.playbackFilePath, record.playbackStartTime, record.playbackEndTime,
                            console_)
          : Result<PreparedPlayback>(Error{"audio files cannot be played here: " + record.playbackFilePath});
  if (!prepared) {
    console_.print("Failed to load playback file: " + prepared.error().description);
    channel.status.set(ChannelStatus::loadFailed);
    return;
  }
  mutator_.performGraphMutation("loadPlaybackInstrument", [&] { install(channel, record, prepared.value()); });
  levels_.applyMixerLevels();
}

void PlaybackLoader::install(AudioChannel& channel, const ChannelConfig& record, const PreparedPlayback& prepared) {
  instruments_.giveUpInstrumentNode(channel);
  const auto player = nodes_.makePlayerNode();
  engine_.attach(player);
  channel.instrumentNode.set(player);
  storeConfiguration(channel, record);
  storePrepared(channel, prepared);
  channel.pluginPath.set(std::string(pathPlayback));
  channel.pluginName.set("Vrel Player - " + std::filesystem::path(record.playbackFilePath).filename().string());
  channel.status.set(ChannelStatus::running);
  chains_.rebuildChannelEffectChain(channel);
  const auto& buffer = prepared.buffer;
  player->prepareWithFrameCount(
      std::min(buffer != nullptr ? buffer->frameLength : prepared.range.frameCount, mostPreparedFrames));
}

void PlaybackLoader::loadAgain(AudioChannel& channel) {
  if (channel.playbackFilePath.get().empty()) {
    return;
  }
  ChannelConfig record;
  record.playbackFilePath = channel.playbackFilePath.get();
  record.playbackLoop = channel.playbackLoop.get();
  record.playbackStartTime = channel.playbackStartTime.get();
  record.playbackEndTime = channel.playbackEndTime.get();
  record.playbackStopMode = channel.playbackStopMode.get();
  loadPlaybackInstrument(channel, record);
}

}  // namespace vrel

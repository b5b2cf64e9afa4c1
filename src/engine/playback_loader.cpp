// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/playback_loader.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "channel/audio_channel.h"
#include "channel/channel_values.h"
#include "document/plugin_path.h"
#include "engine/channel_chains.h"
#include "engine/graph_mutator.h"
#include "engine/instrument_loader.h"
#include "engine/mix_levels.h"
#include "platform/audio_engine.h"
#include "platform/audio_file.h"
#include "platform/console_output.h"
#include "playback/playback_cache.h"
#include "playback/playback_preparation.h"

namespace vrel {
namespace {

constexpr std::uint32_t mostPreparedFrames = 4096;

// With the times as they came out for this file.
void storePrepared(AudioChannel& channel, const PreparedPlayback& prepared) {
  channel.playbackBuffer.set(prepared.buffer);
  channel.playbackFile.set(prepared.file);
  channel.playbackFileDuration.set(prepared.duration);
  channel.playbackStartFrame.set(prepared.range.startFrame);
  channel.playbackFrameCount.set(prepared.range.frameCount);
  channel.playbackStartTime.set(prepared.range.start);
  channel.playbackEndTime.set(prepared.range.end);
  channel.endPlaybackRun();
  channel.playbackMeterPeaks.set(prepared.meterPeaks);
}

}  // namespace

void PlaybackLoader::loadPlaybackInstrument(AudioChannel& channel, const ChannelConfig& record) {
  const auto prepared = prepare(record);
  if (!prepared) {
    console_.printFailure(FailureKind::instrument, "Failed to load playback file: " + prepared.error().description);
    channel.status.set(ChannelStatus::loadFailed);
    return;
  }
  mutator_.performGraphMutation("loadPlaybackInstrument", [&] { install(channel, record, prepared.value()); });
  levels_.applyMixerLevels();
}

Result<PreparedPlayback> PlaybackLoader::prepare(const ChannelConfig& record) {
  const std::string& path = record.playbackFilePath;
  const double start = record.playbackStartTime;
  const double end = record.playbackEndTime;
  if (files_ == nullptr) {
    return Error{"this program reads no audio files: " + path};
  }
  if (cache_ == nullptr) {
    return preparePlayback(*files_, path, start, end, console_);
  }
  auto decoded = cache_->prepared({path, start, end});
  return decoded ? *std::move(decoded) : openPlayback(*files_, path, start, end);
}

void PlaybackLoader::install(AudioChannel& channel, const ChannelConfig& record, const PreparedPlayback& prepared) {
  ++channel.instrumentRequests;
  instruments_.giveUpInstrumentNode(channel);
  const auto player = nodes_.makePlayerNode();
  engine_.attach(player);
  channel.instrumentNode.set(player);
  applyPlaybackValues(channel, record);
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
  storePlaybackValues(channel, record);
  loadPlaybackInstrument(channel, record);
}

}  // namespace vrel

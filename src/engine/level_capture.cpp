// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/level_capture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "document/plugin_path.h"
#include "engine/mix_levels.h"
#include "engine/strips.h"
#include "foundation/mutex.h"
#include "platform/audio_engine.h"
#include "platform/clock.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

constexpr std::uint32_t channelTapFrames = 128;
constexpr std::uint32_t mainMixerTapFrames = 256;
constexpr double decayIntervalSeconds = 0.016666666666666666;
constexpr float decayFactor = 0.9F;
constexpr float decayStep = 0.01F;
constexpr double shortestDuration = 0.001;  // seconds

float largestMagnitude(const float* samples, std::uint32_t count) {
  float largest = 0.0F;
  for (std::uint32_t frame = 0; frame < count; ++frame) {
    largest = std::max(largest, std::fabs(samples[frame]));
  }
  return largest;
}

void raiseRawPeaks(AudioChannel& channel, float left, float right) {
  const MutexLock lock(channel.meterLock);
  channel.rawMeterPeakL = std::max(channel.rawMeterPeakL, left);
  channel.rawMeterPeakR = std::max(channel.rawMeterPeakR, right);
}

// A mono source shows on the left channel only.
void capturePeaks(AudioChannel& channel, const AVAudioPCMBuffer& buffer) {
  const auto* samples = buffer.floatChannelData();
  if (samples == nullptr) {
    return;
  }
  const float level = channel.meterLevel.load(std::memory_order_relaxed);
  const float left = largestMagnitude(samples[0], buffer.frameLength) * level;
  const float right =
      buffer.format().channelCount >= 2 ? largestMagnitude(samples[1], buffer.frameLength) * level : 0.0F;
  raiseRawPeaks(channel, left, right);
}

AVAudioNode::TapBlock captureBlock(const std::weak_ptr<AudioChannel>& weakChannel) {
  return [weakChannel](const AVAudioPCMBuffer& buffer) {
    const auto channel = weakChannel.lock();
    if (channel && !channel->engine.expired()) {
      capturePeaks(*channel, buffer);
    }
  };
}

void decay(Observable<float>& peak) {
  peak.set(std::max(0.0F, peak.get() * decayFactor - decayStep));
}

}  // namespace

LevelCapture::LevelCapture(const Strips& strips, const MixLevels& levels, AVAudioEngine& engine,
                           AudioNodeFactory& nodes, HostClock& clock)
    : strips_(strips), levels_(levels), engine_(engine), nodes_(nodes), clock_(clock) {}

LevelCapture::~LevelCapture() = default;

void LevelCapture::installMeterTap(AudioChannel& channel) {
  if (channel.meterNode.get() == nullptr) {
    auto meter = nodes_.makeMixerNode();
    engine_.attach(meter);
    channel.meterNode.set(std::move(meter));
  }
  if (channel.meterTapInstalled.get()) {
    return;
  }
  channel.meterNode.get()->installTap(0, channelTapFrames, std::nullopt, captureBlock(channel.weak_from_this()));
  channel.meterTapInstalled.set(true);
}

void LevelCapture::removeMeterTap(AudioChannel& channel) {
  if (channel.meterTapInstalled.get() && channel.meterNode.get() != nullptr) {
    channel.meterNode.get()->removeTap(0);
    channel.meterTapInstalled.set(false);
  }
}

void LevelCapture::installMainMixerTap() {
  const auto mixer = engine_.mainMixerNode();
  mixer->installTap(0, mainMixerTapFrames, mixer->outputFormat(0), captureBlock(strips_.masterChannel));
}

void LevelCapture::feedPlaybackMeter(AudioChannel& channel) {
  const auto& startedAt = channel.playbackMeterStartedAt.get();
  const auto& peaks = channel.playbackMeterPeaks.get();
  if (channel.pluginKind() != PluginPathKind::playback || !channel.playbackIsPlaying.get() || !startedAt ||
      peaks.empty()) {
    return;
  }
  // In this order, since a length that is NaN must not reach the index below.
  const double duration = std::max(shortestDuration, channel.playbackEndTime.get() - channel.playbackStartTime.get());
  const double elapsed = clock_.CACurrentMediaTime() - *startedAt;
  const double position = channel.playbackLoop.get() ? std::fmod(elapsed, duration) : std::min(elapsed, duration);
  const double proportion = std::clamp(position / duration, 0.0, 1.0);
  const auto index =
      std::min(static_cast<std::size_t>(proportion * static_cast<double>(peaks.size())), peaks.size() - 1);
  const float level = levels_.channelOutputLevel(channel);
  raiseRawPeaks(channel, peaks[index].first * level, peaks[index].second * level);
}

void LevelCapture::startMeterDecayTimer(MainQueue& mainQueue) {
  decayTimer_ = mainQueue.repeatingTimer(decayIntervalSeconds, [this] { decayPeaks(); });
}

void LevelCapture::decayPeaks() {
  for (const auto& channel : strips_.channels) {
    feedPlaybackMeter(*channel);
    decay(channel->peakL);
    decay(channel->peakR);
  }
  decay(strips_.masterChannel->peakL);
  decay(strips_.masterChannel->peakR);
}

}  // namespace vrel

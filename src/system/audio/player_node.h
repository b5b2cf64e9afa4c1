// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "system/audio/graph_node.h"
#include "system/audio/player_stream.h"
#include "system/audio/smoothed_gain.h"

namespace vrel::audio {

class PlayerFeeder;

/// The audio half of a player: takes from the fifo that sounds. A fifo that is left in the middle of its sound
/// ends in a short ramp; one that has not been fed in time is silent, and the block is counted.
class PlayerProcessor final : public NodeProcessor {
 public:
  PlayerProcessor(std::shared_ptr<PlayerStream> stream, std::shared_ptr<RenderCounters> counters);

  void prepare(double sampleRate) VREL_NOT_AUDIO_THREAD override;
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t /*inputChannelCount*/) const override { return 2; }
  [[nodiscard]] bool fillsOutput() const override { return true; }
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override;

  [[nodiscard]] SmoothedGain& gain() { return gain_; }

 private:
  [[nodiscard]] std::uint32_t takeFrom(PlaybackFifo* fifo, const ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void addEdge(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD;

  static constexpr std::uint32_t edgeFrames = 64;

  const std::shared_ptr<PlayerStream> stream_;
  const std::shared_ptr<RenderCounters> counters_;
  SmoothedGain gain_;

  // Audio thread.
  std::uint64_t serial_ = 0;     // of the fifo in the last block; 0 for none
  std::array<float, 2> last_{};  // samples of the last block
  std::array<float, 2> edge_{};  // where the ramp to zero begins
  std::uint32_t edgeDone_ = edgeFrames;
};

/// Plays files and buffers. Always stereo: a mono file goes to both channels, channels behind the second are left out.
class PlayerNode final : public GraphNodeOf<AVAudioPlayerNode> {
 public:
  PlayerNode(std::shared_ptr<PlayerFeeder> feeder, std::shared_ptr<AudioConverterFactory> converters,
             const std::shared_ptr<RenderCounters>& counters);

  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

  void stop() override { stream_->stop(); }
  void play() override { stream_->play(); }
  [[nodiscard]] bool isPlaying() const override { return stream_->isPlaying(); }
  void setRepeating(bool isRepeating) override { stream_->setRepeating(isRepeating); }
  [[nodiscard]] bool hasContinued() const override { return stream_->hasContinued(); }
  void prepareWithFrameCount(std::uint32_t frameCount) override;
  void scheduleSegment(const std::shared_ptr<AVAudioFile>& file, std::int64_t startingFrame, std::uint32_t frameCount,
                       CompletionHandler completionHandler) override;
  void scheduleBuffer(const std::shared_ptr<AVAudioPCMBuffer>& buffer, AVAudioPlayerNodeBufferOptions options,
                      CompletionHandler completionHandler) override;

  void setVolume(float linearGain) override { processor_->gain().set(linearGain); }
  [[nodiscard]] float volume() const override { return processor_->gain().get(); }

 private:
  void schedule(PlayerStream::Segment segment);

  const std::shared_ptr<PlayerFeeder> feeder_;
  const std::shared_ptr<PlayerStream> stream_;
  const std::shared_ptr<PlayerProcessor> processor_;
};

}  // namespace vrel::audio

// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/player_node.h"

#include <algorithm>
#include <utility>

#include "platform/audio_file.h"
#include "system/audio/finite_guard.h"
#include "system/audio/player_feeder.h"

namespace vrel::audio {

PlayerProcessor::PlayerProcessor(std::shared_ptr<PlayerStream> stream, std::shared_ptr<RenderCounters> counters)
    : stream_(std::move(stream)), counters_(std::move(counters)) {}

void PlayerProcessor::prepare(double sampleRate) {
  gain_.prepare(sampleRate);
  stream_->setSampleRate(sampleRate);
}

void PlayerProcessor::process(const ProcessBlock& block) noexcept {
  PlaybackFifo* const fifo = stream_->acquireFifo();
  const std::uint64_t serial = fifo != nullptr ? fifo->serial() : 0;
  if (serial != serial_) {
    edge_ = last_;
    edgeDone_ = 0;
    serial_ = serial;
  }
  const std::uint32_t taken = takeFrom(fifo, block);
  stream_->releaseFifo();
  for (float* const samples : block.output.channels) {
    std::fill(samples + taken, samples + block.frameCount, 0.0F);
  }
  addEdge(block);
  gain_.apply(block.output, block.frameCount);
}

std::uint32_t PlayerProcessor::takeFrom(PlaybackFifo* fifo, const ProcessBlock& block) noexcept {
  last_ = {};
  if (fifo == nullptr) {
    return 0;
  }
  // In this order: what is written before the end is marked is seen with it.
  const bool isComplete = fifo->isComplete.load();
  const auto& channels = block.output.channels;
  const std::uint32_t taken = fifo->takePasses(channels, block.frameCount, stream_->isRepeating());
  if (silenceIfTooLarge(block.output, taken)) {
    RenderCounters::add(counters_->silencedPlayerBlocks);
  }
  const bool isOver = fifo->hasEnded() || (isComplete && fifo->waiting() == 0);
  if (isOver) {
    return taken;  // its last frame ends a block: there is nothing to ramp from
  }
  if (taken == block.frameCount) {
    last_ = {channels[0][taken - 1], channels[1][taken - 1]};
  } else {
    RenderCounters::add(counters_->underrunBlocks);
  }
  return taken;
}

void PlayerProcessor::addEdge(const ProcessBlock& block) noexcept {
  const std::uint32_t count = std::min(block.frameCount, edgeFrames - edgeDone_);
  for (std::size_t channel = 0; channel < edge_.size(); ++channel) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      const auto left = static_cast<float>(edgeFrames - edgeDone_ - frame - 1);
      block.output.channels[channel][frame] += edge_[channel] * left / static_cast<float>(edgeFrames);
    }
  }
  edgeDone_ += count;
}

PlayerNode::PlayerNode(std::shared_ptr<PlayerFeeder> feeder, std::shared_ptr<AudioConverterFactory> converters,
                       const std::shared_ptr<RenderCounters>& counters)
    : feeder_(std::move(feeder)),
      stream_(std::make_shared<PlayerStream>(std::move(converters), counters)),
      processor_(std::make_shared<PlayerProcessor>(stream_, counters)) {
  feeder_->add(stream_);
}

void PlayerNode::prepareWithFrameCount(std::uint32_t /*frameCount*/) {
  stream_->prepare();
}

void PlayerNode::scheduleSegment(const std::shared_ptr<AVAudioFile>& file, std::int64_t startingFrame,
                                 std::uint32_t frameCount, CompletionHandler completionHandler) {
  PlayerStream::Segment segment;
  segment.file = file;
  segment.start = startingFrame;
  segment.frameCount = frameCount;
  segment.completionHandler = std::move(completionHandler);
  schedule(std::move(segment));
}

void PlayerNode::scheduleBuffer(const std::shared_ptr<AVAudioPCMBuffer>& buffer, AVAudioPlayerNodeBufferOptions options,
                                CompletionHandler completionHandler) {
  PlayerStream::Segment segment;
  segment.buffer = buffer;
  segment.frameCount = buffer->frameLength;
  segment.loops = options == AVAudioPlayerNodeBufferOptions::loops && segment.frameCount > 0;
  segment.completionHandler = std::move(completionHandler);
  schedule(std::move(segment));
}

void PlayerNode::schedule(PlayerStream::Segment segment) {
  stream_->schedule(std::move(segment));
  feeder_->wake();
}

}  // namespace vrel::audio

// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_plan.h"

#include <algorithm>
#include <span>
#include <utility>

namespace vrel::audio {

void RenderPlan::compile(const NodeGraph::Entry& output, double sampleRate, BufferArena& arena) {
  result_ = addStep(output, sampleRate, arena);
  freeBuffers_.clear();
  buffersTaken_ = 0;
}

void RenderPlan::clear() {
  steps_.clear();
  inputs_.clear();
  result_ = {};
  processors_.clear();
  taps_.clear();
}

Stream RenderPlan::addStep(const NodeGraph::Entry& entry, double sampleRate, BufferArena& arena) {
  // The inputs of a step are contiguous, so they are gathered before their own inputs' place is known.
  std::vector<Stream> inputs;
  inputs.reserve(entry.sources.size());
  for (const NodeGraph::Entry* const source : entry.sources) {
    inputs.push_back(addStep(*source, sampleRate, arena));
  }
  std::shared_ptr<NodeProcessor> processor = entry.graphNode->processor();
  processor->prepare(sampleRate);

  Step step;
  step.processor = processor.get();
  step.tap = entry.graphNode->tapPoint().get();
  step.firstInput = inputs_.size();
  step.inputCount = inputs.size();
  step.fillsOutput = processor->fillsOutput();
  step.servesTap = processor->servesTap();
  step.output = takeBuffers(entry.graphNode->outputChannelCount(), arena);
  inputs_.insert(inputs_.end(), inputs.begin(), inputs.end());
  for (const Stream& input : inputs) {
    giveBack(input);
  }
  steps_.push_back(step);
  processors_.push_back(std::move(processor));
  taps_.push_back(entry.graphNode->tapPoint());
  return step.output;
}

Stream RenderPlan::takeBuffers(std::uint32_t channelCount, BufferArena& arena) {
  Stream stream;
  stream.channelCount = channelCount;
  for (std::uint32_t channel = 0; channel < channelCount; ++channel) {
    if (freeBuffers_.empty()) {
      stream.channels[channel] = arena.buffer(buffersTaken_++);
    } else {
      stream.channels[channel] = freeBuffers_.back();
      freeBuffers_.pop_back();
    }
  }
  return stream;
}

void RenderPlan::giveBack(const Stream& stream) {
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    freeBuffers_.push_back(stream.channels[channel]);
  }
}

void RenderPlan::render(std::uint32_t frameCount, std::optional<std::int64_t> deadline) const noexcept {
  for (const Step& step : steps_) {
    if (step.inputCount == 0) {
      step.processor->begin(frameCount);
    }
  }
  for (const Step& step : steps_) {
    for (std::uint32_t channel = 0; channel < step.output.channelCount && !step.fillsOutput; ++channel) {
      std::fill_n(step.output.channels[channel], frameCount, 0.0F);
    }
    const ProcessBlock block{.frameCount = frameCount,
                             .inputs = std::span(inputs_).subspan(step.firstInput, step.inputCount),
                             .output = step.output,
                             .tap = step.tap,
                             .deadline = deadline};
    step.processor->process(block);
    if (!step.servesTap) {
      step.tap->push(step.output, frameCount);
    }
  }
}

}  // namespace vrel::audio

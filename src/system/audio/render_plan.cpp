// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_plan.h"

#include <algorithm>
#include <span>
#include <utility>

namespace vrel::audio {

void RenderPlan::compile(const NodeGraph::Entry& output, double sampleRate, BufferArena& arena, std::uint64_t block) {
  spare_ = takeBuffers(maximumStreamChannels, arena);
  result_ = addStep(output, sampleRate, arena, block);
  freeBuffers_.clear();
  buffersTaken_ = 0;
}

void RenderPlan::clear() {
  steps_.clear();
  inputs_.clear();
  sources_.clear();
  departed_.clear();
  result_ = {};
  processors_.clear();
  taps_.clear();
  fades_.clear();
  withdrawn_.clear();
  hasWithdrawn_ = false;
}

void RenderPlan::withdraw(const NodeProcessor& processor) {
  for (std::size_t index = 0; index < steps_.size(); ++index) {
    if (processors_[index].get() == &processor) {
      withdrawn_[index] = true;
      hasWithdrawn_ = true;
    }
  }
}

Stream RenderPlan::addStep(const NodeGraph::Entry& entry, double sampleRate, BufferArena& arena, std::uint64_t block) {
  // The inputs of a step are contiguous, so they are gathered before their own inputs' place is known.
  std::vector<Stream> inputs;
  inputs.reserve(entry.sources.size());
  for (const NodeGraph::Entry* const source : entry.sources) {
    inputs.push_back(addStep(*source, sampleRate, arena, block));
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
  addFades(entry, step, block);
  for (const Stream& input : inputs) {
    giveBack(input);
  }
  steps_.push_back(step);
  withdrawn_.emplace_back(false);
  processors_.push_back(std::move(processor));
  taps_.push_back(entry.graphNode->tapPoint());
  return step.output;
}

void RenderPlan::addFades(const NodeGraph::Entry& entry, Step& step, std::uint64_t block) {
  std::vector<std::shared_ptr<LinkFades>> inputs;
  for (const NodeGraph::Entry* const source : entry.sources) {
    inputs.push_back(source->graphNode->linkFades());
    sources_.push_back(inputs.back().get());
  }
  step.fades = entry.graphNode->linkFades().get();
  step.firstDeparted = departed_.size();
  for (auto& departed : entry.graphNode->replaceInputs(inputs, block)) {
    departed_.push_back(departed.get());
    fades_.push_back(std::move(departed));
  }
  step.departedCount = departed_.size() - step.firstDeparted;
  fades_.push_back(entry.graphNode->linkFades());
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

void RenderPlan::render(std::uint32_t frameCount, std::uint64_t block, std::optional<std::int64_t> deadline) noexcept {
  noteAbsent();
  for (const Step& step : steps_) {
    if (step.inputCount == 0 && !step.isAbsent) {
      step.processor->begin(frameCount);
    }
  }
  for (const Step& step : steps_) {
    renderStep(step, frameCount, block, deadline);
  }
}

// Once for the block: what is begun is also collected.
void RenderPlan::noteAbsent() noexcept {
  if (!hasWithdrawn_) {
    return;
  }
  for (std::size_t index = 0; index < steps_.size(); ++index) {
    steps_[index].isAbsent = withdrawn_[index];
  }
}

void RenderPlan::renderStep(const Step& step, std::uint32_t frameCount, std::uint64_t block,
                            std::optional<std::int64_t> deadline) noexcept {
  const bool isFilled = step.fillsOutput && !step.isAbsent;
  for (std::uint32_t channel = 0; channel < step.output.channelCount && !isFilled; ++channel) {
    std::fill_n(step.output.channels[channel], frameCount, 0.0F);
  }
  const auto inputs = std::span(inputs_).subspan(step.firstInput, step.inputCount);
  Stream spare = spare_;
  const bool isSpare = step.fades->enter({inputs, std::span(sources_).subspan(step.firstInput, step.inputCount),
                                          std::span(departed_).subspan(step.firstDeparted, step.departedCount)},
                                         spare, frameCount, block);
  if (step.isAbsent) {
    step.fades->leave(step.output, frameCount, block, true);
    return;
  }
  const ProcessBlock processed{.frameCount = frameCount,
                               .inputs = isSpare ? std::span<const Stream>(&spare, 1) : inputs,
                               .output = step.output,
                               .tap = step.tap,
                               .deadline = deadline};
  step.processor->process(processed);
  step.fades->leave(step.output, frameCount, block, step.processor->isMissing());
  if (!step.servesTap) {
    step.tap->push(step.output, frameCount);
  }
}

}  // namespace vrel::audio

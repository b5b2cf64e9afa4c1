// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_plan.h"

#include <algorithm>
#include <span>
#include <utility>

namespace vrel::audio {
namespace {

// The share of a block's time that is left to each later stage, and to all of them together at most.
constexpr double stageShare = 0.05;
constexpr double largestShare = 0.25;

}  // namespace

void RenderPlan::compile(const NodeGraph::Entry& output, double sampleRate, BufferArena& arena, std::uint64_t block) {
  const std::size_t last = addSteps(output, sampleRate, block, 0);
  assignBuffers(arena);
  const auto stages = std::ranges::max(steps_, {}, &Step::stagesAfter).stagesAfter;
  reservePerFrame_ = 1e9 / sampleRate * std::min(stageShare, largestShare / std::max(stages, 1U));
  result_ = steps_[last].output;
  isTaken_.assign(steps_.size(), 0);
  withdrawn_.resize(steps_.size());
  freeBuffers_.clear();
  buffersTaken_ = 0;
}

void RenderPlan::clear() {
  steps_.clear();
  inputs_.clear();
  inputSteps_.clear();
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
    if (steps_[index].processor == &processor) {
      withdrawn_[index] = true;
      hasWithdrawn_ = true;
    }
  }
}

std::size_t RenderPlan::addSteps(const NodeGraph::Entry& entry, double sampleRate, std::uint64_t block,
                                 std::uint32_t stagesAfter) {
  std::shared_ptr<NodeProcessor> processor = entry.graphNode->processor();
  // The inputs of a step are contiguous, so they are gathered before their own inputs' place is known.
  std::vector<std::size_t> sources;
  sources.reserve(entry.sources.size());
  for (const NodeGraph::Entry* const source : entry.sources) {
    sources.push_back(addSteps(*source, sampleRate, block, stagesAfter + (processor->worksElsewhere() ? 1 : 0)));
  }
  processor->prepare(sampleRate);

  Step step;
  step.processor = processor.get();
  step.tap = entry.graphNode->tapPoint().get();
  step.firstInput = inputSteps_.size();
  step.inputCount = sources.size();
  step.stagesAfter = stagesAfter;
  step.worksElsewhere = processor->worksElsewhere();
  step.fillsOutput = processor->fillsOutput();
  step.servesTap = processor->servesTap();
  inputSteps_.insert(inputSteps_.end(), sources.begin(), sources.end());
  addFades(entry, step, block);
  if (step.worksElsewhere && step.inputCount > 0) {
    step.part = Part::accept;
    steps_.push_back(step);
    step.part = Part::collect;
    step.inputCount = 0;
    step.departedCount = 0;
  }
  step.output.channelCount = entry.graphNode->outputChannelCount();
  steps_.push_back(step);
  processors_.push_back(std::move(processor));
  taps_.push_back(entry.graphNode->tapPoint());
  return steps_.size() - 1;
}

void RenderPlan::addFades(const NodeGraph::Entry& entry, Step& step, std::uint64_t block) {
  for (const NodeGraph::Entry* const source : entry.sources) {
    sources_.push_back(source->graphNode->linkFades().get());
  }
  step.fades = entry.graphNode->linkFades().get();
  step.firstDeparted = departed_.size();
  // Most nodes keep their inputs from plan to plan.
  if (!entry.graphNode->hasInputs(std::span(sources_).last(entry.sources.size()))) {
    std::vector<std::shared_ptr<LinkFades>> inputs;
    for (const NodeGraph::Entry* const source : entry.sources) {
      inputs.push_back(source->graphNode->linkFades());
    }
    for (auto& departed : entry.graphNode->replaceInputs(inputs, block)) {
      departed_.push_back(departed.get());
      fades_.push_back(std::move(departed));
    }
  }
  step.departedCount = departed_.size() - step.firstDeparted;
  fades_.push_back(entry.graphNode->linkFades());
}

void RenderPlan::assignBuffers(BufferArena& arena) {
  isInOrder_ = std::ranges::none_of(steps_, [](const Step& step) { return step.part == Part::accept; });
  spare_ = takeBuffers(maximumStreamChannels, arena);
  inputs_.resize(inputSteps_.size());
  for (Step& step : steps_) {
    step.output = takeBuffers(step.output.channelCount, arena);
    for (std::size_t input = step.firstInput; input < step.firstInput + step.inputCount; ++input) {
      inputs_[input] = steps_[inputSteps_[input]].output;
      if (isInOrder_) {
        giveBack(inputs_[input]);
      }
    }
  }
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
    if (step.part == Part::whole && step.inputCount == 0 && !step.isAbsent) {
      step.processor->begin(frameCount);
    }
  }
  const Block all{frameCount, block, deadline};
  if (!isInOrder_) {
    renderWhatIsReady(all);
    return;
  }
  for (const Step& step : steps_) {
    take(step, all);
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

void RenderPlan::renderWhatIsReady(const Block& block) noexcept {
  std::ranges::fill(isTaken_, 0);
  for (std::size_t left = steps_.size(); left > 0;) {
    const std::size_t before = left;
    const Step* late = nullptr;
    for (std::size_t index = 0; index < steps_.size(); ++index) {
      const Step& step = steps_[index];
      if (isTaken_[index] != 0 || !hasItsInputs(index)) {
        continue;
      }
      const bool isCollected = step.worksElsewhere && step.part != Part::accept && !step.isAbsent;
      if (isCollected && !step.processor->isReady(deadlineOf(step, block))) {
        late = &step;
        continue;
      }
      take(step, block);
      isTaken_[index] = 1;
      --left;
    }
    // The last that was set going is most often the last that is ready. To be woken for each of the others would cost
    // more than they take.
    if (left == before && late != nullptr) {
      late->processor->sleepUntilReady(deadlineOf(*late, block));
    }
  }
}

bool RenderPlan::hasItsInputs(std::size_t index) const noexcept {
  const Step& step = steps_[index];
  if (step.part == Part::collect) {
    return isTaken_[index - 1] != 0;
  }
  const auto steps = std::span(inputSteps_).subspan(step.firstInput, step.inputCount);
  return std::ranges::all_of(steps, [this](std::size_t source) { return isTaken_[source] != 0; });
}

std::optional<std::int64_t> RenderPlan::deadlineOf(const Step& step, const Block& block) const noexcept {
  const auto reserve = static_cast<std::int64_t>(reservePerFrame_ * block.frameCount * step.stagesAfter);
  return block.deadline ? std::optional(*block.deadline - reserve) : std::nullopt;
}

// One that was bypassed when it was withdrawn, since it is dead, stays bypassed until there is a plan without it.
Delivery RenderPlan::goOnBypassed(const Step& step, std::uint32_t frameCount) const noexcept {
  if (step.part != Part::collect || step.processor->delivery() != Delivery::bypassed) {
    return Delivery::missing;
  }
  passOn(inputs_[step.firstInput], step.output, frameCount);
  return Delivery::bypassed;
}

void RenderPlan::take(const Step& step, const Block& block) noexcept {
  Stream spare = spare_;
  std::span<const Stream> inputs = std::span(inputs_).subspan(step.firstInput, step.inputCount);
  // Of a strip that is taken away only the end is continued, since continuing takes time.
  const bool isPassedOver = step.part == Part::whole && step.isAbsent;
  if (step.part != Part::collect && !isPassedOver &&
      step.fades->enter({inputs, std::span(sources_).subspan(step.firstInput, step.inputCount),
                         std::span(departed_).subspan(step.firstDeparted, step.departedCount)},
                        spare, block.frameCount, block.number)) {
    inputs = std::span<const Stream>(&spare, 1);
  }
  if (step.part == Part::accept) {
    if (!step.isAbsent) {
      step.processor->accept(block.frameCount, inputs.front());
    }
    return;
  }
  const bool isFilled = step.fillsOutput && !step.isAbsent;
  for (std::uint32_t channel = 0; channel < step.output.channelCount && !isFilled; ++channel) {
    std::fill_n(step.output.channels[channel], block.frameCount, 0.0F);
  }
  if (step.isAbsent) {
    step.fades->leave(step.output, block.frameCount, block.number, goOnBypassed(step, block.frameCount));
    return;
  }
  step.processor->process({.frameCount = block.frameCount,
                           .inputs = inputs,
                           .output = step.output,
                           .tap = step.tap,
                           .deadline = deadlineOf(step, block)});
  step.fades->leave(step.output, block.frameCount, block.number, step.processor->delivery());
  if (!step.servesTap) {
    step.tap->push(step.output, block.frameCount);
  }
}

}  // namespace vrel::audio

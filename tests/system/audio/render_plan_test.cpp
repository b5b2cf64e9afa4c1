// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/audio/test_nodes.h"
#include "system/audio/mixer_node.h"
#include "system/audio/output_node.h"
#include "system/audio/reverb_node.h"

namespace vrel::audio::test {
namespace {

/// Sixteen strips of a source, effects and a mixer, into one more mixer and the output.
class PlanFor16Strips : public testing::Test {
 protected:
  PlanFor16Strips() {
    graph.setSampleRate(48000);
    NodeGraph::Entry* const main = add(std::make_shared<MixerNode>());
    output = add(std::make_shared<OutputNode>());
    graph.connect(*main, *output);
    for (std::uint32_t strip = 0; strip < 16; ++strip) {
      NodeGraph::Entry* last = add(makeSource(1 + strip % 2, noise(strip)));
      for (std::uint32_t effect = 0; effect < strip % 3; ++effect) {
        last = then(last, std::make_shared<FactorNode>(0.5F));
      }
      last = then(last, std::make_shared<ReverbNode>());
      last = then(last, std::make_shared<MixerNode>());
      graph.connect(*last, *main);
    }
    plan.compile(*output, 48000, arena);
  }

  NodeGraph::Entry* add(std::shared_ptr<AVAudioNode> node) { return graph.attach(node); }
  NodeGraph::Entry* then(NodeGraph::Entry* source, std::shared_ptr<AVAudioNode> node) {
    NodeGraph::Entry* const next = add(std::move(node));
    graph.connect(*source, *next);
    return next;
  }

  static std::vector<const float*> buffersOf(const Stream& stream) {
    return {stream.channels.begin(), stream.channels.begin() + stream.channelCount};
  }

  NodeGraph graph;
  NodeGraph::Entry* output = nullptr;
  BufferArena arena;
  RenderPlan plan;
};

TEST_F(PlanFor16Strips, HoldsEveryNodeOnce) {
  std::set<const NodeProcessor*> processors;
  for (const RenderPlan::Step& step : plan.steps()) {
    processors.insert(step.processor);
  }
  EXPECT_EQ(plan.stepCount(), graph.size());
  EXPECT_EQ(processors.size(), graph.size());
}

TEST_F(PlanFor16Strips, NoOutputSharesMemoryWithAnInputOfItsStep) {
  for (const RenderPlan::Step& step : plan.steps()) {
    const std::vector<const float*> written = buffersOf(step.output);
    for (std::size_t input = 0; input < step.inputCount; ++input) {
      for (const float* const read : buffersOf(plan.inputs()[step.firstInput + input])) {
        EXPECT_EQ(std::ranges::count(written, read), 0);
      }
    }
  }
}

TEST_F(PlanFor16Strips, WhatAStepReadsIsWhatItsSourceWroteLast) {
  // Plays the plan with names instead of samples: who wrote a buffer last, and has it been read.
  std::map<const float*, std::size_t> writer;
  std::set<std::size_t> read;
  for (std::size_t index = 0; index < plan.stepCount(); ++index) {
    const RenderPlan::Step& step = plan.steps()[index];
    for (std::size_t input = 0; input < step.inputCount; ++input) {
      const std::vector<const float*> buffers = buffersOf(plan.inputs()[step.firstInput + input]);
      ASSERT_FALSE(buffers.empty());
      const std::size_t source = writer.at(buffers.front());
      EXPECT_LT(source, index);
      EXPECT_EQ(buffersOf(plan.steps()[source].output), buffers);
      EXPECT_TRUE(read.insert(source).second) << "read twice: the second writer overwrote it";
    }
    for (const float* const buffer : buffersOf(step.output)) {
      writer[buffer] = index;
    }
  }
  EXPECT_EQ(read.size(), plan.stepCount() - 1);
}

TEST_F(PlanFor16Strips, BuffersAreUsedAgain) {
  std::set<const float*> buffers;
  std::size_t channels = 0;
  for (const RenderPlan::Step& step : plan.steps()) {
    const std::vector<const float*> written = buffersOf(step.output);
    buffers.insert(written.begin(), written.end());
    channels += written.size();
  }
  EXPECT_GT(channels, 100U);
  EXPECT_LE(buffers.size(), 16U * 2 + 4);
}

TEST_F(PlanFor16Strips, AnInputThatWasNeverHeardIsNotKeptForItsEnd) {
  graph.detach(*graph.find(output->sources[0]->sources[3]->node.get()));
  plan.clear();
  plan.compile(*output, 48000, arena);
  EXPECT_TRUE(std::ranges::none_of(plan.steps(), [](const auto& step) { return step.departedCount > 0; }));
}

TEST_F(PlanFor16Strips, CompiledAgainItTakesTheSameMemory) {
  std::set<const float*> before;
  std::set<const float*> after;
  for (const RenderPlan::Step& step : plan.steps()) {
    before.insert(step.output.channels[0]);
  }
  plan.clear();
  EXPECT_EQ(plan.stepCount(), 0U);
  plan.compile(*output, 48000, arena);
  for (const RenderPlan::Step& step : plan.steps()) {
    after.insert(step.output.channels[0]);
  }
  EXPECT_EQ(before, after);
}

/// What processors that work elsewhere share: their calls in order, when each is waited for no longer, and how often
/// the plan has slept.
class Elsewhere {
 public:
  Elsewhere() { calls_.reserve(64); }  // recorded in the block, where nothing may allocate

  void record(const char* what, const std::string& name, std::optional<std::int64_t> deadline = std::nullopt) {
    calls_.push_back({what, &name, deadline});
  }
  void clear() { calls_.clear(); }
  [[nodiscard]] std::vector<std::string> calls() const {
    std::vector<std::string> texts;
    for (const Call& call : calls_) {
      texts.push_back(std::string(call.what) + " " + *call.name);
    }
    return texts;
  }
  /// Until when the named one was waited for.
  [[nodiscard]] std::optional<std::int64_t> deadlineOf(const std::string& name) const {
    const auto call = std::ranges::find_if(
        calls_, [&](const Call& each) { return *each.name == name && std::string_view(each.what) == "collect"; });
    return call == calls_.end() ? std::nullopt : call->deadline;
  }

  int sleeps = 0;

 private:
  struct Call {
    const char* what;
    const std::string* name;
    std::optional<std::int64_t> deadline;
  };
  std::vector<Call> calls_;
};

/// An effect that doubles, and is ready when the plan has slept `slowness` times.
class ElsewhereProcessor final : public NodeProcessor {
 public:
  ElsewhereProcessor(std::string name, int slowness, Elsewhere& work)
      : name_(std::move(name)), slowness_(slowness), work_(work) {
    taken_.reserve(64);
  }
  void prepare(double /*sampleRate*/) VREL_NOT_AUDIO_THREAD override {}
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t count) const override { return count; }
  [[nodiscard]] bool worksElsewhere() const override { return true; }
  void accept(std::uint32_t frameCount, const Stream& input) noexcept override {
    work_.record("accept", name_);
    taken_.assign(input.channels[0], input.channels[0] + frameCount);
    readyAt_ = work_.sleeps + slowness_;
  }
  [[nodiscard]] bool isReady(std::optional<std::int64_t> /*deadline*/) noexcept override {
    return work_.sleeps >= readyAt_;
  }
  void sleepUntilReady(std::optional<std::int64_t> /*deadline*/) noexcept override { ++work_.sleeps; }
  void process(const ProcessBlock& block) noexcept override {
    work_.record("collect", name_, block.deadline);
    EXPECT_TRUE(block.inputs.empty());
    for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
      std::ranges::transform(taken_, block.output.channels[channel], [](float sample) { return 2 * sample; });
    }
  }

 private:
  const std::string name_;
  const int slowness_;
  Elsewhere& work_;
  std::vector<float> taken_;
  int readyAt_ = 0;
};

class ElsewhereNode final : public GraphNodeOf<AVAudioNode> {
 public:
  explicit ElsewhereNode(std::shared_ptr<ElsewhereProcessor> processor) : processor_(std::move(processor)) {}
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

 private:
  std::shared_ptr<ElsewhereProcessor> processor_;
};

/// Four strips, of the levels 1, 10, 100 and 1000, and the master, with effects that work elsewhere.
class PlanWithWorkElsewhere : public testing::Test {
 protected:
  void compile(int slownessOfC1) {
    graph.setSampleRate(48000);
    NodeGraph::Entry* const main = graph.attach(std::make_shared<MixerNode>());
    NodeGraph::Entry* const output = graph.attach(std::make_shared<OutputNode>());
    graph.connect(*then(then(add(1), "a1"), "a2"), *main);
    graph.connect(*then(add(10), "b1"), *main);
    graph.connect(*add(100), *main);
    graph.connect(*then(then(add(1000), "c1", slownessOfC1), "c2"), *main);
    graph.connect(*then(main, "m"), *output);
    plan.compile(*output, 48000, arena);
  }

  NodeGraph::Entry* add(float level) { return graph.attach(makeSource(1, constant(level))); }
  NodeGraph::Entry* then(NodeGraph::Entry* last, const std::string& name, int slowness = 1) {
    NodeGraph::Entry* const next =
        graph.attach(std::make_shared<ElsewhereNode>(std::make_shared<ElsewhereProcessor>(name, slowness, work)));
    graph.connect(*last, *next);
    return next;
  }

  void render(std::optional<std::int64_t> deadline = std::nullopt) {
    work.clear();
    const AudioThreadScope audioThread;
    plan.render(64, ++blockNumber, deadline);
    EXPECT_EQ(plan.result().channels[0][63], 2.0F * (4 + 20 + 100 + 4000));
    EXPECT_EQ(plan.result().channels[1][0], 2.0F * (4 + 20 + 100 + 4000));
  }

  Elsewhere work;
  std::uint64_t blockNumber = 0;
  NodeGraph graph;
  BufferArena arena;
  RenderPlan plan;
};

TEST_F(PlanWithWorkElsewhere, AllThatCanWorkIsSetGoingBeforeAnybodyIsWaitedFor) {
  compile(1);
  for (int block = 0; block < 3; ++block) {
    render();
    EXPECT_EQ(work.calls(),
              (std::vector<std::string>{"accept a1", "accept b1", "accept c1",                  //
                                        "collect a1", "accept a2", "collect b1", "collect c1",  //
                                        "accept c2", "collect a2", "collect c2", "accept m", "collect m"}));
  }
}

TEST_F(PlanWithWorkElsewhere, EachIsWaitedForSoBrieflyThatThoseAfterItHaveTimeLeft) {
  compile(1);
  constexpr std::int64_t deadline = 1'000'000'000;
  constexpr std::int64_t share = 66'666;  // a twentieth of 64 frames
  render(deadline);
  EXPECT_EQ(work.deadlineOf("m"), deadline);
  EXPECT_EQ(work.deadlineOf("a2"), deadline - share);
  EXPECT_EQ(work.deadlineOf("b1"), deadline - share);
  EXPECT_EQ(work.deadlineOf("a1"), deadline - 2 * share - 1);
  render();
  EXPECT_EQ(work.deadlineOf("a1"), std::nullopt);
}

TEST_F(PlanWithWorkElsewhere, NoChainWaitsForOneThatIsLate) {
  compile(5);
  render();
  EXPECT_EQ(work.calls(), (std::vector<std::string>{"accept a1", "accept b1", "accept c1",                  //
                                                    "collect a1", "accept a2", "collect b1", "collect a2",  //
                                                    "collect c1", "accept c2", "collect c2", "accept m", "collect m"}));
}

}  // namespace
}  // namespace vrel::audio::test

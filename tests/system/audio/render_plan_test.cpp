// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
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

}  // namespace
}  // namespace vrel::audio::test

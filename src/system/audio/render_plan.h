// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "foundation/thread_roles.h"
#include "system/audio/buffer_arena.h"
#include "system/audio/link_fades.h"
#include "system/audio/node_graph.h"
#include "system/audio/node_processor.h"
#include "system/audio/tap.h"

namespace vrel::audio {

/// What the audio thread does in one block: processors in order, each with its buffers.
///
/// Threads: the main thread fills a plan with `compile`, once; from the moment it is published the
/// audio thread renders it, and nothing but `withdraw` changes it. It goes back to the main thread when
/// the audio thread has left it, to be emptied there: a plan shares ownership of its processors and
/// taps, and their last share must not end inside a block.
///
/// Invariants:
/// 1. A step comes after all steps whose output it reads.
/// 2. The output buffers of a step are none of its own inputs, nor the output of an earlier step that
///    a later one still has to read. Apart from that, buffers are used again as soon as they are read.
/// 3. Only nodes that reach the output are in it.
/// 4. A step whose node was withdrawn has nothing to give, like one whose plug-in is dead (`NodeProcessor::delivery`).
/// 5. A node that works elsewhere and has an input takes two steps. With such nodes a step that would have to wait is
///    passed over until it is ready, and so are those that need it: no chain waits for another. No buffer is used twice
///    then.
/// 6. A link that an earlier plan had, or had not, does not begin or end in a step (`LinkFades`).
class RenderPlan {
 public:
  RenderPlan() = default;
  RenderPlan(const RenderPlan&) = delete;
  RenderPlan& operator=(const RenderPlan&) = delete;

  /// Fills the empty plan with all that leads to `output`, and prepares the processors for the rate. `block` is the
  /// last one that was rendered.
  void compile(const NodeGraph::Entry& output, double sampleRate, BufferArena& arena,
               std::uint64_t block = 0) VREL_NOT_AUDIO_THREAD;

  /// Back to an empty plan; its memory stays for the next `compile`.
  void clear() VREL_NOT_AUDIO_THREAD;

  /// Takes a processor out of the plan in force: it is not called in any block that begins from now on.
  void withdraw(const NodeProcessor& processor) VREL_NOT_AUDIO_THREAD;

  /// Renders 1 to maximumBlockFrames frames: begins all sources, then takes the steps in order. The deadline is that of
  /// `ProcessBlock` for the last step; an earlier one has it a little earlier for each node after it that works
  /// elsewhere, so that those have time left. Blocks are numbered from 1, silent ones included.
  void render(std::uint32_t frameCount, std::uint64_t block,
              std::optional<std::int64_t> deadline = {}) noexcept VREL_AUDIO_THREAD;

  /// What the output node rendered last.
  [[nodiscard]] const Stream& result() const { return result_; }
  [[nodiscard]] std::size_t stepCount() const { return steps_.size(); }

  enum class Part { whole, accept, collect };

  struct Step {
    NodeProcessor* processor = nullptr;
    Part part = Part::whole;
    TapPoint* tap = nullptr;
    LinkFades* fades = nullptr;
    std::size_t firstInput = 0;
    std::size_t inputCount = 0;
    std::size_t firstDeparted = 0;
    std::size_t departedCount = 0;
    std::uint32_t stagesAfter = 0;  // nodes on the way to the output that work elsewhere
    bool worksElsewhere = false;
    bool fillsOutput = false;
    bool servesTap = false;
    bool isAbsent = false;  // in this block; audio thread
    Stream output;
  };

  /// The steps in order and their inputs, for a look from outside.
  [[nodiscard]] const std::vector<Step>& steps() const { return steps_; }
  [[nodiscard]] const std::vector<Stream>& inputs() const { return inputs_; }

 private:
  void noteAbsent() noexcept VREL_AUDIO_THREAD;
  struct Block {
    std::uint32_t frameCount;
    std::uint64_t number;
    std::optional<std::int64_t> deadline;
  };

  std::size_t addSteps(const NodeGraph::Entry& entry, double sampleRate, std::uint64_t block,
                       std::uint32_t stagesAfter);
  void assignBuffers(BufferArena& arena);
  void renderWhatIsReady(const Block& block) noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] bool hasItsInputs(std::size_t index) const noexcept VREL_AUDIO_THREAD;
  void take(const Step& step, const Block& block) noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] Delivery goOnBypassed(const Step& step, std::uint32_t frameCount) const noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] std::optional<std::int64_t> deadlineOf(const Step& step, const Block& block) const noexcept;
  void addFades(const NodeGraph::Entry& entry, Step& step, std::uint64_t block);
  Stream takeBuffers(std::uint32_t channelCount, BufferArena& arena);
  void giveBack(const Stream& stream);

  std::vector<Step> steps_;
  std::vector<Stream> inputs_;
  std::vector<std::size_t> inputSteps_;  // which render the inputs, in their order
  std::vector<LinkFades*> sources_;      // of the inputs, in their order
  std::vector<LinkFades*> departed_;
  Stream spare_;
  Stream result_;
  std::vector<std::shared_ptr<NodeProcessor>> processors_;
  std::vector<std::shared_ptr<TapPoint>> taps_;
  std::vector<std::shared_ptr<LinkFades>> fades_;
  std::deque<std::atomic<bool>> withdrawn_;  // of the steps, in their order
  std::atomic<bool> hasWithdrawn_{false};

  bool isInOrder_ = true;       // no step is passed over
  double reservePerFrame_ = 0;  // nanoseconds of a block that each stage leaves to those after it
  std::vector<char> isTaken_;   // by step, in the block under way

  // While compiling.
  std::vector<float*> freeBuffers_;
  std::size_t buffersTaken_ = 0;
};

}  // namespace vrel::audio

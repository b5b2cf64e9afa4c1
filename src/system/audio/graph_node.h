// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/audio_node.h"
#include "system/audio/link_fades.h"
#include "system/audio/node_processor.h"
#include "system/audio/tap.h"

namespace vrel::audio {

/// The control half of a node as the render graph sees it. Main thread.
///
/// The graph asks for the processor when it compiles a plan, writes the negotiated formats back, and
/// gives the tap to the plan's step.
class GraphNode {
 public:
  virtual ~GraphNode() = default;

  [[nodiscard]] virtual std::shared_ptr<NodeProcessor> processor() const = 0;

  /// Whether any number of connections may enter, each a new input. All other nodes have one input.
  [[nodiscard]] virtual bool takesManyInputs() const { return false; }

  /// The channel count that the node has of its own, connected or not; 0 where it takes what comes.
  [[nodiscard]] virtual std::uint32_t ownChannelCount() const { return 0; }

  /// The graph that the node is attached to, or null. A node is in one graph at a time.
  [[nodiscard]] const void* owner() const { return owner_; }
  void setOwner(const void* owner) { owner_ = owner; }

  [[nodiscard]] const std::shared_ptr<TapPoint>& tapPoint() const { return tapPoint_; }

  [[nodiscard]] const std::shared_ptr<LinkFades>& linkFades() const { return linkFades_; }

  /// Whether just this entered the node in the last plan, and nothing else that may still be faded out.
  [[nodiscard]] bool hasInputs(std::span<LinkFades* const> inputs) const {
    return std::ranges::equal(knownInputs_, inputs, {}, [](const auto& known) { return known.get(); });
  }

  /// Notes what enters the node in the next plan. Returns what entered it in earlier ones, and may have done so up to
  /// the block with this number.
  std::vector<std::shared_ptr<LinkFades>> replaceInputs(const std::vector<std::shared_ptr<LinkFades>>& inputs,
                                                        std::uint64_t block) {
    std::erase_if(knownInputs_, [&](const auto& known) {
      const auto lastRead = known->lastReadBlock();
      return lastRead == 0 || lastRead + 1 < block || std::find(inputs.begin(), inputs.end(), known) != inputs.end();
    });
    auto departed = knownInputs_;
    knownInputs_.insert(knownInputs_.end(), inputs.begin(), inputs.end());
    return departed;
  }

  /// Notes what was negotiated. Returns whether the output differs from before.
  bool setFormats(AVAudioFormat input, AVAudioFormat output) {
    const bool changed = !(output == outputFormat_);
    inputFormat_ = input;
    outputFormat_ = output;
    return changed;
  }
  [[nodiscard]] std::uint32_t outputChannelCount() const { return outputFormat_.channelCount; }

 protected:
  std::shared_ptr<TapPoint> tapPoint_ = std::make_shared<TapPoint>();
  AVAudioFormat inputFormat_;
  AVAudioFormat outputFormat_;

 private:
  const void* owner_ = nullptr;
  const std::shared_ptr<LinkFades> linkFades_ = std::make_shared<LinkFades>();
  std::vector<std::shared_ptr<LinkFades>> knownInputs_;
};

/// A graph node that implements `Interface`, one of the platform's kinds of node.
template <typename Interface>
class GraphNodeOf : public Interface, public GraphNode {
 public:
  [[nodiscard]] AVAudioFormat inputFormat(int /*bus*/) const override { return inputFormat_; }
  [[nodiscard]] AVAudioFormat outputFormat(int /*bus*/) const override { return outputFormat_; }

  void installTap(int /*bus*/, std::uint32_t bufferSize, std::optional<AVAudioFormat> format,
                  AVAudioNode::TapBlock block) override {
    tapPoint_->install(bufferSize, format, std::move(block));
  }
  void removeTap(int /*bus*/) override { tapPoint_->remove(); }
};

}  // namespace vrel::audio

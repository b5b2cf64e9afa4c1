// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "platform/audio_node.h"
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

  [[nodiscard]] const std::shared_ptr<TapPoint>& tapPoint() const { return tapPoint_; }
  void setFormats(AVAudioFormat input, AVAudioFormat output) {
    inputFormat_ = input;
    outputFormat_ = output;
  }

 protected:
  std::shared_ptr<TapPoint> tapPoint_ = std::make_shared<TapPoint>();
  AVAudioFormat inputFormat_;
  AVAudioFormat outputFormat_;
};

/// A graph node that stands behind `Interface`, one of the platform's kinds of node.
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

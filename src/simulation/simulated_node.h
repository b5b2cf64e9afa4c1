// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/audio_node.h"

namespace vrel::simulation {

/// Common to all simulated nodes: a name for the record, formats, and a tap that a test can feed.
class SimulatedNode {
 public:
  explicit SimulatedNode(std::string nodeName) : name(std::move(nodeName)) {}
  virtual ~SimulatedNode() = default;

  /// Acts as the tap thread; false when no tap is installed.
  bool feedTap(const AVAudioPCMBuffer& buffer) const {
    if (tap) {
      tap(buffer);
    }
    return tap != nullptr;
  }

  std::string name;
  AVAudioFormat format{48000.0, 2};
  AVAudioNode::TapBlock tap;
  std::uint32_t tapBufferSize = 0;
  std::optional<AVAudioFormat> tapFormat;
};

/// A simulated node behind `Interface`.
template <typename Interface>
class SimulatedNodeOf : public Interface, public SimulatedNode {
 public:
  using SimulatedNode::SimulatedNode;

  [[nodiscard]] AVAudioFormat inputFormat(int /*bus*/) const override { return format; }
  [[nodiscard]] AVAudioFormat outputFormat(int /*bus*/) const override { return format; }
  void installTap(int /*bus*/, std::uint32_t bufferSize, std::optional<AVAudioFormat> wanted,
                  AVAudioNode::TapBlock block) override {
    tap = std::move(block);
    tapBufferSize = bufferSize;
    tapFormat = wanted;
  }
  void removeTap(int /*bus*/) override { tap = nullptr; }
};

}  // namespace vrel::simulation

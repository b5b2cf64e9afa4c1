// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/audio_node.h"
#include "system/audio/graph_node.h"

namespace vrel::audio {

/// Who is attached, and what leads where. Main thread; nothing here is known to the audio thread.
///
/// Invariants:
/// 1. A node has at most one link out. A node that is not a mixer has at most one link in.
/// 2. There is no cycle, so what reaches a node is always a tree.
/// 3. The negotiated formats of attached nodes are up to date after every operation.
class NodeGraph {
 public:
  struct Entry {
    std::shared_ptr<AVAudioNode> node;
    GraphNode* graphNode = nullptr;
    std::vector<Entry*> sources;  // in the order they were connected
    Entry* destination = nullptr;
  };

  NodeGraph() = default;
  ~NodeGraph();
  NodeGraph(const NodeGraph&) = delete;
  NodeGraph& operator=(const NodeGraph&) = delete;

  /// The rate of all connections, frames per second.
  void setSampleRate(double sampleRate);
  [[nodiscard]] double sampleRate() const { return sampleRate_; }

  /// Null for a node that is not attached.
  [[nodiscard]] Entry* find(const AVAudioNode* node) const;
  [[nodiscard]] std::size_t size() const { return entries_.size(); }

  /// Null when the node belongs to another system or to another graph. One that is attached here
  /// already is just returned.
  Entry* attach(const std::shared_ptr<AVAudioNode>& node);

  /// Forgets the node and its links.
  void detach(Entry& entry);

  /// Leads the output of `source` to `destination`, in place of where it led before and of what led
  /// there unless that is a mixer. False, with nothing changed, when this would close a cycle.
  bool connect(Entry& source, Entry& destination);

  /// False when there was nothing to remove.
  bool disconnectInput(Entry& entry);
  bool disconnectOutput(Entry& entry);

 private:
  [[nodiscard]] std::uint32_t inputChannelCount(const Entry& entry) const;
  void updateFormats(Entry* entry);

  double sampleRate_ = 0;
  std::unordered_map<const AVAudioNode*, std::unique_ptr<Entry>> entries_;
};

}  // namespace vrel::audio

// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/node_graph.h"

#include <algorithm>
#include <utility>

namespace vrel::audio {

NodeGraph::~NodeGraph() {
  for (const auto& [node, entry] : entries_) {
    entry->graphNode->setOwner(nullptr);
  }
}

void NodeGraph::setSampleRate(double sampleRate) {
  if (sampleRate == sampleRate_) {
    return;
  }
  sampleRate_ = sampleRate;
  for (const auto& [node, entry] : entries_) {
    entry->graphNode->tapPoint()->setSampleRate(sampleRate);
    if (entry->sources.empty()) {
      updateFormats(entry.get());
    }
  }
}

NodeGraph::Entry* NodeGraph::find(const AVAudioNode* node) const {
  const auto found = entries_.find(node);
  return found == entries_.end() ? nullptr : found->second.get();
}

NodeGraph::Entry* NodeGraph::attach(const std::shared_ptr<AVAudioNode>& node) {
  if (Entry* const known = find(node.get())) {
    return known;
  }
  auto* const graphNode = dynamic_cast<GraphNode*>(node.get());
  if (graphNode == nullptr || graphNode->owner() != nullptr) {
    return nullptr;
  }
  auto entry = std::make_unique<Entry>();
  entry->node = node;
  entry->graphNode = graphNode;
  Entry* const attached = entry.get();
  entries_.emplace(node.get(), std::move(entry));
  graphNode->setOwner(this);
  graphNode->tapPoint()->setSampleRate(sampleRate_);
  updateFormats(attached);
  return attached;
}

void NodeGraph::detach(Entry& entry) {
  disconnectInput(entry);
  disconnectOutput(entry);
  entry.graphNode->setOwner(nullptr);
  entries_.erase(entry.node.get());
}

bool NodeGraph::connect(Entry& source, Entry& destination) {
  for (const Entry* step = &destination; step != nullptr; step = step->destination) {
    if (step == &source) {
      return false;
    }
  }
  disconnectOutput(source);
  if (!destination.graphNode->takesManyInputs()) {
    disconnectInput(destination);
  }
  source.destination = &destination;
  destination.sources.push_back(&source);
  updateFormats(&destination);
  return true;
}

bool NodeGraph::disconnectInput(Entry& entry) {
  if (entry.sources.empty()) {
    return false;
  }
  for (Entry* const source : entry.sources) {
    source->destination = nullptr;
  }
  entry.sources.clear();
  updateFormats(&entry);
  return true;
}

bool NodeGraph::disconnectOutput(Entry& entry) {
  if (entry.destination == nullptr) {
    return false;
  }
  Entry* const destination = std::exchange(entry.destination, nullptr);
  std::erase(destination->sources, &entry);
  updateFormats(destination);
  return true;
}

std::uint32_t NodeGraph::inputChannelCount(const Entry& entry) const {
  std::uint32_t count = entry.graphNode->ownChannelCount();
  if (count == 0) {
    for (const Entry* const source : entry.sources) {
      count = std::max(count, source->graphNode->outputChannelCount());
    }
  }
  return count;
}

void NodeGraph::updateFormats(Entry* entry) {
  for (; entry != nullptr; entry = entry->destination) {
    const std::uint32_t in = inputChannelCount(*entry);
    const std::uint32_t out = std::min(entry->graphNode->processor()->outputChannelCount(in), maximumStreamChannels);
    const AVAudioFormat input{sampleRate_, in};
    const AVAudioFormat output{sampleRate_, out};
    if (!entry->graphNode->setFormats(input, output)) {
      return;
    }
  }
}

}  // namespace vrel::audio

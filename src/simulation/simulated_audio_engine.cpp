// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/simulated_audio_engine.h"

#include <algorithm>

namespace vrel::simulation {
namespace {

std::string nameOf(const AVAudioEngine::Node& node) {
  const auto* simulated = dynamic_cast<const SimulatedNode*>(node.get());
  return simulated != nullptr ? simulated->name : "foreign node";
}

}  // namespace

void SimulatedAudioEngine::attach(const Node& node) {
  record.push_back("attach " + nameOf(node));
  if (!isAttached(node)) {
    attached_.push_back(node);
  }
}

void SimulatedAudioEngine::detach(const Node& node) {
  record.push_back("detach " + nameOf(node));
  std::erase(attached_, node);
  std::erase_if(connections_, [&](const auto& link) { return link.first == node || link.second == node; });
}

void SimulatedAudioEngine::connect(const Node& source, const Node& destination, std::optional<AVAudioFormat> format) {
  record.push_back("connect " + nameOf(source) + " -> " + nameOf(destination));
  connectFormats.push_back(format);
  if (running_) {
    ++connectsWhileRunning;
  }
  if (!isAttached(source) || !isAttached(destination)) {
    return;
  }
  disconnectQuietly(source, destination);
  connections_.emplace_back(source, destination);
}

void SimulatedAudioEngine::disconnectQuietly(const Node& source, const Node& destination) {
  const bool isMixer = dynamic_cast<const AVAudioMixerNode*>(destination.get()) != nullptr;
  std::erase_if(connections_,
                [&](const auto& link) { return link.first == source || (!isMixer && link.second == destination); });
}

void SimulatedAudioEngine::disconnectNodeInput(const Node& node) {
  record.push_back("disconnect input " + nameOf(node));
  std::erase_if(connections_, [&](const auto& link) { return link.second == node; });
}

void SimulatedAudioEngine::disconnectNodeOutput(const Node& node) {
  record.push_back("disconnect output " + nameOf(node));
  std::erase_if(connections_, [&](const auto& link) { return link.first == node; });
}

Outcome SimulatedAudioEngine::start() {
  record.emplace_back("start");
  if (startFailure) {
    return startFailure;
  }
  running_ = true;
  return std::nullopt;
}

void SimulatedAudioEngine::stop() {
  record.emplace_back("stop");
  running_ = false;
}

std::string SimulatedAudioEngine::chainFrom(const Node& source) const {
  std::string chain = nameOf(source);
  auto current = source;
  for (std::size_t steps = 0; steps <= connections_.size(); ++steps) {
    const auto link =
        std::find_if(connections_.begin(), connections_.end(), [&](const auto& each) { return each.first == current; });
    if (link == connections_.end()) {
      break;
    }
    current = link->second;
    chain += " > " + nameOf(current);
  }
  return chain;
}

bool SimulatedAudioEngine::isAttached(const Node& node) const {
  return node == mainMixer_ || node == output_ ||
         std::find(attached_.begin(), attached_.end(), node) != attached_.end();
}

int SimulatedAudioEngine::count(const std::string& line) const {
  return static_cast<int>(std::count(record.begin(), record.end(), line));
}

std::unique_ptr<AVAudioEngine> SimulatedNodeFactory::makeEngine() {
  auto made = std::make_unique<SimulatedAudioEngine>();
  engine = made.get();
  return made;
}

std::shared_ptr<AVAudioMixerNode> SimulatedNodeFactory::makeMixerNode() {
  return std::make_shared<SimulatedMixer>("meter " + std::to_string(++mixerCount_));
}

std::shared_ptr<AVAudioUnitReverb> SimulatedNodeFactory::makeReverbNode() {
  return std::make_shared<SimulatedReverb>("reverb " + std::to_string(++reverbCount_));
}

std::shared_ptr<AVAudioPlayerNode> SimulatedNodeFactory::makePlayerNode() {
  return std::make_shared<SimulatedPlayer>("player " + std::to_string(++playerCount_));
}

}  // namespace vrel::simulation

// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/graph_mutator.h"

#include "platform/audio_engine.h"
#include "platform/console_output.h"

namespace vrel {

void GraphMutator::performGraphMutation(const std::string& label, const std::function<void()>& body) {
  if (graphMutationDepth_ > 0) {
    body();
    return;
  }
  const bool wasRunning = engine_.isRunning();
  if (wasRunning) {
    engine_.stop();
  }
  ++graphMutationDepth_;
  body();
  --graphMutationDepth_;
  if (!wasRunning) {
    return;
  }
  if (const auto& error = startEngine()) {
    console_.print("AVAudioEngine restart failed after graph mutation (" + label + "): " + error->description);
  }
}

const Outcome& GraphMutator::startEngine() {
  lastEngineStartError_ = engine_.start();
  return lastEngineStartError_;
}

bool GraphMutator::ensureEngineRunning(const std::string& reason, const std::function<void()>& prepareOutputGraph) {
  if (engine_.isRunning()) {
    return true;
  }
  if (reason == "routeMIDI" || reason == "panic") {
    return false;
  }
  prepareOutputGraph();
  const auto& error = startEngine();
  if (error) {
    console_.print("AVAudioEngine start failed (" + reason + "): " + error->description);
  }
  return !error;
}

}  // namespace vrel
